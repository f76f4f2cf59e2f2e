// Whole expressions evaluated on the example invoice: values, their tags, and the
// fallbacks of paths, predicates, operators and the parse-time evaluations.

#include <gtest/gtest.h>

#include "quillmark/evaluator.h"
#include "quillmark/log.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

using E = QMXPath2Evaluator;

// The value with its tag, one item per line, as the eval command prints it.
std::string typed(const Value& value, int indent = 0) {
    std::string pad(static_cast<size_t>(indent), ' ');
    switch (value.kind()) {
        case Value::Kind::Absent: return pad + "absent\n";
        case Value::Kind::Null: return pad + "null\n";
        case Value::Kind::String: return pad + "string \"" + value.asString() + "\"\n";
        case Value::Kind::Boolean: return pad + (value.asBoolean() ? "boolean true\n" : "boolean false\n");
        case Value::Kind::Integer: return pad + "integer " + std::to_string(value.asInteger()) + "\n";
        case Value::Kind::Double: return pad + "double " + formatNumber(value.asDouble()) + "\n";
        case Value::Kind::Node: {
            xml::Node node = value.asNode();
            if (node.kind() == xml::NodeKind::Attribute) return pad + "attribute " + node.name() + "\n";
            if (node.kind() == xml::NodeKind::Document) return pad + "document\n";
            return pad + "element " + node.name() + "\n";
        }
        case Value::Kind::Sequence: {
            std::string text = pad + "sequence " + std::to_string(value.items().size()) + "\n";
            for (const Value& item : value.items()) text += typed(item, indent + 2);
            return text;
        }
    }
    return "";
}

struct Case {
    const char* expression;
    const char* expected;
};

class EvaluateOnInvoice : public ::testing::TestWithParam<Case> {
protected:
    static void SetUpTestSuite() {
        Error error;
        document = xml::Document::parseFile(testing::sourcePath("examples/invoice-valid.xml"), &error);
        ASSERT_TRUE(document) << error.message();
    }
    static void TearDownTestSuite() { document.reset(); }

    static inline std::shared_ptr<xml::Document> document;
};

TEST_P(EvaluateOnInvoice, YieldsTheTaggedValue) {
    E evaluator(document->rootElement().namespaceDeclarations());
    evaluator.setVariable("id", Value::string("1"));
    evaluator.setVariable("two", Value::number(2));
    Value value = evaluator.evaluate(GetParam().expression, document->node());
    EXPECT_EQ(typed(value), GetParam().expected) << GetParam().expression;
}

INSTANTIATE_TEST_SUITE_P(
    Operators, EvaluateOnInvoice,
    ::testing::Values(
        Case{"1 + 2", "double 3\n"}, Case{"7 div 2", "double 3.5\n"}, Case{"1 div 0", "double inf\n"},
        Case{"0 div 0", "double nan\n"}, Case{"'abc' < 'abd'", "integer 0\n"}, Case{"'10' > '9'", "integer 1\n"},
        Case{"2 > 1", "integer 1\n"}, Case{"1 = 1", "boolean true\n"}, Case{"1 != 2", "integer 1\n"},
        Case{"$unset", "integer 0\n"}, Case{"$unset = 0", "boolean true\n"}, Case{"$unset = ''", "boolean false\n"},
        Case{"('a', 'b') = 'b'", "boolean true\n"}, Case{"('a', 'b') != 'b'", "integer 0\n"},
        Case{"() = ()", "boolean false\n"}, Case{"() != ()", "integer 1\n"},
        Case{"if (()) then 1 else 2", "double 2\n"}, Case{"1 | 2", "integer 0\n"}, Case{"1 2", "double 1\n"},
        Case{"5-3", "double 5\n"}, Case{"5 - 3", "double 2\n"}, Case{"$two -1", "double 2\n"},
        Case{"1 + 2 * 3", "double 7\n"}, Case{"8 div 2 div 2", "double 2\n"}, Case{"1 < 2 < 3", "integer 1\n"},
        Case{"(1, (), 2)", "sequence 2\n  double 1\n  double 2\n"}, Case{")", "absent\n"}));

INSTANTIATE_TEST_SUITE_P(
    Paths, EvaluateOnInvoice,
    ::testing::Values(
        Case{"sum(//cac:InvoiceLine/cbc:LineExtensionAmount)", "double 200\n"},
        Case{"sum(//cac:InvoiceLine/cbc:LineExtensionAmount) > 0", "integer 1\n"},
        Case{"//cac:InvoiceLine[cbc:ID=$id]/cbc:Note", "sequence 1\n  element cbc:Note\n"},
        Case{"string(//cac:InvoiceLine[cbc:ID=$id]/cbc:Note)", "string \"Delivered in two parcels\"\n"},
        // A predicate on a later step is copied into the XPath text, double quotes and all.
        Case{"count(/*/cac:InvoiceLine[cbc:ID=\"2\"]/cbc:ID)", "integer 1\n"},
        Case{"/*/cac:AccountingSupplierParty/cac:Party/cac:PartyLegalEntity/cbc:RegistrationName",
             "sequence 1\n  element cbc:RegistrationName\n"},
        Case{"/*[1]/cbc:ID", "sequence 1\n  element cbc:ID\n"},
        // The root element's default namespace: unprefixed names match by local name.
        Case{"/Invoice[1]/cac:InvoiceLine[2]/cbc:ID", "sequence 1\n  element cbc:ID\n"},
        // Attribute paths written as text yield strings.
        Case{"//cbc:LineExtensionAmount/@currencyID", "sequence 3\n  string \"EUR\"\n  string \"EUR\"\n"
                                                      "  string \"EUR\"\n"},
        Case{"//cac:InvoiceLine[1]/cbc:LineExtensionAmount/@currencyID", "sequence 1\n  string \"EUR\"\n"},
        // The path ends at "/", which selects the document node; "@id" is left over.
        Case{"/@id", "sequence 1\n  document\n"},
        Case{"(//cbc:ID)[1]", "sequence 1\n  element cbc:ID\n"},
        // An ordering comparison alone in a predicate is integer 1: position 1 only.
        Case{"count(//cac:InvoiceLine[cbc:ID > 0])", "integer 1\n"},
        Case{"count(//cac:InvoiceLine[cbc:ID > 0 = true()])", "integer 2\n"},
        Case{"count(//cac:InvoiceLine[cbc:ID = 2])", "integer 1\n"},
        Case{"//cac:InvoiceLine[2]/cbc:ID = 2", "boolean true\n"},
        Case{"count(/(cac:InvoiceLine|cbc:ID))", "integer 0\n"},
        Case{"count(//(cac:InvoiceLine|cac:TaxTotal))", "integer 3\n"}));

TEST(EvaluateContext, ContextNodeStaysAfterTheCallAndGuardsAbsoluteParse) {
    E evaluator;
    EXPECT_TRUE(evaluator.evaluate("//x", xml::Node()).items().empty());
    auto document = xml::Document::parse("<r><x>1</x></r>", nullptr);
    ASSERT_TRUE(document);
    evaluator.evaluate("1", document->rootElement());
    EXPECT_EQ(evaluator.getContextNode(), document->rootElement());
}

TEST(EvaluateTrace, OperatorAndVariableLines) {
    E evaluator;
    evaluator.setVariable("a", Value::number(2));
    evaluator.setTraceEnabled(true);
    evaluator.clearTrace();
    evaluator.evaluate("$a + 1", xml::Node());
    EXPECT_EQ(evaluator.getTrace(), (std::vector<std::string>{"\u2192 BinaryOp(+)", "  $a = 2", "  Left = 2",
                                                              "  Right = 1", "\u2190 BinaryOp(+) = 3"}));
    evaluator.setTraceEnabled(false);
    evaluator.clearTrace();
    evaluator.evaluate("$a + 1", xml::Node());
    EXPECT_TRUE(evaluator.getTrace().empty());
}

TEST(EvaluateCache, ReusedTreesGiveTheSameValuesAsFreshParses) {
    auto document = xml::Document::parse("<r><x>1</x><x>2</x></r>", nullptr);
    ASSERT_TRUE(document);
    E reused;
    for (int round = 0; round < 3; ++round) {
        for (const char* expression : {"count(//x)", "/r/x[2] = 2", "sum(/(x|r)/x)", "//x[1]/string()"}) {
            E fresh;
            EXPECT_EQ(typed(reused.evaluate(expression, document->node())),
                      typed(fresh.evaluate(expression, document->node())))
                << expression;
        }
    }
}

TEST(EvaluateCache, ParseTimeEvaluationsFollowTheContextNode) {
    auto first = xml::Document::parse("<r><x>1</x></r>", nullptr);
    auto second = xml::Document::parse("<r><x>1</x><x>2</x></r>", nullptr);
    E evaluator;
    EXPECT_EQ(typed(evaluator.evaluate("count(/(x|r)/x)", first->node())), "integer 1\n");
    EXPECT_EQ(typed(evaluator.evaluate("count(/(x|r)/x)", second->node())), "integer 2\n");
}

TEST(EvaluateCache, UnknownCharactersAreLoggedAtEveryEvaluation) {
    E evaluator;
    ScopedLogCapture capture;
    evaluator.evaluate("1 # 2", xml::Node());
    evaluator.evaluate("1 # 2", xml::Node());
    EXPECT_EQ(capture.lines().size(), 2u);
}

}  // namespace
}  // namespace quillmark
