#include <gtest/gtest.h>

#include <cmath>

#include "quillmark/evaluator.h"

namespace quillmark {
namespace {

using E = QMXPath2Evaluator;

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

const E::NamespaceMap kPrefixes = {
    {"cac", "urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"},
    {"cbc", "urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"},
};

class PathEvaluation : public ::testing::Test {
protected:
    void SetUp() override {
        Error error;
        document = xml::Document::parse(kInvoice, &error);
        ASSERT_TRUE(document) << error.message();
        evaluator.setContextNode(document->node());
    }

    std::vector<std::string> texts(const Value& value) {
        std::vector<std::string> out;
        for (const Value& item : E::normalizeToArray(value)) out.push_back(E::toString(item));
        return out;
    }

    static QMXPExprNodePtr path(const std::string& text) {
        auto node = std::make_unique<QMXPPathNode>();
        node->path = text;
        return node;
    }

    static QMXPExprNodePtr literal(Value value) {
        auto node = std::make_unique<QMXPLiteralNode>();
        node->value = std::move(value);
        return node;
    }

    static QMXPExprNodePtr comparison(int64_t op, QMXPExprNodePtr left, QMXPExprNodePtr right) {
        auto node = std::make_unique<QMXPBinaryOpNode>();
        node->op = op;
        node->left = std::move(left);
        node->right = std::move(right);
        return node;
    }

    std::shared_ptr<xml::Document> document;
    E evaluator{kPrefixes};
};

TEST_F(PathEvaluation, PrefixRewriting) {
    struct Case {
        const char* text;
        const char* rewritten;
    } cases[] = {
        {"cbc:ID", "*[local-name()='ID']"},
        {"@cbc:ID", "@*[local-name()='ID']"},
        {"cbc:ID[. = 'x']", "*[local-name()='ID'][. = 'x']"},
        {"xyz:ID", "xyz:ID"},
        {"'cbc:ID'", "'cbc:ID'"},
        {"\"cbc:ID\"", "\"cbc:ID\""},
        {"child::cbc:ID", "child::*[local-name()='ID']"},
        {"cac:A[cbc:B[cbc:C = 'cbc:D']]/cbc:E",
         "*[local-name()='A'][*[local-name()='B'][*[local-name()='C'] = 'cbc:D']]/*[local-name()='E']"},
        {"cbc:", "*[local-name()='']"},
        {"cbc:ID[", "*[local-name()='ID'][]"},
        {"'unterminated cbc:ID", "'unterminated cbc:ID"},
        {"", ""},
        {"local-name()", "local-name()"},
        {"cbc:Étiquette-1_x", "*[local-name()='Étiquette-1_x']"},
    };
    for (const auto& c : cases) EXPECT_EQ(evaluator.rewriteNamespacePrefixes(c.text), c.rewritten) << c.text;
}

TEST_F(PathEvaluation, RelativePathsTurnAttributesAndTextIntoStrings) {
    evaluator.setContextNode(document->rootElement());
    Value attributes = evaluator.evaluatePath("cbc:DocumentCurrencyCode/@listID");
    ASSERT_EQ(attributes.items().size(), 1u);
    EXPECT_TRUE(attributes.items()[0].isString());
    Value text = evaluator.evaluatePath("cbc:ID/text()");
    ASSERT_EQ(text.items().size(), 1u);
    EXPECT_EQ(text.items()[0].asString(), "INV-1");
    Value lines = evaluator.evaluatePath("cac:InvoiceLine");
    ASSERT_EQ(lines.items().size(), 2u);
    EXPECT_TRUE(lines.items()[0].isNode());
}

TEST_F(PathEvaluation, AbsolutePathsKeepNodes) {
    evaluator.setContextNode(document->rootElement());
    Value attributes = evaluator.evaluateAbsolutePath("//cbc:DocumentCurrencyCode/@listID");
    ASSERT_EQ(attributes.items().size(), 1u);
    ASSERT_TRUE(attributes.items()[0].isNode());
    EXPECT_EQ(attributes.items()[0].asNode().kind(), xml::NodeKind::Attribute);
}

TEST_F(PathEvaluation, MissingContextOrBadPathGivesEmptySequence) {
    evaluator.setContextNode(xml::Node());
    EXPECT_TRUE(evaluator.evaluatePath("cbc:ID").items().empty());
    EXPECT_TRUE(evaluator.evaluateAbsolutePath("//cbc:ID").items().empty());
    EXPECT_TRUE(evaluator.evaluatePath(".").isSequence());
    EXPECT_TRUE(evaluator.evaluatePath(".").items().empty());
    evaluator.setContextNode(document->rootElement());
    EXPECT_TRUE(evaluator.evaluatePath("cbc:ID[").items().empty());
    EXPECT_TRUE(evaluator.evaluatePath("undeclared:ID").items().empty());
}

TEST_F(PathEvaluation, DotIsTheContextItemInsideAPredicate) {
    Sequence strings = {Value::string("a"), Value::string("b")};
    auto dotIsB = comparison(QMXPTokenEqual, path("."), literal(Value::string("b")));
    Sequence kept = evaluator.filterNodes(strings, dotIsB.get());
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0].asString(), "b");
    evaluator.setContextNode(document->rootElement());
    Value dot = evaluator.evaluatePath(".");
    ASSERT_EQ(dot.items().size(), 1u);
    EXPECT_EQ(dot.items()[0].asNode(), document->rootElement());
}

TEST_F(PathEvaluation, PredicateTruthOrPosition) {
    Sequence numbers = {Value::number(7), Value::number(8), Value::number(9)};
    struct Case {
        QMXPExprNodePtr predicate;
        std::vector<std::string> kept;
        const char* label;
    };
    std::vector<Case> cases;
    cases.push_back({literal(Value::number(2)), {"8"}, "[2]"});
    cases.push_back({literal(Value::number(2.9)), {"8"}, "[2.9] truncates"});
    cases.push_back({literal(Value::number(0)), {}, "[0]"});
    cases.push_back({literal(Value::number(-1.5)), {}, "[-1.5]"});
    cases.push_back({literal(Value::number(std::nan(""))), {}, "[NaN]"});
    cases.push_back({comparison(QMXPTokenGreater, path("."), literal(Value::number(5))), {"7"},
                     "[. > 5] is integer 1, a position"});
    cases.push_back({comparison(QMXPTokenEqual, path("."), literal(Value::number(8))), {"8"}, "[. = 8] is a truth"});
    cases.push_back({literal(Value::boolean(true)), {"7", "8", "9"}, "[true]"});
    cases.push_back({literal(Value::string("x")), {"7", "8", "9"}, "non-empty string"});
    cases.push_back({literal(Value::emptySequence()), {}, "empty sequence"});
    cases.push_back({nullptr, {}, "null predicate"});
    for (const auto& c : cases) {
        Sequence kept = evaluator.filterNodes(numbers, c.predicate.get());
        EXPECT_EQ(texts(Value::sequence(kept)), c.kept) << c.label;
    }
}

TEST_F(PathEvaluation, FilteringRestoresContextAndSize) {
    evaluator.setContextSize(42);
    evaluator.setContextNode(document->rootElement());
    auto lines = evaluator.evaluatePath("cac:InvoiceLine");
    auto isSecond = comparison(QMXPTokenEqual, path("cbc:ID"), literal(Value::string("2")));
    Sequence kept = evaluator.filterNodes(lines.items(), isSecond.get());
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(evaluator.contextSize(), 42);
    EXPECT_EQ(evaluator.getContextNode(), document->rootElement());
    EXPECT_TRUE(evaluator.contextItem().isAbsent());
}

TEST_F(PathEvaluation, FilteredPathWithChildPathAndFunctionStep) {
    evaluator.setContextNode(document->rootElement());
    QMXPFilteredPathNode filtered;
    filtered.basePath = "cac:InvoiceLine";
    filtered.predicate = literal(Value::number(2));
    filtered.childPath = "cbc:ID";
    EXPECT_EQ(texts(filtered.evaluateWithContext(evaluator)), std::vector<std::string>{"2"});

    // A function step over exactly one node yields the bare value; over none an empty
    // sequence. `string` belongs to the function library; an unknown name is skipped.
    QMXPFilteredPathNode unknownFunction;
    unknownFunction.basePath = "cac:InvoiceLine";
    unknownFunction.predicate = literal(Value::boolean(true));
    unknownFunction.functionName = "no-such-function";
    Value none = unknownFunction.evaluateWithContext(evaluator);
    ASSERT_TRUE(none.isSequence());
    EXPECT_TRUE(none.items().empty());
}

TEST_F(PathEvaluation, FilteredPathNextStepFromEachSurvivor) {
    evaluator.setContextNode(document->rootElement());
    QMXPFilteredPathNode filtered;
    filtered.basePath = "cac:InvoiceLine";
    filtered.predicate = literal(Value::boolean(true));
    filtered.nextStep = path("cac:Item/cbc:Name");
    EXPECT_EQ(texts(filtered.evaluateWithContext(evaluator)), (std::vector<std::string>{"Pen", "Ink"}));

    QMXPFilteredPathNode chained;
    chained.previousFilter = std::make_unique<QMXPFilteredPathNode>(std::move(filtered));
    chained.predicate = literal(Value::number(2));
    EXPECT_EQ(texts(chained.evaluateWithContext(evaluator)), std::vector<std::string>{"Ink"});
}

TEST_F(PathEvaluation, StepsAppliedToAnExpressionValue) {
    evaluator.setContextNode(document->rootElement());
    evaluator.setVariable("lines", evaluator.evaluatePath("cac:InvoiceLine"));
    auto variable = [] {
        auto node = std::make_unique<QMXPVariableNode>();
        node->name = "lines";
        return node;
    };

    QMXPPathWithFunctionNode attribute;  // $lines/@... style
    attribute.basePath = "cbc:LineExtensionAmount/@currencyID";
    attribute.functionArgs.push_back(variable());
    EXPECT_EQ(texts(attribute.evaluateWithContext(evaluator)), (std::vector<std::string>{"EUR", "EUR"}));

    QMXPPathWithFunctionNode step;  // $lines/cbc:ID
    step.functionArgs.push_back(variable());
    step.functionArgs.push_back(path("cbc:ID"));
    EXPECT_EQ(texts(step.evaluateWithContext(evaluator)), (std::vector<std::string>{"1", "2"}));

    QMXPPathWithFunctionNode alone;
    alone.functionArgs.push_back(variable());
    EXPECT_EQ(alone.evaluateWithContext(evaluator).items().size(), 2u);
}

TEST_F(PathEvaluation, AxesCompareLocalNamesAndOrderNearestFirst) {
    evaluator.setContextNode(document->rootElement());
    Value nested = evaluator.evaluatePath("cac:InvoiceLine/cac:Item/cac:InvoiceLine/cbc:ID");
    ASSERT_EQ(nested.items().size(), 1u);
    evaluator.setContextNode(nested.items()[0].asNode());

    QMXPAxisNode ancestors;
    ancestors.axis = "ancestor";
    ancestors.elementName = "cac:InvoiceLine";
    Value lines = ancestors.evaluateWithContext(evaluator);
    ASSERT_EQ(lines.items().size(), 2u);
    EXPECT_EQ(texts(Value::sequence({lines.items()[0]})), std::vector<std::string>{"2.1"});

    ancestors.predicates.push_back(literal(Value::number(2)));
    EXPECT_EQ(ancestors.evaluateWithContext(evaluator).items().size(), 1u);

    QMXPAxisNode parent;
    parent.axis = "parent";
    parent.elementName = "other:InvoiceLine";  // the prefix plays no part
    EXPECT_EQ(parent.evaluateWithContext(evaluator).items().size(), 1u);

    QMXPAxisNode self;
    self.axis = "self";
    self.elementName = "*";  // compared literally
    EXPECT_TRUE(self.evaluateWithContext(evaluator).items().empty());
    self.elementName = "ID";
    EXPECT_EQ(self.evaluateWithContext(evaluator).items().size(), 1u);

    QMXPAxisNode following;
    following.axis = "following";
    following.elementName = "ID";
    EXPECT_TRUE(following.evaluateWithContext(evaluator).items().empty());
}

}  // namespace
}  // namespace quillmark
