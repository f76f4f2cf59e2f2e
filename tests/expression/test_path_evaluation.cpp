// Path evaluation: namespace prefixes rewritten to local-name tests, relative and
// absolute paths, predicates as truth or position, filtered paths, steps applied to
// expression values, and axes.

#include <gtest/gtest.h>

#include <cmath>

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

using E = QMXPath2Evaluator;
using Texts = std::vector<std::string>;

const char* kInvoice = R"(<Invoice xmlns="urn:oasis:names:specification:ubl:schema:xsd:Invoice-2"
    xmlns:cac="urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"
    xmlns:cbc="urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2">
  <cbc:ID>INV-1</cbc:ID>
  <cbc:DocumentCurrencyCode listID="ISO4217">EUR</cbc:DocumentCurrencyCode>
  <cac:InvoiceLine><cbc:ID>1</cbc:ID><cbc:LineExtensionAmount currencyID="EUR">7</cbc:LineExtensionAmount>
    <cac:Item><cbc:Name>Pen</cbc:Name></cac:Item></cac:InvoiceLine>
  <cac:InvoiceLine><cbc:ID>2</cbc:ID><cbc:LineExtensionAmount currencyID="EUR">8</cbc:LineExtensionAmount>
    <cac:Item><cbc:Name>Ink</cbc:Name>
      <cac:InvoiceLine><cbc:ID>2.1</cbc:ID></cac:InvoiceLine></cac:Item></cac:InvoiceLine>
</Invoice>)";

class PathEvaluation : public ::testing::Test {
protected:
    void SetUp() override {
        Error error;
        document = xml::Document::parse(kInvoice, &error);
        ASSERT_TRUE(document) << error.message();
        evaluator.setContextNode(document->rootElement());
    }

    std::shared_ptr<xml::Document> document;
    E evaluator{{{"cac", "urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"},
                 {"cbc", "urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"}}};
};

TEST_F(PathEvaluation, PrefixRewriting) {
    struct Case {
        const char* text;
        const char* rewritten;
    } cases[] = {
        {"cbc:ID", "*[local-name()='ID']"}, {"@cbc:ID", "@*[local-name()='ID']"},
        {"cbc:ID[. = 'x']", "*[local-name()='ID'][. = 'x']"}, {"xyz:ID", "xyz:ID"},
        {"'cbc:ID'", "'cbc:ID'"}, {"\"cbc:ID\"", "\"cbc:ID\""}, {"child::cbc:ID", "child::*[local-name()='ID']"},
        {"cac:A[cbc:B[cbc:C = 'cbc:D']]/cbc:E",
         "*[local-name()='A'][*[local-name()='B'][*[local-name()='C'] = 'cbc:D']]/*[local-name()='E']"},
        {"cbc:", "*[local-name()='']"}, {"cbc:ID[", "*[local-name()='ID'][]"},
        {"'unterminated cbc:ID", "'unterminated cbc:ID"}, {"", ""}, {"local-name()", "local-name()"},
        {"cbc:Étiquette-1_x", "*[local-name()='Étiquette-1_x']"},
    };
    for (const auto& c : cases) EXPECT_EQ(evaluator.rewriteNamespacePrefixes(c.text), c.rewritten) << c.text;
}

TEST_F(PathEvaluation, RelativePathsTurnAttributesAndTextIntoStringsAbsolutePathsKeepNodes) {
    EXPECT_EQ(typed(evaluator.evaluatePath("cbc:DocumentCurrencyCode/@listID")), "sequence(string \"ISO4217\")");
    EXPECT_EQ(typed(evaluator.evaluatePath("cbc:ID/text()")), "sequence(string \"INV-1\")");
    EXPECT_EQ(typed(evaluator.evaluatePath("cac:InvoiceLine")), "sequence(element cac:InvoiceLine, element cac:InvoiceLine)");
    EXPECT_EQ(typed(evaluator.evaluatePath(".")), "sequence(element Invoice)");
    EXPECT_EQ(typed(evaluator.evaluateAbsolutePath("//cbc:DocumentCurrencyCode/@listID")), "sequence(attribute listID)");
}

TEST_F(PathEvaluation, MissingContextOrBadPathGivesEmptySequence) {
    EXPECT_EQ(typed(evaluator.evaluatePath("cbc:ID[")), "sequence()");
    EXPECT_EQ(typed(evaluator.evaluatePath("undeclared:ID")), "sequence()");
    evaluator.setContextNode(xml::Node());
    for (const char* text : {"cbc:ID", "."}) EXPECT_EQ(typed(evaluator.evaluatePath(text)), "sequence()") << text;
    EXPECT_EQ(typed(evaluator.evaluateAbsolutePath("//cbc:ID")), "sequence()");
}

TEST_F(PathEvaluation, PredicateTruthOrPositionAndDotAsTheContextItem) {
    evaluator.setContextSize(42);
    const Sequence numbers = {Value::number(7), Value::number(8), Value::number(9)};
    struct Case {
        QMXPExprNodePtr predicate;
        Texts kept;
        const char* label;
    };
    std::vector<Case> cases;
    cases.push_back({literal(Value::number(2)), {"8"}, "[2]"});
    cases.push_back({literal(Value::number(2.9)), {"8"}, "[2.9] truncates"});
    cases.push_back({literal(Value::number(0)), {}, "[0]"});
    cases.push_back({literal(Value::number(-1.5)), {}, "[-1.5]"});
    cases.push_back({literal(Value::number(std::nan(""))), {}, "[NaN]"});
    cases.push_back({binary(QMXPTokenGreater, path("."), literal(Value::number(5))), {"7"}, "[. > 5] is a position"});
    cases.push_back({binary(QMXPTokenEqual, path("."), literal(Value::number(8))), {"8"}, "[. = 8] is a truth"});
    cases.push_back({literal(Value::boolean(true)), {"7", "8", "9"}, "[true]"});
    cases.push_back({literal(Value::string("x")), {"7", "8", "9"}, "non-empty string"});
    cases.push_back({literal(Value::emptySequence()), {}, "empty sequence"});
    cases.push_back({nullptr, {}, "null predicate"});
    for (const auto& c : cases) {
        EXPECT_EQ(texts(Value::sequence(evaluator.filterNodes(numbers, c.predicate.get()))), c.kept) << c.label;
    }
    // Filtering restores the context node and size and leaves no context item behind.
    auto isSecond = binary(QMXPTokenEqual, path("cbc:ID"), literal(Value::string("2")));
    EXPECT_EQ(evaluator.filterNodes(evaluator.evaluatePath("cac:InvoiceLine").items(), isSecond.get()).size(), 1u);
    EXPECT_EQ(evaluator.contextSize(), 42);
    EXPECT_EQ(evaluator.getContextNode(), document->rootElement());
    EXPECT_TRUE(evaluator.contextItem().isAbsent());
}

TEST_F(PathEvaluation, FilteredPathsWithChildPathNextStepAndFunctionStep) {
    QMXPFilteredPathNode filtered;
    filtered.basePath = "cac:InvoiceLine";
    filtered.predicate = literal(Value::number(2));
    filtered.childPath = "cbc:ID";
    EXPECT_EQ(texts(filtered.evaluateWithContext(evaluator)), Texts{"2"});

    // A function step with an unknown name contributes nothing: an empty sequence.
    filtered.predicate = literal(Value::boolean(true));
    filtered.childPath.reset();
    filtered.functionName = "no-such-function";
    EXPECT_EQ(typed(filtered.evaluateWithContext(evaluator)), "sequence()");

    QMXPFilteredPathNode each;
    each.basePath = "cac:InvoiceLine";
    each.predicate = literal(Value::boolean(true));
    each.nextStep = path("cac:Item/cbc:Name");
    EXPECT_EQ(texts(each.evaluateWithContext(evaluator)), (Texts{"Pen", "Ink"}));
    QMXPFilteredPathNode chained;
    chained.previousFilter = std::make_unique<QMXPFilteredPathNode>(std::move(each));
    chained.predicate = literal(Value::number(2));
    EXPECT_EQ(texts(chained.evaluateWithContext(evaluator)), Texts{"Ink"});
}

TEST_F(PathEvaluation, StepsAppliedToAnExpressionValue) {
    evaluator.setVariable("lines", evaluator.evaluatePath("cac:InvoiceLine"));
    QMXPPathWithFunctionNode attribute;  // $lines/@... style
    attribute.basePath = "cbc:LineExtensionAmount/@currencyID";
    attribute.functionArgs.push_back(variable("lines"));
    EXPECT_EQ(texts(attribute.evaluateWithContext(evaluator)), (Texts{"EUR", "EUR"}));

    QMXPPathWithFunctionNode step;  // $lines/cbc:ID
    step.functionArgs.push_back(variable("lines"));
    step.functionArgs.push_back(path("cbc:ID"));
    EXPECT_EQ(texts(step.evaluateWithContext(evaluator)), (Texts{"1", "2"}));

    QMXPPathWithFunctionNode alone;
    alone.functionArgs.push_back(variable("lines"));
    EXPECT_EQ(alone.evaluateWithContext(evaluator).items().size(), 2u);
}

TEST_F(PathEvaluation, AxesCompareLocalNamesAndOrderNearestFirst) {
    Value nested = evaluator.evaluatePath("cac:InvoiceLine/cac:Item/cac:InvoiceLine/cbc:ID");
    ASSERT_EQ(nested.items().size(), 1u);
    evaluator.setContextNode(nested.items()[0].asNode());
    QMXPAxisNode ancestors;
    ancestors.axis = "ancestor";
    ancestors.elementName = "cac:InvoiceLine";
    Value lines = ancestors.evaluateWithContext(evaluator);
    ASSERT_EQ(lines.items().size(), 2u);
    EXPECT_EQ(texts(lines.items()[0]), Texts{"2.1"});
    ancestors.predicates.push_back(literal(Value::number(2)));
    EXPECT_EQ(ancestors.evaluateWithContext(evaluator).items().size(), 1u);

    struct Case {
        const char* axis;
        const char* element;
        size_t count;
    } cases[] = {
        {"parent", "other:InvoiceLine", 1},  // the prefix plays no part
        {"self", "*", 0},                    // compared literally
        {"self", "ID", 1},
        {"following", "ID", 0},
    };
    for (const auto& c : cases) {
        QMXPAxisNode node;
        node.axis = c.axis;
        node.elementName = c.element;
        EXPECT_EQ(node.evaluateWithContext(evaluator).items().size(), c.count) << c.axis << "::" << c.element;
    }
}

}  // namespace
}  // namespace quillmark::testing
