// Malformed expressions must never crash, hang or read out of bounds: every character
// of real rule-set expressions mutated, random token soup, and deep nesting. The
// parses run with an invoice as context node, so the absolute forms evaluated while
// parsing run too.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "expression/parser_support.h"
#include "quillmark/evaluator.h"
#include "quillmark/log.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

const char* kInvoice = R"(<Invoice xmlns="urn:oasis:names:specification:ubl:schema:xsd:Invoice-2"
    xmlns:cac="urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"
    xmlns:cbc="urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2">
  <cbc:CustomizationID>urn:cen.eu:en16931:2017</cbc:CustomizationID>
  <cbc:ID>INV-1</cbc:ID>
  <cbc:DocumentCurrencyCode>EUR</cbc:DocumentCurrencyCode>
  <cac:InvoiceLine><cbc:ID>1</cbc:ID><cbc:LineExtensionAmount currencyID="EUR">7</cbc:LineExtensionAmount></cac:InvoiceLine>
  <cac:InvoiceLine><cbc:ID>2</cbc:ID><cbc:LineExtensionAmount currencyID="EUR">8</cbc:LineExtensionAmount></cac:InvoiceLine>
  <cac:LegalMonetaryTotal><cbc:LineExtensionAmount currencyID="EUR">15</cbc:LineExtensionAmount></cac:LegalMonetaryTotal>
</Invoice>)";

// Expressions in the style of the rule sets, used whether or not the corpus is there.
const std::vector<std::string> kRuleExpressions = {
    "count(//cac:InvoiceLine) >= 1",
    "(cbc:ID) != ''",
    "every $line in cac:InvoiceLine satisfies xs:decimal($line/cbc:LineExtensionAmount) >= 0",
    "some $code in ('EUR', 'USD') satisfies $code = normalize-space(cbc:DocumentCurrencyCode)",
    "if (exists(cbc:TaxCurrencyCode)) then count(cac:TaxTotal) = 2 else true()",
    "for $i in (1, 2) return $i * 2",
    "/(Invoice|CreditNote)/cbc:CustomizationID",
    "//cac:InvoiceLine[cbc:ID=$id]/cbc:Note",
    "cac:InvoiceLine[1]/cbc:ID/string-length()",
    "/Invoice/cac:InvoiceLine/string-length(cbc:ID) = 1",
    "ancestor::cac:InvoiceLine[1]/cbc:ID",
    "../u:slack(cbc:Amount, 0.02)",
    "../cac:Item[1][@x]/normalize-space(., 'x')",
    ".[. > 0]/cbc:ID",
    "(//cbc:ID)[last()]/@schemeID",
    "$total/@currencyID = 'EUR' and 8 div 2 div 2 = 2 or not(matches(., '^[A-Z]{3}$'))",
    "cac:TaxTotal/cac:TaxSubtotal[cbc:Percent=19 and cbc:ID = \"S\"]/cbc:TaxAmount",
};

std::string unescapeXml(const std::string& text) {
    static const std::vector<std::pair<std::string, std::string>> entities = {
        {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}, {"&amp;", "&"}};
    std::string out;
    for (size_t at = 0; at < text.size();) {
        bool replaced = false;
        for (const auto& [entity, character] : entities) {
            if (text.compare(at, entity.size(), entity) == 0) {
                out += character;
                at += entity.size();
                replaced = true;
                break;
            }
        }
        if (!replaced) out += text[at++];
    }
    return out;
}

// The context, test and let expressions of a rule set, without duplicates.
std::vector<std::string> ruleSetExpressions(const std::string& relativePath) {
    std::string text = testing::readFile(testing::corpusPath(relativePath));
    std::set<std::string> seen;
    std::vector<std::string> expressions;
    for (const std::string attribute : {" test=\"", " context=\"", " value=\""}) {
        for (size_t at = text.find(attribute); at != std::string::npos; at = text.find(attribute, at + 1)) {
            size_t start = at + attribute.size();
            size_t end = text.find('"', start);
            if (end == std::string::npos) break;
            std::string expression = unescapeXml(text.substr(start, end - start));
            if (seen.insert(expression).second) expressions.push_back(expression);
        }
    }
    return expressions;
}

class ParserRobustness : public ::testing::Test {
protected:
    void SetUp() override {
        Error error;
        document = xml::Document::parse(kInvoice, &error);
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

// Each character deleted, and replaced by one that changes the structure (cycling
// through them position by position).
std::vector<std::string> mutations(const std::string& expression) {
    static const std::string structural = "()[]$/',:@\"|.* ";
    std::vector<std::string> out;
    for (size_t at = 0; at < expression.size(); ++at) {
        std::string deleted = expression;
        deleted.erase(at, 1);
        out.push_back(deleted);
        std::string replaced = expression;
        replaced[at] = structural[at % structural.size()];
        out.push_back(replaced);
    }
    return out;
}

TEST_F(ParserRobustness, EveryCharacterOfRuleExpressionsMutated) {
    std::vector<std::string> expressions = kRuleExpressions;
    if (testing::corpusAvailable()) {
        auto fromCorpus = ruleSetExpressions("peppol/rules/sch/PEPPOL-EN16931-UBL.sch");
        ASSERT_GT(fromCorpus.size(), 100u);
        expressions.insert(expressions.end(), fromCorpus.begin(), fromCorpus.end());
    }
    size_t parsed = 0;
    for (const auto& expression : expressions) {
        parseChecked(expression);
        for (const auto& mutated : mutations(expression)) {
            parseChecked(mutated);
            ++parsed;
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
        repeat("(", n) + "1" + repeat(")", n),
        repeat("f(", n) + repeat(")", n),
        repeat("a[", n) + repeat("]", n),
        repeat("/a[", n),
        "/a/b[$x" + repeat("[", n),
        "/a/b[" + repeat("[", n) + "1" + repeat("]", n),
        repeat("if (", n) + "1",
        repeat("some $x in ", n) + "1 satisfies 1",
        repeat("for $x in ", n) + "1 return 1",
        repeat("a[$x]/", n) + "b",
        repeat("$v/a[1]/", n),
        repeat(".[", n),
        repeat("../a[", n),
        repeat("/(", n) + "Invoice" + repeat(")", n),
        repeat("(1,", n),
        repeat("- ", n) + "1",
        "1" + repeat(" or 1", n),
        "a" + repeat("[1]", n),
        "(a)" + repeat("[1]", n),
        // Filter chains nested in parentheses add up over the whole parse.
        repeat("(", 200) + "a" + repeat("[1]", 100) + repeat(")" + repeat("[1]", 100), 200),
        repeat("concat(", n) + "'x'",
    };
    for (const auto& expression : expressions) {
        SCOPED_TRACE(expression.substr(0, 40));
        // The nesting limits keep the tree, and so its dump, small.
        EXPECT_LT(parseChecked(expression).size(), 5'000'000u);
    }
}

TEST_F(ParserRobustness, NestingWithinTheLimitKeepsTheWholeTree) {
    // Each parenthesis holds two levels of the parser.
    const int shallow = parsing::kMaxParseDepth / 4;
    EXPECT_EQ(parseChecked(repeat("(", shallow) + "1" + repeat(")", shallow)), "Literal(1)");
    const int deep = parsing::kMaxParseDepth;
    EXPECT_EQ(parseChecked(repeat("(", deep) + "1" + repeat(")", deep)), "Literal([Array count=0])");

    const int calls = 50;
    std::string nested = parseChecked(repeat("f(", calls) + repeat(")", calls));
    size_t found = 0;
    for (size_t at = nested.find("FunctionCall(f)"); at != std::string::npos; at = nested.find("FunctionCall(f)", at + 1))
        ++found;
    EXPECT_EQ(found, static_cast<size_t>(calls));

    const int links = parsing::kMaxChainLinks;
    EXPECT_NE(parseChecked("1" + repeat(" + 1", links / 2)), "Literal([Array count=0])");
    EXPECT_EQ(parseChecked("1" + repeat(" + 1", links + 1)), "Literal([Array count=0])");
    EXPECT_EQ(parseChecked("a" + repeat("[1]", links + 1)), "Literal([Array count=0])");
}

TEST_F(ParserRobustness, LimitsApplyPerParse) {
    // Many parses in a row, each well within the limits, never add up.
    const std::string expression = "1" + repeat(" + 1", parsing::kMaxChainLinks / 2);
    for (int i = 0; i < 5; ++i) EXPECT_NE(parseChecked(expression), "Literal([Array count=0])");
}

}  // namespace
}  // namespace quillmark
