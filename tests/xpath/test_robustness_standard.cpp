// Bad input never crashes or hangs the engine: every mutation of real rule expressions,
// random token soup, deep nesting and huge literals end in a value or an XPathError;
// runaway evaluations end with QMXP0001 under the evaluation limits, while a real rule
// on a real invoice stays well inside the default limits.

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "engine_test_support.h"
#include "support/test_support.h"
#include "xpath/xslt_functions.h"

namespace quillmark::xpath::testing {
namespace {

// Tests and contexts of the official rule sets, by rule set.
const std::vector<std::string> kEn16931UblExpressions = {
    "/ubl:Invoice | /cn:CreditNote",
    "/ubl:Invoice/cac:AllowanceCharge[cbc:ChargeIndicator = false()] | "
    "/cn:CreditNote/cac:AllowanceCharge[cbc:ChargeIndicator = false()]",
    "(xs:decimal(cbc:LineExtensionAmount) = xs:decimal(round(sum(//(cac:InvoiceLine|cac:CreditNoteLine)/"
    "xs:decimal(cbc:LineExtensionAmount)) * 10 * 10) div 100))",
    "(exists(cbc:EndDate) and exists(cbc:StartDate) and xs:date(cbc:EndDate) >= xs:date(cbc:StartDate)) or "
    "not(exists(cbc:StartDate)) or not(exists(cbc:EndDate))",
    "string-length(substring-after(cbc:Amount,'.'))<=2",
    "exists(cac:InvoiceLine) or exists(cac:CreditNoteLine)",
    "(cac:Item/cac:ClassifiedTaxCategory[cac:TaxScheme/(normalize-space(upper-case(cbc:ID))='VAT')]/cbc:ID)",
    "exists(cac:TaxCategory[cac:TaxScheme/normalize-space(upper-case(cbc:ID))='VAT']/cbc:ID)",
    "( ( not(contains(normalize-space(.),' ')) and contains( ' AE L M E S Z G O K B ',concat(' ',normalize-space(.),"
    "' ') ) ) )",
    "not(//cac:AdditionalDocumentReference[cbc:DocumentTypeCode = '130']/cac:Attachment)",
    "(count(cbc:AllowanceChargeReason) <= 1)",
    "xs:decimal(../cbc:TaxAmount) = 0",
    "count(//cbc:PaymentID[not(preceding::cbc:PaymentID/. = .)]) <= 1",
};

const std::vector<std::string> kPeppolExpressions = {
    "count(cac:TaxTotal[not(cac:TaxSubtotal)]) = (if (cbc:TaxCurrencyCode) then 1 else 0)",
    "string-length(text()) = 10 and (string(.) castable as xs:date)",
    "not(cbc:BaseAmount) or xs:decimal(../cbc:PriceAmount) = xs:decimal(cbc:BaseAmount) - xs:decimal(cbc:Amount)",
    "if (/*/cbc:ProfileID and matches(normalize-space(/*/cbc:ProfileID), "
    "'urn:fdc:peppol.eu:2017:poacc:billing:([0-9]{2}):1.0')) then tokenize(normalize-space(/*/cbc:ProfileID), ':')[7] "
    "else 'Unknown'",
    "cac:PaymentMeans[some $code in tokenize('49 59', '\\s') satisfies normalize-space(cbc:PaymentMeansCode) = $code]",
    "reverse(for $i in string-to-codepoints(substring('5790000435975', 0, 13)) return $i - 48)",
    "//*[not(*) and not(normalize-space())]",
    "matches(normalize-space(cbc:CompanyID),'^[A-Z0-9]{11,16}$')",
};

const std::vector<std::string> kXRechnungExpressions = {
    "matches(normalize-space(cbc:ElectronicMail), '^[^@\\s]+@([^@.\\s]+\\.)+[^@.\\s]+$')",
    "(/ubl:Invoice/cac:InvoiceLine | /cn:CreditNote/cac:CreditNoteLine)/cac:Item",
    "cbc:ID[boolean(normalize-space(xs:string(.)))]",
    "/ubl:Invoice/cac:PaymentMeans[normalize-space(cbc:PaymentMeansCode) = ('30','58')] | "
    "/cn:CreditNote/cac:PaymentMeans[normalize-space(cbc:PaymentMeansCode) = ('30','58')]",
};

const std::vector<std::string> kCiiExpressions = {
    "//ram:GlobalID[@schemeID][not(ancestor::ram:SpecifiedTradeProduct) and not(ancestor::ram:ShipToTradeParty)]",
    "(ram:EndDateTime/udt:DateTimeString[@format = '102']) >= (ram:StartDateTime/udt:DateTimeString[@format = "
    "'102']) or not (ram:EndDateTime) or not (ram:StartDateTime)",
    ". = (round(sum(/rsm:CrossIndustryInvoice/rsm:SupplyChainTradeTransaction/ram:ApplicableHeaderTradeSettlement/"
    "ram:ApplicableTradeTax/ram:CalculatedAmount)*10*10)div 100)",
};

// An invoice with the elements the expressions above read.
constexpr const char* kInvoiceBody = R"(
  <cbc:ProfileID>urn:fdc:peppol.eu:2017:poacc:billing:01:1.0</cbc:ProfileID>
  <cbc:DocumentCurrencyCode>EUR</cbc:DocumentCurrencyCode>
  <cac:InvoicePeriod><cbc:StartDate>2020-01-01</cbc:StartDate><cbc:EndDate>2020-01-31</cbc:EndDate></cac:InvoicePeriod>
  <cac:PaymentMeans><cbc:PaymentMeansCode>30</cbc:PaymentMeansCode><cac:PayeeFinancialAccount><cbc:ID>1234567</cbc:ID></cac:PayeeFinancialAccount></cac:PaymentMeans>
  <cac:AllowanceCharge><cbc:ChargeIndicator>false</cbc:ChargeIndicator><cbc:Amount currencyID="EUR">5.00</cbc:Amount></cac:AllowanceCharge>
  <cac:TaxTotal><cbc:TaxAmount currencyID="EUR">19.00</cbc:TaxAmount><cac:TaxSubtotal><cbc:TaxAmount currencyID="EUR">19.00</cbc:TaxAmount>
    <cac:TaxCategory><cbc:ID>S</cbc:ID><cac:TaxScheme><cbc:ID>VAT</cbc:ID></cac:TaxScheme></cac:TaxCategory></cac:TaxSubtotal></cac:TaxTotal>
  <cac:LegalMonetaryTotal><cbc:LineExtensionAmount currencyID="EUR">105.00</cbc:LineExtensionAmount>
    <cbc:AllowanceTotalAmount currencyID="EUR">5.00</cbc:AllowanceTotalAmount>
    <cbc:TaxExclusiveAmount currencyID="EUR">100.00</cbc:TaxExclusiveAmount>
    <cbc:TaxInclusiveAmount currencyID="EUR">119.00</cbc:TaxInclusiveAmount></cac:LegalMonetaryTotal>
  <cac:InvoiceLine><cbc:ID>1</cbc:ID><cbc:LineExtensionAmount currencyID="EUR">105.00</cbc:LineExtensionAmount>
    <cac:Item><cac:ClassifiedTaxCategory><cbc:ID>S</cbc:ID><cac:TaxScheme><cbc:ID>VAT</cbc:ID></cac:TaxScheme></cac:ClassifiedTaxCategory></cac:Item>
    <cac:Price><cbc:PriceAmount>105</cbc:PriceAmount><cac:AllowanceCharge><cbc:BaseAmount>110</cbc:BaseAmount><cbc:Amount>5</cbc:Amount></cac:AllowanceCharge></cac:Price></cac:InvoiceLine>
  <cbc:Empty/>)";

std::shared_ptr<xml::Document> mutationInvoice() {
    return parseDocument(std::string("<Invoice xmlns='") + kUblInvoiceNamespace + "' xmlns:cac='" + kCacNamespace +
                         "' xmlns:cbc='" + kCbcNamespace + "'>" + kInvoiceBody + "</Invoice>");
}

// The UBL prefixes, the CII ones, and a global variable $x.
StaticContext robustnessStatics() {
    StaticContext statics = ublStatics();
    statics.declareNamespace("rsm", "urn:un:unece:uncefact:data:standard:CrossIndustryInvoice:100");
    statics.declareNamespace("ram", "urn:un:unece:uncefact:data:standard:ReusableAggregateBusinessInformationEntity:100");
    statics.declareNamespace("udt", "urn:un:unece:uncefact:data:standard:UnqualifiedDataType:100");
    statics.declareVariable(ExpandedName{"", "x"});
    return statics;
}

// Limits small enough that no mutant runs for long.
EvaluationLimits smallLimits() {
    EvaluationLimits limits;
    limits.maxSteps = 20'000;
    limits.maxTime = std::chrono::milliseconds(2'000);
    limits.maxCallDepth = 64;
    return limits;
}

std::string repeated(const std::string& text, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += text;
    return out;
}

enum class Outcome { Value, StaticError, DynamicError, Crash };

// Compiles and evaluates the expression at the invoice's root element. Anything other
// than a value or an XPathError is a test failure naming the expression.
class Harness {
public:
    Harness() : document_(mutationInvoice()), statics_(robustnessStatics()) {}

    Outcome run(const std::string& expression) {
        try {
            const CompiledExpression compiled(expression, statics_);
            try {
                DynamicContext context(smallLimits());
                context.setGlobal(0, Sequence{Item(AtomicValue::fromString("1"))});
                context.setContextItem(Item(xml::Node(xmlDocGetRootElement(document_->raw()))));
                compiled.evaluate(context);
                return Outcome::Value;
            } catch (const XPathError& error) {
                EXPECT_FALSE(isStaticError(error.code())) << expression << ": " << error.codeText();
                return Outcome::DynamicError;
            }
        } catch (const XPathError& error) {
            EXPECT_TRUE(isStaticError(error.code())) << expression << ": " << error.codeText();
            return Outcome::StaticError;
        } catch (const std::exception& error) {
            ADD_FAILURE() << "'" << expression << "' threw " << error.what();
        } catch (...) {
            ADD_FAILURE() << "'" << expression << "' threw something else";
        }
        return Outcome::Crash;
    }

    // How many runs ended each way.
    std::map<Outcome, int> tally;

    void count(const std::string& expression) { ++tally[run(expression)]; }

private:
    std::shared_ptr<xml::Document> document_;
    StaticContext statics_;
};

// Runs every mutation of the expressions: each character deleted, doubled and replaced
// by each of the characters that change the structure of an expression.
std::map<Outcome, int> mutationOutcomes(const std::vector<std::string>& expressions) {
    Harness harness;
    const std::string replacements = "()[]/$'\":,*";
    for (const std::string& expression : expressions) {
        EXPECT_NE(harness.run(expression), Outcome::StaticError) << "the original does not compile: " << expression;
        for (size_t at = 0; at < expression.size(); ++at) {
            harness.count(expression.substr(0, at) + expression.substr(at + 1));
            harness.count(expression.substr(0, at + 1) + expression.substr(at));
            for (const char replacement : replacements) {
                if (expression[at] == replacement) continue;
                std::string mutant = expression;
                mutant[at] = replacement;
                harness.count(mutant);
            }
        }
    }
    return harness.tally;
}

// Every mutant is a value or an XPathError, and the mutants reach every stage: some
// compile and run, some fail while running.
void expectMutantsHandled(const std::vector<std::string>& expressions) {
    std::map<Outcome, int> tally = mutationOutcomes(expressions);
    EXPECT_EQ(tally[Outcome::Crash], 0);
    EXPECT_GT(tally[Outcome::Value], 100);
    EXPECT_GT(tally[Outcome::StaticError], 1000);
    EXPECT_GT(tally[Outcome::DynamicError], 10);
}

TEST(XPathRobustness, MutatedEn16931UblExpressions) { expectMutantsHandled(kEn16931UblExpressions); }
TEST(XPathRobustness, MutatedPeppolExpressions) { expectMutantsHandled(kPeppolExpressions); }
TEST(XPathRobustness, MutatedXRechnungExpressions) { expectMutantsHandled(kXRechnungExpressions); }
TEST(XPathRobustness, MutatedCiiExpressions) { expectMutantsHandled(kCiiExpressions); }

TEST(XPathRobustness, RandomTokenSoupIsAValueOrAnXPathError) {
    static const std::vector<std::string> tokens = {
        "a", "cbc:ID", "cac:InvoiceLine", "*", "cbc:*", "*:ID", "@currencyID", "@*", ".", "..", "/", "//", "(", ")",
        "[", "]", ",", "$x", "$y", "$", "1", "0", "1.5", "1e3", "-1", "'s'", "\"t\"", "''", "+", "-", "*", "div",
        "idiv", "mod", "=", "!=", "<", "<=", ">", ">=", "<<", ">>", "eq", "ne", "lt", "ge", "is", "|", "union",
        "intersect", "except", "to", "and", "or", "for", "$x in", "return", "some", "every", "satisfies", "in", "if",
        "then", "else", "instance of", "treat as", "castable as", "cast as", "xs:integer", "xs:date", "xs:decimal",
        "?", "+", "item()", "node()", "text()", "element()", "attribute(*)", "document-node()", "empty-sequence()",
        "child::", "ancestor::", "preceding-sibling::", "self::node()", "namespace::", "::", ":", "count(",
        "sum(", "xs:decimal(", "tokenize(", "matches(", "string-length(", "concat(", "name(", "position()", "last()",
        "not(", "exists(", "(:", ":)", "(: c :)", "p:a", "}", "!", "#"};
    Harness harness;
    std::mt19937 random(20240229);
    std::uniform_int_distribution<size_t> pick(0, tokens.size() - 1);
    std::uniform_int_distribution<int> length(1, 24);
    for (int round = 0; round < 5'000; ++round) {
        std::string expression;
        for (int count = length(random); count > 0; --count) expression += tokens[pick(random)] + " ";
        harness.count(expression);
    }
    EXPECT_EQ(harness.tally[Outcome::Crash], 0);
    EXPECT_GT(harness.tally[Outcome::Value], 50);
}

// Nesting deeper than the parser allows is a syntax error, found without exhausting
// the stack.
TEST(XPathRobustness, DeepNestingIsASyntaxError) {
    const int depth = 10'000;
    const std::vector<std::string> nested = {
        repeated("(", depth) + "1" + repeated(")", depth),
        repeated("-", depth) + "1",
        repeated("+", depth) + "1",
        repeated("a[", depth) + "1" + repeated("]", depth),
        repeated("abs(", depth) + "1" + repeated(")", depth),
        repeated("if (1) then ", depth) + "1" + repeated(" else 2", depth),
        repeated("for $x in 1 return ", depth) + "$x",
        repeated("some $x in 1 satisfies ", depth) + "$x",
        repeated("(1, ", depth) + "1" + repeated(")", depth),
        repeated("a/(", depth) + "b" + repeated(")", depth),
        repeated("1 + (", depth) + "1" + repeated(")", depth),
    };
    for (const std::string& expression : nested) {
        EXPECT_EQ(staticOutcome(expression).substr(0, 8), "XPST0003") << expression.substr(0, 40);
    }
    // Nesting within the limit still compiles and runs.
    EXPECT_EQ(evaluationOutcome(repeated("(", 50) + "1" + repeated(")", 50)), "xs:integer 1");
    EXPECT_EQ(evaluationOutcome(repeated("abs(", 50) + "-1" + repeated(")", 50)), "xs:integer 1");
    // Comments nest without recursion: any depth is fine.
    EXPECT_EQ(evaluationOutcome(repeated("(:", depth) + repeated(":)", depth) + "1"), "xs:integer 1");
    EXPECT_EQ(staticOutcome(repeated("(:", depth) + repeated(":)", depth - 1) + "1"), "XPST0003@0");
}

// Long flat expressions: chains of operators, steps, predicates and items.
TEST(XPathRobustness, LongChainsDoNotExhaustTheStack) {
    const int length = 20'000;
    auto chain = [](const std::string& first, const std::string& link, int times) { return first + repeated(link, times); };
    for (const std::string& expression :
         {chain("1", " + 1", length), chain("1", " * 1", length), chain("1", " or 1", length),
          chain("1", " and 1", length), chain("/a", " | /a", length), chain("/a", " except /a", length),
          chain("1", " = 1", 2)}) {
        EXPECT_EQ(staticOutcome(expression).substr(0, 8), "XPST0003") << expression.substr(0, 40);
    }
    // Chains as long as generated code-list tests are fine.
    EXPECT_EQ(evaluationOutcome(chain("1", " + 1", 500)), "xs:integer 501");
    EXPECT_EQ(evaluationOutcome(chain("'x' = 'a'", " or 'x' = 'b'", 500)), "xs:boolean false");
    // Flat forms have no depth: steps, predicates and sequences of any length.
    const auto document = parseDocument("<a/>");
    EXPECT_EQ(evaluationOutcome(chain("/a", "/.", length), document.get()), "element a");
    EXPECT_EQ(evaluationOutcome(chain("/a", "[1]", length), document.get()), "element a");
    EXPECT_EQ(evaluationOutcome("count((" + chain("1", ", 1", length) + "))"), "xs:integer 20001");
}

TEST(XPathRobustness, HugeLiterals) {
    const std::string megabyte(1 << 20, 'x');
    EXPECT_EQ(evaluationOutcome("string-length('" + megabyte + "')"), "xs:integer 1048576");
    EXPECT_EQ(evaluationOutcome("string-length(upper-case('" + megabyte + "'))"), "xs:integer 1048576");
    EXPECT_EQ(evaluationOutcome("contains('" + megabyte + "', 'xy')"), "xs:boolean false");

    const std::string digits = "1" + std::string(9'999, '0');
    EXPECT_EQ(evaluationOutcome("string-length(string(" + digits + "))"), "xs:integer 10000");
    EXPECT_EQ(evaluationOutcome(digits + " mod 97"), "xs:integer 45");  // 10^9999 mod 97
    EXPECT_EQ(evaluationOutcome(digits + " idiv " + digits), "xs:integer 1");
    EXPECT_EQ(evaluationOutcome(digits + " = " + digits + " + 1"), "xs:boolean false");
    EXPECT_EQ(evaluationOutcome("string-length(string(0." + std::string(9'999, '0') + "1))"), "xs:integer 10002");
    EXPECT_EQ(evaluationOutcome("xs:double(" + digits + ")"), "xs:double INF");
    EXPECT_EQ(evaluationOutcome("1e400"), "xs:double INF");
    EXPECT_EQ(evaluationOutcome("-1e400"), "xs:double -INF");
    EXPECT_EQ(evaluationOutcome("1e-400"), "xs:double 0");
    EXPECT_EQ(evaluationOutcome("1" + std::string(400, '0') + "e0"), "xs:double INF");
    EXPECT_EQ(evaluationOutcome("xs:double('1e400')"), "xs:double INF");
    EXPECT_EQ(evaluationOutcome("xs:decimal('1e400')"), "FORG0001");
    EXPECT_EQ(evaluationOutcome("xs:decimal(1e300) * 10 > 1e300"), "xs:boolean true");
}

TEST(XPathRobustness, RunawayEvaluationsEndWithinTheLimits) {
    const StaticContext statics;
    const std::vector<std::string> runaway = {
        "count(1 to 10000000)",
        "count(for $a in 1 to 1000, $b in 1 to 1000, $c in 1 to 1000 return 1)",
        "every $a in 1 to 100000, $b in 1 to 100000 satisfies $a > 0",
        "count((1 to 10000)[. = (1 to 10000)])",
        "string-length(string-join(for $i in 1 to 1000000 return 'xxxxxxxxxx', ''))",
        "count(distinct-values(for $i in 1 to 1000000 return $i))",
    };
    for (const std::string& expression : runaway) {
        EXPECT_EQ(evaluationOutcome(expression, nullptr, smallLimits()), "QMXP0001") << expression;
    }
    // A time limit ends work that a step limit would allow.
    EvaluationLimits timed;
    timed.maxTime = std::chrono::milliseconds(50);
    EXPECT_EQ(evaluationOutcome("every $a in 1 to 100000, $b in 1 to 100000 satisfies $a > 0", nullptr, timed),
              "QMXP0001");
}

TEST(XPathRobustness, RunawayRuleSetFunctionsEndWithinTheLimits) {
    // u:f(x) = u:f(x) + u:f(x) never returns: it ends at the depth limit. u:g(n) calls
    // itself twice per level down to 0: 2^n calls, cut short by the step budget.
    const auto stylesheet = parseDocument(std::string("<xsl:stylesheet xmlns:xsl='") + kXsltNamespace +
                                          "' xmlns:u='utils'>"
                                          "<xsl:function name='u:f'><xsl:param name='x'/>"
                                          "<xsl:sequence select='u:f($x) + u:f($x)'/></xsl:function>"
                                          "<xsl:function name='u:g'><xsl:param name='n'/>"
                                          "<xsl:sequence select='if ($n = 0) then 1 else u:g($n - 1) + u:g($n - 1)'/>"
                                          "</xsl:function></xsl:stylesheet>");
    FunctionLibrary library(&FunctionLibrary::builtins());
    StaticContext statics(&library);
    statics.declareNamespace("u", "utils");
    std::vector<const xmlNode*> functions;
    for (const xmlNode* node = xmlDocGetRootElement(stylesheet->raw())->children; node; node = node->next) {
        functions.push_back(node);
    }
    compileXsltFunctions(functions, library, statics);
    for (const char* call : {"u:f(1)", "u:g(60)"}) {
        const CompiledExpression compiled(call, statics);
        DynamicContext context(smallLimits());
        try {
            compiled.evaluate(context);
            ADD_FAILURE() << call << " returned";
        } catch (const XPathError& error) {
            EXPECT_EQ(error.codeText(), "QMXP0001") << call;
        }
    }
}

TEST(XPathRobustness, RealRuleOnARealInvoiceStaysWithinTheDefaultLimits) {
    const std::string text = quillmark::testing::readFile(
        quillmark::testing::corpusPath("en16931/test/testfiles/Invoice-Max_content.xml"));
    ASSERT_FALSE(text.empty()) << "the corpus is missing: " << QUILLMARK_CORPUS_DIR;
    const auto invoice = parseDocument(text);
    // BR-CO-10 and BR-CO-13 where they run: on the monetary total.
    const StaticContext statics = ublStatics();
    const CompiledExpression rule(kEn16931UblExpressions[2], statics);
    const CompiledExpression total("/ubl:Invoice/cac:LegalMonetaryTotal", statics);
    DynamicContext context;
    context.setContextItem(Item(invoice->node()));
    const Sequence anchor = total.evaluate(context);
    ASSERT_EQ(anchor.size(), 1u);
    context.setContextItem(anchor.front());
    EXPECT_TRUE(rule.effectiveBooleanValue(context));
    EXPECT_LT(context.budget().stepsUsed(), 10'000u);
}

}  // namespace
}  // namespace quillmark::xpath::testing
