// The XPath 1.0 engine: selections of every node kind in document order, failures,
// prefix bindings taken from the context node, and engines on several threads.

#include <gtest/gtest.h>

#include <thread>

#include "quillmark/xml.h"
#include "support/test_support.h"

namespace quillmark::xml {
namespace {

using Names = std::vector<std::string>;

// One text per selected node: "name#n" for elements, "@name=value", "'text'".
Names describe(const std::vector<Node>& nodes) {
    Names result;
    for (const Node& node : nodes) {
        if (node.isElement()) result.push_back(node.name() + (node.attribute("n") ? "#" + *node.attribute("n") : ""));
        else if (node.kind() == NodeKind::Attribute) result.push_back("@" + node.name() + "=" + *node.stringValue());
        else if (node.kind() == NodeKind::Document) result.push_back("#document");
        else result.push_back("'" + node.stringValue().value_or("") + "'");
    }
    return result;
}

class XPathSelection : public ::testing::Test {
protected:
    void SetUp() override {
        document = Document::parse("<r xmlns:p=\"urn:p\"><a n=\"1\"><b n=\"2\">t1</b></a><b n=\"3\" id=\"x\"/>"
                                   "<p:c n=\"4\"><a n=\"5\">t2</a></p:c></r>",
                                   nullptr);
        ASSERT_NE(document, nullptr);
    }
    std::shared_ptr<Document> document;
    XPathEngine engine;
};

TEST_F(XPathSelection, SelectsNodesOfEveryKindInDocumentOrderFromAnyContext) {
    struct Case {
        const char* context;  // selected from the document node; empty for the root element
        const char* xpath;
        Names expected;
    };
    const std::vector<Case> cases = {
        {"", "//b | //a", {"a#1", "b#2", "b#3", "a#5"}}, {"", "//a[@n='5']/ancestor::*", {"r", "p:c#4"}},
        {"", "(//b)[last()] | //p:c", {"b#3", "p:c#4"}}, {"", "//@id | //b/@n", {"@n=2", "@n=3", "@id=x"}},
        {"", "//text()", {"'t1'", "'t2'"}},
        {"", "p:c/a", {"a#5"}},  // the prefix comes from the document's declarations
        {"", "/", {"#document"}}, {"", "nothing", {}},
        {"//@id", "..", {"b#3"}}, {"//@id", ".", {"@id=x"}}, {"(//text())[2]", "ancestor::p:c", {"p:c#4"}},
    };
    for (const Case& c : cases) {
        const Node context = *c.context ? engine.select(document->node(), c.context).at(0) : document->rootElement();
        bool failed = true;
        EXPECT_EQ(describe(engine.select(context, c.xpath, &failed)), c.expected) << c.xpath;
        EXPECT_FALSE(failed) << c.xpath;
    }
    bool failed = true;
    EXPECT_EQ(describe(document->rootElement().nodesForXPath("a/b", &failed)), (Names{"b#2"}));  // a one-off engine
    EXPECT_FALSE(failed);
}

TEST_F(XPathSelection, FailuresGiveAnEmptyListAndPrintNothing) {
    const Node root = document->rootElement();
    ::testing::internal::CaptureStderr();
    for (const char* xpath : {"//[", "a b", "a[", "$undefined", "unknown-function(.)", "q:c", "count(//a)", "'text'",
                              "1 div 0", "//a = 'x'", "upper-case()", "", "substring(", ")))", "@", "/(", "//a/(",
                              "'unterminated"}) {
        bool failed = false;
        EXPECT_TRUE(engine.select(root, xpath, &failed).empty()) << xpath;
        EXPECT_TRUE(failed) << xpath;
        EXPECT_TRUE(engine.select(root, xpath, nullptr).empty()) << xpath;  // cached failure, no flag
    }
    bool failed = false;
    EXPECT_TRUE(engine.select(Node(), "*", &failed).empty());
    EXPECT_TRUE(failed);
    EXPECT_TRUE(root.nodesForXPath("a/[", &failed).empty());
    EXPECT_TRUE(failed);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(XPathEngine, BindsPrefixesAtTheContextNodeOfEachEvaluation) {
    // The same text, compiled once, must follow the bindings of each document and node.
    auto first = Document::parse("<r xmlns:p=\"urn:one\"><p:x n=\"1\"/><y xmlns:p=\"urn:two\"><p:x n=\"2\"/>"
                                 "<x xmlns=\"urn:one\" n=\"3\"/></y></r>",
                                 nullptr);
    auto second = Document::parse("<r xmlns:p=\"urn:two\"><p:x n=\"4\"/></r>", nullptr);
    ASSERT_TRUE(first && second);
    XPathEngine engine;
    EXPECT_EQ(describe(engine.select(first->rootElement(), "p:x")), (Names{"p:x#1"}));
    EXPECT_EQ(describe(engine.select(first->rootElement().children()[1], "p:x")), (Names{"p:x#2"}));
    EXPECT_EQ(describe(engine.select(second->rootElement(), "p:x")), (Names{"p:x#4"}));
    EXPECT_EQ(describe(engine.select(first->node(), "//p:x")), (Names{"p:x#1", "x#3"}));
    EXPECT_EQ(describe(engine.select(second->node(), "//p:x")), (Names{"p:x#4"}));
    // Documents that come and go, each with its own binding of the prefix.
    for (int round = 0; round < 5; ++round) {
        const std::string n = std::to_string(round);
        auto document = Document::parse("<r xmlns:q=\"urn:q" + n + "\"><q:a n=\"" + n + "\"/></r>", nullptr);
        ASSERT_NE(document, nullptr);
        EXPECT_EQ(describe(engine.select(document->node(), "/r/q:a")), (Names{"q:a#" + n}));
    }
}

TEST(XPathEngine, SelectsFromARealInvoice) {
    ASSERT_TRUE(quillmark::testing::corpusAvailable()) << "the corpus is missing";
    auto document = Document::parseFile(
        quillmark::testing::corpusPath("en16931/ubl/examples/ubl-tc434-example1.xml"), nullptr);
    ASSERT_NE(document, nullptr);
    XPathEngine engine;
    const Node root = document->rootElement();
    const auto lines = engine.select(root, "cac:InvoiceLine");
    ASSERT_EQ(lines.size(), 20u);
    EXPECT_EQ(engine.select(lines.front(), "cbc:ID").at(0).stringValue(), "1");
    EXPECT_EQ(engine.select(lines.back(), "cbc:ID").at(0).stringValue(), "20");
    // The prefix-free form that rewritten rule-set paths use.
    EXPECT_EQ(engine.select(document->node(), "//*[local-name()='TaxSubtotal']"
                                              "[*[local-name()='TaxCategory']/*[local-name()='Percent']='21']").size(),
              1u);
    EXPECT_EQ(describe(engine.select(root, "cac:TaxTotal/cac:TaxSubtotal/cbc:TaxAmount/@currencyID")),
              (Names{"@currencyID=EUR", "@currencyID=EUR"}));
    // Rule-set forms: a function step compared with a literal, and upper-case().
    EXPECT_EQ(engine.select(root, "//cac:TaxSubtotal[cac:TaxCategory/normalize-space(cbc:ID)='S']").size(), 2u);
    EXPECT_EQ(engine.select(root, "//cac:TaxCategory[cac:TaxScheme/normalize-space(upper-case(cbc:ID))='VAT']").size(),
              2u);
    EXPECT_EQ(engine.select(root, "//cac:InvoiceLine[xs:decimal(cbc:LineExtensionAmount) > 20]").size(),
              engine.select(root, "//cac:InvoiceLine[number(cbc:LineExtensionAmount) > 20]").size());
}

TEST(XPathEngine, EnginesOnDifferentThreadsDoNotInterfere) {
    std::vector<int> matches(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &matches] {
            const std::string n = std::to_string(t);
            auto document = Document::parse("<r xmlns:p=\"urn:" + n + "\"><p:a v=\"" + n + "\"/></r>", nullptr);
            XPathEngine engine;
            for (int round = 0; round < 200; ++round) {
                const auto found = engine.select(document->rootElement(), "p:a[upper-case(@v) = '" + n + "']");
                if (found.size() == 1 && Document::parse("<bad", nullptr) == nullptr) ++matches[t];
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(matches, (std::vector<int>{200, 200, 200, 200}));
}

}  // namespace
}  // namespace quillmark::xml
