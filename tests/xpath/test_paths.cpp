// Paths through whole expressions on a UBL invoice: union contexts, names, predicates
// by position and by value, reverse axes, function calls and parentheses as steps,
// filters on atomic values, and the type errors of paths.

#include "engine_test_support.h"

namespace quillmark::xpath::testing {
namespace {

std::shared_ptr<xml::Document> smallInvoice() {
    return parseDocument(std::string("<Invoice xmlns='") + kUblInvoiceNamespace + "' xmlns:cac='" + kCacNamespace +
                         "' xmlns:cbc='" + kCbcNamespace +
                         R"('>
  <cbc:ID>INV-1</cbc:ID>
  <cbc:IssueDate>2020-01-02</cbc:IssueDate>
  <cac:AllowanceCharge><cbc:ChargeIndicator>0</cbc:ChargeIndicator><cbc:Amount currencyID="EUR">10</cbc:Amount></cac:AllowanceCharge>
  <cac:AllowanceCharge><cbc:ChargeIndicator>true</cbc:ChargeIndicator><cbc:Amount currencyID="USD">5.5</cbc:Amount></cac:AllowanceCharge>
  <cac:TaxScheme><cbc:ID> vat </cbc:ID></cac:TaxScheme>
  <cac:InvoiceLine><cbc:ID>1</cbc:ID><cbc:LineExtensionAmount currencyID="EUR">0.1</cbc:LineExtensionAmount></cac:InvoiceLine>
  <cac:InvoiceLine><cbc:ID>2</cbc:ID><cbc:LineExtensionAmount currencyID="EUR">0.2</cbc:LineExtensionAmount></cac:InvoiceLine>
  <cac:InvoiceLine><cbc:ID>3</cbc:ID><cbc:LineExtensionAmount currencyID="EUR">10</cbc:LineExtensionAmount></cac:InvoiceLine>
</Invoice>)");
}

TEST(XPathPaths, UnionContextSelectsWhicheverRootIsThere) {
    const auto invoice = smallInvoice();
    expectUblOutcomes({
        {"/ubl:Invoice | /cn:CreditNote", "element Invoice"},
        {"/cn:CreditNote | /ubl:Invoice", "element Invoice"},
        {"count(/ubl:Invoice | /cn:CreditNote)", "xs:integer 1"},
        {"/cn:CreditNote", "()"},
        // Unprefixed names are in no namespace: the UBL root is not "Invoice".
        {"/Invoice", "()"},
        {"count(/*/cac:InvoiceLine | /*/cac:InvoiceLine)", "xs:integer 3"},
        {"count(/*/cac:InvoiceLine union /*/cac:AllowanceCharge)", "xs:integer 5"},
    },
                      invoice.get());
}

TEST(XPathPaths, NameAndLocalName) {
    const auto invoice = smallInvoice();
    expectUblOutcomes({
        {"name(/*)", R"(xs:string "Invoice")"},
        {"local-name(/*)", R"(xs:string "Invoice")"},
        {"name(/*/cbc:ID)", R"(xs:string "cbc:ID")"},
        {"local-name(/*/cbc:ID)", R"(xs:string "ID")"},
        {"name((//@currencyID)[1])", R"(xs:string "currencyID")"},
        {"name(//@currencyID[1])", "XPTY0004"},
        {"name(/)", R"(xs:string "")"},
        {"name(())", R"(xs:string "")"},
        {"name(//cbc:ID)", "XPTY0004"},
        {"namespace-uri(/*/cbc:ID)", std::string("xs:anyURI \"") + kCbcNamespace + "\""},
        {"/*/*[local-name() = 'IssueDate']", "element cbc:IssueDate"},
    },
                      invoice.get());
    expectUblOutcomes({{"name()", R"(xs:string "cbc:LineExtensionAmount")"}, {"local-name()", R"(xs:string "LineExtensionAmount")"}},
                      invoice.get(), "//cbc:LineExtensionAmount[1]");
}

TEST(XPathPredicates, NumbersSelectPositionsOtherValuesFilter) {
    expectOutcomes({
        {"(10, 20, 30)[2]", "xs:integer 20"},
        {"(10, 20, 30)[2.0]", "xs:integer 20"},
        {"(10, 20, 30)[2.5]", "()"},
        {"(10, 20, 30)[2e0]", "xs:integer 20"},
        {"(10, 20, 30)[0]", "()"},
        {"(10, 20, 30)[last()]", "xs:integer 30"},
        {"(10, 20, 30)[last() - 1]", "xs:integer 20"},
        {"(10, 20, 30)[position() > 1]", "xs:integer 20, xs:integer 30"},
        {"(10, 20, 30)[. > 15]", "xs:integer 20, xs:integer 30"},
        {"(10, 20, 30)[true()]", "xs:integer 10, xs:integer 20, xs:integer 30"},
        // A string predicate is its effective boolean value, never a position.
        {"(10, 20, 30)['']", "()"},
        {"(10, 20, 30)['2']", "xs:integer 10, xs:integer 20, xs:integer 30"},
        {"(10, 20, 30)[xs:untypedAtomic('2')]", "xs:integer 10, xs:integer 20, xs:integer 30"},
        {"(10, 20, 30)[(1, 2)]", "FORG0006"},
        // Predicates apply in turn, each to the result of the one before.
        {"(1 to 10)[. mod 2 = 0][2]", "xs:integer 4"},
        {"(1 to 10)[2][. mod 2 = 0]", "xs:integer 2"},
        {"(1 to 10)[2][1]", "xs:integer 2"},
        {"(1 to 10)[2][2]", "()"},
    });
}

TEST(XPathPredicates, OnAtomicSequencesTheContextItemIsTheValue) {
    expectOutcomes({
        {"tokenize('a,,b', ',')[. != '']", R"(xs:string "a", xs:string "b")"},
        {"tokenize('a,,b', ',')[2]", R"(xs:string "")"},
        {"tokenize('a,,b', ',')[string-length(.) > 0][last()]", R"(xs:string "b")"},
        {"('a', 'b', 'c')[. = ('b', 'c')][1]", R"(xs:string "b")"},
        {"(1, 2, 3)[. instance of xs:integer and . > 2]", "xs:integer 3"},
        {"(1, 2)[child::x]", "XPTY0020"},
        {"(1, 2)[@x]", "XPTY0020"},
    });
}

TEST(XPathPredicates, PositionsOnReverseAxesCountFromTheContextNode) {
    const auto invoice = smallInvoice();
    expectUblOutcomes({
        // The nearest preceding sibling, though the result is in document order.
        {"preceding-sibling::cac:InvoiceLine[1]/cbc:ID/string()", R"(xs:string "2")"},
        {"preceding-sibling::cac:InvoiceLine[last()]/cbc:ID/string()", R"(xs:string "1")"},
        {"(preceding-sibling::cac:InvoiceLine)[1]/cbc:ID/string()", R"(xs:string "1")"},
        {"preceding-sibling::*[1]", "element cac:InvoiceLine"},
        {"preceding-sibling::*[3]/cbc:ID/string()", R"(xs:string " vat ")"},
        {"count(preceding-sibling::*)", "xs:integer 7"},
        {"cbc:ID/ancestor::*[1]/cbc:ID/string()", R"(xs:string "3")"},
        {"cbc:ID/ancestor::*[last()]", "element Invoice"},
        {"cbc:ID/ancestor-or-self::*[1]", "element cbc:ID"},
        {"preceding::cbc:ID[1]/string()", R"(xs:string "2")"},
        {"following-sibling::*", "()"},
        {"../cac:InvoiceLine[1]/following-sibling::*[1]/cbc:ID/string()", R"(xs:string "2")"},
        {"parent::node()", "element Invoice"},
        {"../..", "document"},
        {"../../..", "()"},
    },
                      invoice.get(), "/*/cac:InvoiceLine[3]");
}

TEST(XPathPredicates, FirstOfAUnionIsFirstInDocumentOrder) {
    const auto invoice = smallInvoice();
    expectUblOutcomes({
        {"(//cbc:LineExtensionAmount | //cbc:ID)[1]/string()", R"(xs:string "INV-1")"},
        {"(//cbc:LineExtensionAmount | //cac:InvoiceLine/cbc:ID)[1]/string()", R"(xs:string "1")"},
        {"(//cbc:LineExtensionAmount | //cac:InvoiceLine/cbc:ID)[last()]/string()", R"(xs:string "10")"},
        {"count((//cbc:ID | //cbc:ID)[. = '2'])", "xs:integer 1"},
    },
                      invoice.get());
}

TEST(XPathPredicates, DoubleSlashPredicatesApplyPerParent) {
    const auto invoice = smallInvoice();
    expectUblOutcomes({
        // //x[1] is every x that is the first x child of its parent.
        {"count(//cbc:ID[1])", "xs:integer 5"},
        {"count(/descendant::cbc:ID[1])", "xs:integer 1"},
        {"count((//cbc:ID)[1])", "xs:integer 1"},
        {"//cbc:ID[2]", "()"},
        {"count(//cac:InvoiceLine[last()])", "xs:integer 1"},
        {"count(//*[last()])", "xs:integer 8"},
        {"//cac:InvoiceLine[cbc:ID = 2]/cbc:LineExtensionAmount/string()", R"(xs:string "0.2")"},
        {"count(//cac:InvoiceLine[cbc:ID = (1, 3)])", "xs:integer 2"},
        {"count(//cac:AllowanceCharge[cbc:ChargeIndicator = false()])", "xs:integer 1"},
        {"//cac:AllowanceCharge[cbc:ChargeIndicator = true()]/cbc:Amount/@currencyID/string()", R"(xs:string "USD")"},
        {"count(//@currencyID[. = 'EUR'])", "xs:integer 4"},
    },
                      invoice.get());
}

TEST(XPathSteps, FunctionCallsAndParenthesesAsSteps) {
    const auto invoice = smallInvoice();
    expectUblOutcomes({
        {"//cac:InvoiceLine/xs:decimal(cbc:LineExtensionAmount)", "xs:decimal 0.1, xs:decimal 0.2, xs:decimal 10"},
        {"sum(//cac:InvoiceLine/xs:decimal(cbc:LineExtensionAmount))", "xs:decimal 10.3"},
        {"sum(//cac:InvoiceLine/cbc:LineExtensionAmount)", "xs:double 10.3"},
        {"sum(//(cac:InvoiceLine | cac:CreditNoteLine)/xs:decimal(cbc:LineExtensionAmount))", "xs:decimal 10.3"},
        {"//cac:InvoiceLine/cbc:ID/string()", R"(xs:string "1", xs:string "2", xs:string "3")"},
        // Atomic results keep the order of the nodes, duplicates included.
        {"//cac:InvoiceLine/(xs:integer(cbc:ID) mod 2)", "xs:integer 1, xs:integer 0, xs:integer 1"},
        {"//cac:InvoiceLine[1]/(cbc:LineExtensionAmount | cbc:ID)", "element cbc:ID, element cbc:LineExtensionAmount"},
        {"//cac:InvoiceLine[1]/(cbc:LineExtensionAmount, cbc:ID)", "element cbc:ID, element cbc:LineExtensionAmount"},
        {"//cac:TaxScheme/(normalize-space(upper-case(cbc:ID)) = 'VAT')", "xs:boolean true"},
        {"exists(//cac:InvoiceLine[cac:TaxScheme/(normalize-space(cbc:ID) = 'VAT')])", "xs:boolean false"},
        {"//cac:InvoiceLine/cbc:ID/string()/x", "XPTY0019"},
        {"//cac:InvoiceLine/(cbc:ID, 1)", "XPTY0018"},
        {"//cac:InvoiceLine/(if (cbc:ID = 2) then 1 else cbc:ID)", "XPTY0018"},
        {"(1, 2)/.", "XPTY0019"},
        {"'a'/b", "XPTY0019"},
    },
                      invoice.get());
    expectUblOutcomes({{"../xs:decimal(cbc:ID - 1)", "xs:decimal 1"}, {"xs:decimal(.) * 10", "xs:decimal 2"}},
                      invoice.get(), "//cbc:LineExtensionAmount[. = '0.2']");
}

TEST(XPathSteps, NodeTestsAndWildcards) {
    const auto invoice = smallInvoice();
    expectUblOutcomes({
        {"count(/*/cbc:*)", "xs:integer 2"},
        {"count(/*/*:ID)", "xs:integer 1"},
        {"count(//*:ID)", "xs:integer 5"},
        {"/*/cbc:ID/text()", R"(text "INV-1")"},
        {"count(/*/node())", "xs:integer 17"},
        {"count(/*/text()[normalize-space()])", "xs:integer 0"},
        {"count(//element(cbc:ID))", "xs:integer 5"},
        // An attribute test without an axis takes the attribute axis.
        {"count(//attribute(currencyID))", "xs:integer 5"},
        {"count(//child::attribute(currencyID))", "xs:integer 0"},
        {"count(//cbc:Amount/attribute())", "xs:integer 2"},
        {"count(/*/self::ubl:Invoice)", "xs:integer 1"},
        {"count(/*/self::cn:CreditNote)", "xs:integer 0"},
        {"/self::document-node()", "document"},
        {"/document-node()", "()"},
        {"/..", "()"},
    },
                      invoice.get());
}

TEST(XPathSetOperators, IntersectAndExceptWorkOnNodes) {
    const auto invoice = smallInvoice();
    expectUblOutcomes({
        {"count(//cbc:ID intersect //cac:InvoiceLine/*)", "xs:integer 3"},
        {"count(//cbc:ID except //cac:InvoiceLine/*)", "xs:integer 2"},
        {"(//cbc:ID except //cac:InvoiceLine/*)[1]/string()", R"(xs:string "INV-1")"},
        {"count(//cac:InvoiceLine except ())", "xs:integer 3"},
        {"(1, 2) intersect (2, 3)", "XPTY0004"},
        {"//cbc:ID | 1", "XPTY0004"},
    },
                      invoice.get());
}

TEST(XPathContextItem, AbsentContextIsAnError) {
    expectOutcomes({
        {".", "XPDY0002"},
        {"cbc", "XPDY0002"},
        {"/", "XPDY0002"},
        {"//a", "XPDY0002"},
        {"position()", "XPDY0002"},
        {"last()", "XPDY0002"},
        {"name()", "XPDY0002"},
        {"string()", "XPDY0002"},
        {"normalize-space()", "XPDY0002"},
        // Not reached: fine without a context.
        {"if (false()) then . else 1", "xs:integer 1"},
        {"(1, 2)[. = 2]", "xs:integer 2"},
    });
}

TEST(XPathContextItem, AtomicContextItemAllowsNoAxisStep) {
    const auto setup = [](DynamicContext& context) { context.setContextItem(Item(AtomicValue::fromString("x"))); };
    EXPECT_EQ(evaluationOutcome(".", setup), R"(xs:string "x")");
    EXPECT_EQ(evaluationOutcome("string-length()", setup), "xs:integer 1");
    EXPECT_EQ(evaluationOutcome("a", setup), "XPTY0020");
    EXPECT_EQ(evaluationOutcome("/", setup), "XPTY0020");
}

}  // namespace
}  // namespace quillmark::xpath::testing
