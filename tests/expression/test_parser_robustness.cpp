// Malformed expressions must never crash, hang or read out of bounds: every character
// of real rule-set expressions mutated, random token soup, and deep nesting. The
// parses run with an invoice as context node, so the absolute forms evaluated while
// parsing run too.

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "expression/parser_support.h"
#include "expression_test_support.h"
#include "quillmark/log.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

// Expressions in the style of the rule sets, used whether or not the corpus is there.
const std::vector<std::string> kRuleExpressions = {
    "count(//cac:InvoiceLine) >= 1", "(cbc:ID) != ''", "for $i in (1, 2) return $i * 2",
    "every $line in cac:InvoiceLine satisfies xs:decimal($line/cbc:LineExtensionAmount) >= 0",
    "some $code in ('EUR', 'USD') satisfies $code = normalize-space(cbc:DocumentCurrencyCode)",
    "if (exists(cbc:TaxCurrencyCode)) then count(cac:TaxTotal) = 2 else true()",
    "/(Invoice|CreditNote)/cbc:CustomizationID", "//cac:InvoiceLine[cbc:ID=$id]/cbc:Note",
    "cac:InvoiceLine[1]/cbc:ID/string-length()", "/Invoice/cac:InvoiceLine/string-length(cbc:ID) = 1",
    "ancestor::cac:InvoiceLine[1]/cbc:ID", "../u:slack(cbc:Amount, 0.02)", "../cac:Item[1][@x]/normalize-space(., 'x')",
    ".[. > 0]/cbc:ID", "(//cbc:ID)[last()]/@schemeID",
    "$total/@currencyID = 'EUR' and 8 div 2 div 2 = 2 or not(matches(., '^[A-Z]{3}$'))",
    "cac:TaxTotal/cac:TaxSubtotal[cbc:Percent=19 and cbc:ID = \"S\"]/cbc:TaxAmount",
};

// The context, test and let expressions of a rule set, without duplicates.
std::vector<std::string> ruleSetExpressions(const std::string& relativePath) {
    auto ruleSet = xml::Document::parseFile(testing::corpusPath(relativePath), nullptr);
    EXPECT_TRUE(ruleSet) << relativePath;
    if (!ruleSet) return {};
    std::set<std::string> seen;
    std::vector<std::string> expressions;
    for (const xml::Node& attribute : ruleSet->node().nodesForXPath("//@test | //@context | //@value")) {
        if (seen.insert(*attribute.stringValue()).second) expressions.push_back(*attribute.stringValue());
    }
    return expressions;
}

class ParserRobustness : public ::testing::Test {
protected:
    void SetUp() override {
        Error error;
        document = xml::Document::parse(testing::kSmallInvoice, &error);
        ASSERT_TRUE(document) << error.message();
    }

    // Tokenizes and parses; the cursor must stay inside the token list and the tree
    // must dump. Returns the dump (or "<no tree>").
    std::string parseChecked(const std::string& expression) {
        ScopedLogCapture quiet;
        auto tokens = tokenize(expression);
        const auto count = static_cast<int64_t>(tokens.size());
        parser.setContextNode(document->rootElement());
        parser.setTokens(std::move(tokens));
        auto root = parser.parseUnionNode();
        EXPECT_GE(parser.currentIndex(), 0) << expression;
        EXPECT_LE(parser.currentIndex(), count) << expression;
        return root ? root->description() : "<no tree>";
    }

    std::shared_ptr<xml::Document> document;
    QMXPath2Evaluator parser{{{"cbc", "urn:cbc"}, {"cac", "urn:cac"}}};
};

TEST_F(ParserRobustness, EveryCharacterOfRuleExpressionsMutated) {
    std::vector<std::string> expressions = kRuleExpressions;
    if (testing::corpusAvailable()) {
        auto fromCorpus = ruleSetExpressions("peppol/rules/sch/PEPPOL-EN16931-UBL.sch");
        ASSERT_GT(fromCorpus.size(), 100u);
        expressions.insert(expressions.end(), fromCorpus.begin(), fromCorpus.end());
    }
    // Each character deleted, and replaced by one that changes the structure (cycling
    // through them position by position).
    static const std::string structural = "()[]$/',:@\"|.* ";
    size_t parsed = 0;
    for (const auto& expression : expressions) {
        parseChecked(expression);
        for (size_t at = 0; at < expression.size(); ++at, parsed += 2) {
            std::string replaced = expression;
            replaced[at] = structural[at % structural.size()];
            parseChecked(replaced);
            parseChecked(std::string(expression).erase(at, 1));
        }
    }
    EXPECT_GT(parsed, 1000u);
}

TEST_F(ParserRobustness, RealRuleSetExpressionsParseToTrees) {
    if (!testing::corpusAvailable()) GTEST_SKIP() << "corpus not available";
    for (const char* file : {"en16931/ubl/schematron/preprocessed/EN16931-UBL-validation-preprocessed.sch",
                             "en16931/cii/schematron/preprocessed/EN16931-CII-validation-preprocessed.sch",
                             "xrechnung/src/validation/schematron/common.sch"}) {
        SCOPED_TRACE(file);
        auto expressions = ruleSetExpressions(file);
        ASSERT_FALSE(expressions.empty());
        for (const auto& expression : expressions) {
            EXPECT_NE(parseChecked(expression), "<no tree>") << expression;
        }
    }
}

TEST_F(ParserRobustness, RandomTokenSoup) {
    const std::vector<std::string> vocabulary = {
        "(", ")", "[", "]", "/", "//", "@", ":", "::", ",", ".", "..", "$", "|", "<=", ">=", "!=", "<", ">",
        "=", "+", "-", "*", "or", "and", "div", "if", "then", "else", "every", "some", "for", "return", "in",
        "satisfies", "a", "cbc", "cac:InvoiceLine", "f", "u:f", "string-length", "ancestor", "self", "1", "-2",
        "'s'", "\"t\"", "'open", "#", "x"};
    std::mt19937 random(20240531);
    std::uniform_int_distribution<size_t> pick(0, vocabulary.size() - 1);
    std::uniform_int_distribution<int> length(1, 40);
    QMXPath2Evaluator evaluator({{"cbc", "urn:cbc"}, {"cac", "urn:cac"}});
    for (int round = 0; round < 3000; ++round) {
        std::string expression;
        for (int n = length(random); n > 0; --n) expression += vocabulary[pick(random)] + " ";
        parseChecked(expression);
        // The whole engine, too: evaluation of whatever tree came out.
        ScopedLogCapture quiet;
        evaluator.evaluate(expression, document->rootElement());
    }
}

std::string repeat(const std::string& piece, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += piece;
    return out;
}

TEST_F(ParserRobustness, DeepNestingEndsTheParse) {
    const int n = 5000;
    const std::vector<std::string> expressions = {
        repeat("(", n) + "1" + repeat(")", n), repeat("f(", n) + repeat(")", n), repeat("a[", n) + repeat("]", n),
        repeat("/a[", n), "/a/b[$x" + repeat("[", n), "/a/b[" + repeat("[", n) + "1" + repeat("]", n),
        repeat("if (", n) + "1", repeat("some $x in ", n) + "1 satisfies 1", repeat("for $x in ", n) + "1 return 1",
        repeat("a[$x]/", n) + "b", repeat("$v/a[1]/", n), repeat(".[", n), repeat("../a[", n),
        repeat("/(", n) + "Invoice" + repeat(")", n), repeat("(1,", n), repeat("- ", n) + "1",
        "1" + repeat(" or 1", n), "a" + repeat("[1]", n), "(a)" + repeat("[1]", n), repeat("concat(", n) + "'x'",
        // Filter chains nested in parentheses add up over the whole parse.
        repeat("(", 200) + "a" + repeat("[1]", 100) + repeat(")" + repeat("[1]", 100), 200),
    };
    for (const auto& expression : expressions) {
        SCOPED_TRACE(expression.substr(0, 40));
        // The nesting limits keep the tree, and so its dump, small.
        EXPECT_LT(parseChecked(expression).size(), 5'000'000u);
    }
}

TEST_F(ParserRobustness, NestingWithinTheLimitKeepsTheWholeTree) {
    const std::string empty = "Literal([Array count=0])";
    // Each parenthesis holds two levels of the parser.
    const int shallow = parsing::kMaxParseDepth / 4, deep = parsing::kMaxParseDepth;
    EXPECT_EQ(parseChecked(repeat("(", shallow) + "1" + repeat(")", shallow)), "Literal(1)");
    EXPECT_EQ(parseChecked(repeat("(", deep) + "1" + repeat(")", deep)), empty);

    const int calls = 50;
    std::string nested = parseChecked(repeat("f(", calls) + repeat(")", calls));
    size_t found = 0;
    for (size_t at = nested.find("FunctionCall(f)"); at != std::string::npos; at = nested.find("FunctionCall(f)", at + 1))
        ++found;
    EXPECT_EQ(found, static_cast<size_t>(calls));

    const int links = parsing::kMaxChainLinks;
    // Many parses in a row, each well within the limits, never add up.
    for (int i = 0; i < 5; ++i) EXPECT_NE(parseChecked("1" + repeat(" + 1", links / 2)), empty);
    EXPECT_EQ(parseChecked("1" + repeat(" + 1", links + 1)), empty);
    EXPECT_EQ(parseChecked("a" + repeat("[1]", links + 1)), empty);
}

}  // namespace
}  // namespace quillmark
