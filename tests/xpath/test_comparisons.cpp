// Comparisons and arithmetic through whole expressions, where rule sets depend on the
// exact XPath 2.0 rules: general comparisons are existential, value comparisons take
// single items, untyped node values are promoted by what they meet, decimals stay
// decimals, dates compare as dates.

#include "engine_test_support.h"

namespace quillmark::xpath::testing {
namespace {

// Untyped values as a document without a schema gives them.
constexpr const char* kUntypedValues =
    "<r><a>10</a><b>9</b><zero>0</zero><one>1</one><yes>true</yes><no>no</no><empty/>"
    "<day>2020-01-02</day><amount>0.1</amount><amount>0.2</amount></r>";

TEST(XPathGeneralComparisons, AreExistentialOverBothSequences) {
    expectOutcomes({
        {"(1, 2) = (2, 3)", "xs:boolean true"},
        {"(1, 2) = (3, 4)", "xs:boolean false"},
        {"() = ()", "xs:boolean false"},
        {"() != ()", "xs:boolean false"},
        {"() = 1", "xs:boolean false"},
        // != is "some pair differs", not the negation of =.
        {"(1, 2) != (1, 2)", "xs:boolean true"},
        {"(1, 2) = (1, 2)", "xs:boolean true"},
        {"1 != 1", "xs:boolean false"},
        {"(1, 1) != 1", "xs:boolean false"},
        {"(1, 2) < (0, 3)", "xs:boolean true"},
        {"(5, 6) <= (1, 2)", "xs:boolean false"},
        {"'a' = ('b', 'a')", "xs:boolean true"},
        {"not((1, 2) = 3)", "xs:boolean true"},
    });
}

TEST(XPathGeneralComparisons, RefuseIncomparableTypes) {
    expectOutcomes({
        {"1 = '1'", "XPTY0004"},
        {"true() = 'true'", "XPTY0004"},
        {"xs:date('2020-01-02') = '2020-01-02'", "XPTY0004"},
        {"1 = 1.0", "xs:boolean true"},
        {"1 = 1e0", "xs:boolean true"},
    });
}

TEST(XPathValueComparisons, TakeSingleItemsAndGiveEmptyForEmpty) {
    expectOutcomes({
        {"(1, 2) eq 1", "XPTY0004"},
        {"1 eq (1, 2)", "XPTY0004"},
        {"() eq 1", "()"},
        {"1 ne ()", "()"},
        {"1 eq 1.0", "xs:boolean true"},
        {"1 ne 2", "xs:boolean true"},
        {"'10' lt '9'", "xs:boolean true"},
        {"2 ge 2", "xs:boolean true"},
        {"1 eq '1'", "XPTY0004"},
        // An untyped value is read as a string here, even against a number.
        {"xs:untypedAtomic('10') eq '10'", "xs:boolean true"},
        {"xs:untypedAtomic('10') eq 10", "XPTY0004"},
        // Empty gives an empty effective boolean value: false.
        {"boolean(() eq 1)", "xs:boolean false"},
    });
}

TEST(XPathUntypedPromotion, FollowsTheOtherOperand) {
    const auto document = parseDocument(kUntypedValues);
    expectOutcomes({
        // Against a number: compared as doubles.
        {"/r/a > 9", "xs:boolean true"},
        {"/r/a = 10.0", "xs:boolean true"},
        {"/r/a = 1e1", "xs:boolean true"},
        // Against a string, or untyped against untyped: compared as strings.
        {"/r/a > '9'", "xs:boolean false"},
        {"/r/a > /r/b", "xs:boolean false"},
        {"'10' > '9'", "xs:boolean false"},
        {"/r/a = 'x'", "xs:boolean false"},
        // Against a boolean: cast to xs:boolean (a ChargeIndicator of 0 is false).
        {"/r/zero = false()", "xs:boolean true"},
        {"/r/one = true()", "xs:boolean true"},
        {"/r/yes = true()", "xs:boolean true"},
        {"/r/no = false()", "FORG0001"},
        {"/r/empty = false()", "FORG0001"},
        // Against a date: cast to xs:date.
        {"/r/day = xs:date('2020-01-02')", "xs:boolean true"},
        {"/r/day > xs:date('2019-12-31')", "xs:boolean true"},
        // A value that is not a number fails when a number is needed.
        {"/r/no = 1", "FORG0001"},
        {"/r/empty = 0", "FORG0001"},
        // Several nodes: any one matching is enough.
        {"/r/amount = 0.2", "xs:boolean true"},
        {"/r/amount != 0.2", "xs:boolean true"},
    },
                   document.get());
}

TEST(XPathUntypedPromotion, ArithmeticOnUntypedValuesIsDouble) {
    const auto document = parseDocument(kUntypedValues);
    expectOutcomes({
        {"/r/a + 1", "xs:double 11"},
        {"/r/a * 1.5", "xs:double 15"},
        {"/r/a div /r/b", "xs:double 1.1111111111111112"},
        {"/r/no + 1", "FORG0001"},
        {"/r/amount + 1", "XPTY0004"},
        {"() + 1", "()"},
        {"/r/missing + 1", "()"},
        // sum() of untyped values adds doubles; of xs:decimal values, decimals.
        {"sum(/r/amount)", "xs:double 0.30000000000000004"},
        {"sum(/r/amount/xs:decimal(.))", "xs:decimal 0.3"},
        {"sum(/r/amount/xs:decimal(.)) = 0.3", "xs:boolean true"},
    },
                   document.get());
}

TEST(XPathNumericTypes, DecimalsStayExactAndDoublesFollowIeee) {
    expectOutcomes({
        {"0.1 + 0.2", "xs:decimal 0.3"},
        {"0.1 + 0.2 = 0.3", "xs:boolean true"},
        {"0.1e0 + 0.2e0", "xs:double 0.30000000000000004"},
        {"0.1e0 + 0.2e0 = 0.3e0", "xs:boolean false"},
        {"0.1 + 0.2e0", "xs:double 0.30000000000000004"},
        {"2 * 3", "xs:integer 6"},
        {"1 + 1.0", "xs:decimal 2"},
        {"1 + 1e0", "xs:double 2"},
        {"6 div 3", "xs:decimal 2"},
        {"1 div 3", "xs:decimal 0.333333333333333333"},
        {"2 div 3", "xs:decimal 0.666666666666666667"},
        {"7 idiv 2", "xs:integer 3"},
        {"-7 idiv 2", "xs:integer -3"},
        {"-5 mod 3", "xs:integer -2"},
        {"5.5 mod 2", "xs:decimal 1.5"},
        {"1 div 0", "FOAR0001"},
        {"1.0 div 0", "FOAR0001"},
        {"1 idiv 0", "FOAR0001"},
        {"1 mod 0", "FOAR0001"},
        {"1 div 0e0", "xs:double INF"},
        {"-1 div 0e0", "xs:double -INF"},
        {"0e0 div 0", "xs:double NaN"},
        {"xs:decimal('1.10') + 1", "xs:decimal 2.1"},
        {"round(2.5)", "xs:decimal 3"},
        {"round(-2.5)", "xs:decimal -2"},
        {"round(-2.5e0)", "xs:double -2"},
        // Integers of any size: the IBAN checks compute such values modulo 97.
        {"xs:integer('3214282912345698765432161182') mod 97", "xs:integer 1"},
        {"99999999999999999999 + 1", "xs:integer 100000000000000000000"},
        {"xs:decimal(1.005e0)", "xs:decimal 1.00499999999999989341858963598497211933135986328125"},
        {"1 + 'a'", "XPTY0004"},
        {"(1, 2) + 1", "XPTY0004"},
    });
}

TEST(XPathDates, CompareAsDatesNotAsText) {
    expectOutcomes({
        {"xs:date('2020-01-02') > xs:date('2019-12-31')", "xs:boolean true"},
        {"xs:date('2020-01-02') = xs:date('2020-01-02')", "xs:boolean true"},
        {"xs:date('2019-12-31') lt xs:date('2020-01-01')", "xs:boolean true"},
        // Same text order, other instant order: timezones count.
        {"xs:date('2020-01-02+14:00') < xs:date('2020-01-01-12:00')", "xs:boolean true"},
        {"xs:date('2020-01-02') - xs:date('2019-12-31')", "xs:dayTimeDuration P2D"},
        {"xs:date('2020-02-30')", "FORG0001"},
        {"xs:date('2020-1-2')", "FORG0001"},
        {"xs:date('')", "FORG0001"},
        {"xs:date('2020-01-02') > 1", "XPTY0004"},
    });
}

// The dates of UBL documents: the EN 16931 rules cast each side to xs:date.
TEST(XPathDates, UblPeriodsCompareAsDates) {
    const auto invoice = parseDocument(std::string("<Invoice xmlns='") + kUblInvoiceNamespace + "' xmlns:cac='" +
                                       kCacNamespace + "' xmlns:cbc='" + kCbcNamespace +
                                       "'><cac:InvoicePeriod><cbc:StartDate>2019-12-31</cbc:StartDate>"
                                       "<cbc:EndDate>2020-01-02</cbc:EndDate></cac:InvoicePeriod></Invoice>");
    expectUblOutcomes({
        {"xs:date(cbc:EndDate) >= xs:date(cbc:StartDate)", "xs:boolean true"},
        {"(exists(cbc:EndDate) and exists(cbc:StartDate) and xs:date(cbc:EndDate) >= xs:date(cbc:StartDate)) or "
         "not(exists(cbc:StartDate)) or not(exists(cbc:EndDate))",
         "xs:boolean true"},
        {"xs:date(cbc:StartDate) > xs:date(cbc:EndDate)", "xs:boolean false"},
        // Untyped against untyped: compared as strings, which agrees here.
        {"cbc:EndDate >= cbc:StartDate", "xs:boolean true"},
    },
                      invoice.get(), "//cac:InvoicePeriod");
}

TEST(XPathNodeComparisons, CompareIdentityAndDocumentOrder) {
    const auto document = parseDocument("<r><a/><b/></r>");
    expectOutcomes({
        {"/r/a is /r/a", "xs:boolean true"},
        {"/r/a is /r/b", "xs:boolean false"},
        {"/r/a << /r/b", "xs:boolean true"},
        {"/r/a >> /r/b", "xs:boolean false"},
        {"/r/b >> /r/a", "xs:boolean true"},
        {"/r << /r/a", "xs:boolean true"},
        {"/r/a/.. is /r", "xs:boolean true"},
        {"() is /r/a", "()"},
        {"/r/* is /r/a", "XPTY0004"},
        {"1 is /r/a", "XPTY0004"},
    },
                   document.get());
}

}  // namespace
}  // namespace quillmark::xpath::testing
