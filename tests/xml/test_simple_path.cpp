#include <gtest/gtest.h>

#include "quillmark/xml.h"
#include "support/test_support.h"
#include "xml/simple_path.h"

namespace quillmark::xml {
namespace {

const char* const kNested =
    "<r xmlns:p=\"urn:p\" xmlns=\"urn:d\">"
    "<a id=\"1\" p:id=\"2\"><a id=\"3\"><b>t1</b><![CDATA[c]]><a id=\"4\"><b/></a></a><b/>text</a>"
    "<p:a><a/><!--x--></p:a>"
    "<c xmlns=\"\" id=\"5\"><a/><d>t2</d></c>"
    "</r>";

const std::vector<std::string> kPaths = {
    ".", "*", "a", "c", "c/a", "c/@id", "text()", "@id", "@*", "./*", "*/.", "/", "/*", "/*/*", "/r",
    "*[local-name()='a']", "*[local-name()='a']/*[local-name()='a']", "*[local-name()=\"c\"]/a", "*/@*",
    "*/@*[local-name()='id']", "*/text()", "//*", "//*/*", "//a", "//c/a", "//text()", "//@*", "//@id",
    "//@*[local-name()='id']", "//*[local-name()='a']", "//*[local-name()='a']/*",
    "//*[local-name()='a']/*[local-name()='b']", "//*[local-name()='a']/text()", "//*[local-name()='a']/@id",
    "//*[local-name()='a']/*/.",
};

// Every node of the document, attributes included, as a context.
std::vector<Node> allNodes(const Document& document) {
    std::vector<Node> nodes = {document.node()};
    for (size_t i = 0; i < nodes.size(); ++i) {
        for (const Node& attribute : nodes[i].attributes()) nodes.push_back(attribute);
        for (const Node& child : nodes[i].children()) nodes.push_back(child);
    }
    return nodes;
}

// The direct walk must select what libxml2 selects, in the same order. Parentheses
// keep a text away from the walk without changing its meaning.
void expectSameAsLibxml(const std::vector<Node>& contexts, const std::vector<std::string>& paths) {
    XPathEngine engine;
    for (const Node& context : contexts) {
        for (const std::string& path : paths) {
            ASSERT_TRUE(detail::parseSimplePath(path)) << path;
            bool failedWalk = true, failedLibxml = true;
            const auto walked = engine.select(context, path, &failedWalk);
            const auto expected = engine.select(context, "(" + path + ")", &failedLibxml);
            EXPECT_EQ(walked, expected) << path << " from " << context.name() << " " << static_cast<int>(context.kind());
            EXPECT_FALSE(failedWalk);
            EXPECT_FALSE(failedLibxml) << path;
        }
    }
}

TEST(SimplePath, SelectsWhatLibxmlSelects) {
    auto document = Document::parse(kNested, nullptr);
    ASSERT_NE(document, nullptr);
    expectSameAsLibxml(allNodes(*document), kPaths);
}

TEST(SimplePath, SelectsWhatLibxmlSelectsInARealInvoice) {
    ASSERT_TRUE(quillmark::testing::corpusAvailable()) << "the corpus is missing";
    auto document = Document::parseFile(
        quillmark::testing::corpusPath("en16931/ubl/examples/ubl-tc434-example1.xml"), nullptr);
    ASSERT_NE(document, nullptr);
    std::vector<Node> contexts = {document->node(), document->rootElement()};
    for (const Node& line : document->rootElement().nodesForXPath("*[local-name()='InvoiceLine'][position() < 4]")) {
        contexts.push_back(line);
    }
    expectSameAsLibxml(contexts, {"*[local-name()='InvoiceLine']/*[local-name()='ID']",
                                   "//*[local-name()='TaxSubtotal']/*[local-name()='TaxAmount']/@currencyID",
                                   "//*[local-name()='ID']", "//*[local-name()='Item']/*/*[local-name()='ID']",
                                   "*[local-name()='TaxTotal']/*/*[local-name()='TaxCategory']/*"});
}

TEST(SimplePath, LeavesEverythingElseToLibxml) {
    for (const char* text : {"", "..", "a/..", "a//b", "//.", "@a/b", "text()/a", "a b", "p:a", "a[1]",
                             "*[local-name()='a'][1]", "*[local-name() = 'a']", "*[local-name()='a'", "count(a)",
                             "1", "-a", "a|b", "child::a", "$x", "a/", "/a/", "///a", "@", "@1", "*[name()='a']",
                             "(a)", "a()", ".a", "text()()"}) {
        EXPECT_FALSE(detail::parseSimplePath(text)) << text;
    }
}

}  // namespace
}  // namespace quillmark::xml
