// Whole expressions evaluated on the example invoice: values, their tags, and the
// fallbacks of paths, predicates, operators and the parse-time evaluations.

#include "expression_test_support.h"
#include "quillmark/log.h"
#include "support/test_support.h"

namespace quillmark::testing {
namespace {

struct Case {
    const char* expression;
    const char* expected;
};

class EvaluateOnInvoice : public ::testing::TestWithParam<Case> {
protected:
    static void SetUpTestSuite() {
        Error error;
        document = xml::Document::parseFile(sourcePath("examples/invoice-valid.xml"), &error);
        ASSERT_TRUE(document) << error.message();
    }
    static void TearDownTestSuite() { document.reset(); }

    static inline std::shared_ptr<xml::Document> document;
};

TEST_P(EvaluateOnInvoice, YieldsTheTaggedValue) {
    QMXPath2Evaluator evaluator(document->rootElement().namespaceDeclarations());
    evaluator.setVariable("id", Value::string("1"));
    evaluator.setVariable("two", Value::number(2));
    EXPECT_EQ(typed(evaluator.evaluate(GetParam().expression, document->node())), GetParam().expected)
        << GetParam().expression;
}

INSTANTIATE_TEST_SUITE_P(
    Operators, EvaluateOnInvoice,
    ::testing::Values(
        Case{"1 div 0", "double inf"}, Case{"-1 div 0", "double -inf"}, Case{"0 div 0", "double nan"},
        Case{"$unset", "integer 0"}, Case{"$unset = 0", "boolean true"}, Case{"$unset = ''", "boolean false"},
        Case{"if (()) then 1 else 2", "double 2"},
        // Tokens after the first expression are ignored; "-3" is a number token.
        Case{"5-3", "double 5"}, Case{"$two -1", "double 2"},
        Case{"(1, (), 2)", "sequence(double 1, double 2)"}, Case{")", "absent"}));

INSTANTIATE_TEST_SUITE_P(
    Paths, EvaluateOnInvoice,
    ::testing::Values(
        Case{"sum(//cac:InvoiceLine/cbc:LineExtensionAmount)", "double 200"},
        Case{"//cac:InvoiceLine[cbc:ID=$id]/cbc:Note", "sequence(element cbc:Note)"},
        Case{"string(//cac:InvoiceLine[cbc:ID=$id]/cbc:Note)", "string \"Delivered in two parcels\""},
        // A predicate on a later step is copied into the XPath text, double quotes and all.
        Case{"count(/*/cac:InvoiceLine[cbc:ID=\"2\"]/cbc:ID)", "integer 1"},
        Case{"/*/cac:AccountingSupplierParty/cac:Party/cac:PartyLegalEntity/cbc:RegistrationName",
             "sequence(element cbc:RegistrationName)"},
        Case{"/*[1]/cbc:ID", "sequence(element cbc:ID)"},
        // The root element's default namespace: unprefixed names match by local name.
        Case{"/Invoice[1]/cac:InvoiceLine[2]/cbc:ID", "sequence(element cbc:ID)"},
        // Attribute paths written as text yield strings.
        Case{"//cbc:LineExtensionAmount/@currencyID", "sequence(string \"EUR\", string \"EUR\", string \"EUR\")"},
        Case{"//cac:InvoiceLine[1]/cbc:LineExtensionAmount/@currencyID", "sequence(string \"EUR\")"},
        // The path ends at "/", which selects the document node; "@id" is left over.
        Case{"/@id", "sequence(document)"}, Case{"(//cbc:ID)[1]", "sequence(element cbc:ID)"},
        // An ordering comparison alone in a predicate is integer 1: position 1 only.
        Case{"count(//cac:InvoiceLine[cbc:ID > 0])", "integer 1"},
        Case{"count(//cac:InvoiceLine[cbc:ID > 0 = true()])", "integer 2"},
        Case{"//cac:InvoiceLine[2]/cbc:ID = 2", "boolean true"},
        Case{"count(/(cac:InvoiceLine|cbc:ID))", "integer 0"},
        Case{"count(//(cac:InvoiceLine|cac:TaxTotal))", "integer 3"}));

TEST(EvaluateTrace, OperatorAndVariableLines) {
    QMXPath2Evaluator evaluator;
    evaluator.setVariable("a", Value::number(2));
    evaluator.setTraceEnabled(true);
    evaluator.evaluate("$a + 1", xml::Node());
    EXPECT_EQ(evaluator.getTrace(), (std::vector<std::string>{"\u2192 BinaryOp(+)", "  $a = 2", "  Left = 2",
                                                              "  Right = 1", "\u2190 BinaryOp(+) = 3"}));
}

TEST(EvaluateCache, ReusedTreesGiveTheSameValuesAsFreshParses) {
    auto document = xml::Document::parse("<r><x>1</x><x>2</x></r>", nullptr);
    ASSERT_TRUE(document);
    QMXPath2Evaluator reused;
    EXPECT_EQ(typed(reused.evaluate("//x", xml::Node())), "sequence()");  // no context node: nothing to select
    for (int round = 0; round < 3; ++round) {
        for (const char* expression : {"count(//x)", "/r/x[2] = 2", "sum(/(x|r)/x)", "//x[1]/string()"}) {
            QMXPath2Evaluator fresh;
            EXPECT_EQ(typed(reused.evaluate(expression, document->node())),
                      typed(fresh.evaluate(expression, document->node())))
                << expression;
        }
    }
    // Parse-time selections follow the context node rather than the cached tree.
    auto second = xml::Document::parse("<r><x>1</x><x>2</x><x>3</x></r>", nullptr);
    EXPECT_EQ(typed(reused.evaluate("count(/(x|r)/x)", document->node())), "integer 2");
    EXPECT_EQ(typed(reused.evaluate("count(/(x|r)/x)", second->node())), "integer 3");
    EXPECT_EQ(reused.getContextNode(), second->node());  // the context node stays after the call
}

TEST(EvaluateCache, UnknownCharactersAreLoggedAtEveryEvaluation) {
    QMXPath2Evaluator evaluator;
    ScopedLogCapture capture;
    evaluator.evaluate("1 # 2", xml::Node());
    evaluator.evaluate("1 # 2", xml::Node());
    EXPECT_EQ(capture.lines().size(), 2u);
}

}  // namespace
}  // namespace quillmark::testing
