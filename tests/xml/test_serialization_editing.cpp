#include <gtest/gtest.h>

#include "quillmark/xml.h"
#include "support/test_support.h"

namespace quillmark::xml {
namespace {

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::shared_ptr<Document> parsed(const std::string& text) {
    Error error;
    auto document = Document::parse(text, &error);
    EXPECT_NE(document, nullptr) << error.message();
    return document;
}

TEST(Serialization, RoundTripsTextEscapesAndNonAsciiCharacters) {
    const std::string body = "<a xmlns:p=\"urn:p\" x=\"1 &amp; &quot;2&quot;\">"
                             "<p:b>Gr\xC3\xBC\xC3\x9F" "e &lt;&gt; &amp;</p:b>\n  <!--c--><![CDATA[<raw>]]></a>";
    const std::string text = parsed(body)->xmlString();
    EXPECT_EQ(text, kDeclaration + body + "\n");
    EXPECT_EQ(parsed(text)->xmlString(), text);
}

TEST(Serialization, PrettyPrintIndentsElementOnlyContent) {
    auto document = parsed("<a><b><c>x</c></b><d/></a>");
    EXPECT_EQ(document->xmlString(true), std::string(kDeclaration) + "<a>\n  <b>\n    <c>x</c>\n  </b>\n  <d/>\n</a>\n");
    EXPECT_EQ(document->xmlString(false), std::string(kDeclaration) + "<a><b><c>x</c></b><d/></a>\n");
}

TEST(Serialization, SerializesSingleNodes) {
    auto document = parsed("<a xmlns=\"urn:a\"><b id=\"1\">x &amp; \xE2\x82\xAC</b><!--n--></a>");
    const Node b = document->rootElement().children()[0];
    EXPECT_EQ(b.xmlString(), "<b id=\"1\">x &amp; \xE2\x82\xAC</b>");
    EXPECT_EQ(b.attributes()[0].xmlString(), "id=\"1\"");
    EXPECT_EQ(b.children()[0].xmlString(), "x &amp; \xE2\x82\xAC");
    EXPECT_EQ(document->rootElement().children()[1].xmlString(), "<!--n-->");
    EXPECT_EQ(Node().xmlString(), "");
}

TEST(Serialization, RealInvoiceSurvivesARoundTrip) {
    ASSERT_TRUE(quillmark::testing::corpusAvailable()) << "the corpus is missing";
    auto document = Document::parseFile(
        quillmark::testing::corpusPath("en16931/ubl/examples/ubl-tc434-example1.xml"), nullptr);
    ASSERT_NE(document, nullptr);
    auto again = parsed(document->xmlString());
    EXPECT_EQ(again->xmlString(), document->xmlString());
    EXPECT_EQ(again->rootElement().stringValue(), document->rootElement().stringValue());
}

// Copies the element children of an included document into a host, the way rule-set
// includes are spliced in.
TEST(Editing, InsertCopyPlacesDeepCopiesAtThePosition) {
    auto host = parsed("<schema xmlns=\"urn:s\"><title/><include/><end/></schema>");
    auto included = parsed("<s:schema xmlns:s=\"urn:s\" xmlns:q=\"urn:q\"><s:pattern id=\"p1\"><q:x/></s:pattern>"
                           "<s:pattern id=\"p2\"/></s:schema>");
    const Node root = host->rootElement();
    const Node include = root.children()[1];
    for (const Node& child : included->rootElement().children()) {
        const Node copy = host->insertCopy(root, include.index(), child);
        EXPECT_EQ(copy.documentNode(), host->node());
    }
    host->remove(include);
    included.reset();  // the copies do not depend on the source document
    EXPECT_EQ(host->xmlString(), std::string(kDeclaration) +
                                     "<schema xmlns=\"urn:s\"><title/>"
                                     "<s:pattern xmlns:s=\"urn:s\" xmlns:q=\"urn:q\" id=\"p1\"><q:x/></s:pattern>"
                                     "<s:pattern xmlns:s=\"urn:s\" id=\"p2\"/><end/></schema>\n");
    std::vector<std::string> names;
    for (const Node& child : root.children()) names.push_back(child.localName() + "@" + child.namespaceURI());
    EXPECT_EQ(names, (std::vector<std::string>{"title@urn:s", "pattern@urn:s", "pattern@urn:s", "end@urn:s"}));
}

TEST(Editing, InsertCopyIndexesPastTheEndAppend) {
    auto document = parsed("<r><a/></r>");
    const Node root = document->rootElement();
    const Node a = root.children()[0];
    document->insertCopy(root, 99, a);
    document->insertCopy(root, -1, a);
    document->insertCopy(root, 0, document->rootElement().children()[0]);
    EXPECT_EQ(root.children().size(), 4u);
    EXPECT_TRUE(document->insertCopy(Node(), 0, a).isNull());
    EXPECT_TRUE(document->insertCopy(root, 0, Node()).isNull());
    EXPECT_TRUE(document->insertCopy(root, 0, document->node()).isNull());
}

TEST(Editing, RemoveDetachesElementsAttributesAndText) {
    auto document = parsed("<r a=\"1\" b=\"2\">t<x/><y/></r>");
    const Node root = document->rootElement();
    document->remove(root.attributes()[0]);
    document->remove(root.children()[0]);
    document->remove(root.children()[0]);
    document->remove(Node());
    document->remove(document->node());  // the document node stays
    EXPECT_EQ(document->xmlString(), std::string(kDeclaration) + "<r b=\"2\"><y/></r>\n");
}

TEST(Building, CreatesDocumentsWithNamespacesReused) {
    auto document = Document::create();
    EXPECT_TRUE(document->rootElement().isNull());
    const Node root = document->createRootElement("svrl:output", "urn:svrl");
    const Node first = document->appendElement(root, "svrl:failed", "urn:svrl");
    const Node other = document->appendElement(first, "o:note", "urn:other");
    const Node plain = document->appendElement(root, "plain");
    const Node prefixedWithoutURI = document->appendElement(root, "svrl:text");
    document->appendText(first, "a < b & c");
    document->appendText(first, " \xE2\x82\xAC");
    document->setAttribute(first, "location", "/a[1]/@x=\"y\"");
    document->setAttribute(first, "location", "/b");  // replaces
    document->setAttribute(other, "xml:lang", "de");
    document->setAttribute(plain, "xmlns:z", "urn:z");
    document->setAttribute(plain, "z:id", "7");
    EXPECT_EQ(first.namespaceURI(), "urn:svrl");
    EXPECT_EQ(other.namespaceURI(), "urn:other");
    EXPECT_EQ(plain.namespaceURI(), "");
    EXPECT_EQ(prefixedWithoutURI.namespaceURI(), "urn:svrl");
    EXPECT_EQ(first.stringValue(), "a < b & c \xE2\x82\xAC");
    EXPECT_EQ(document->xmlString(),
              std::string(kDeclaration) +
                  "<svrl:output xmlns:svrl=\"urn:svrl\"><svrl:failed location=\"/b\">"
                  "<o:note xmlns:o=\"urn:other\" xml:lang=\"de\"/>a &lt; b &amp; c \xE2\x82\xAC</svrl:failed>"
                  "<plain xmlns:z=\"urn:z\" z:id=\"7\"/><svrl:text/></svrl:output>\n");
    auto reparsed = parsed(document->xmlString());
    EXPECT_EQ(reparsed->rootElement().children()[1].nodesForXPath("@z:id").size(), 1u);
}

TEST(Building, UnprefixedElementUnderADefaultNamespaceStaysInNoNamespace) {
    auto document = Document::create();
    document->createRootElement("old");
    const Node root = document->createRootElement("r", "urn:r");  // replaces the old root element
    document->appendElement(root, "child");
    document->appendElement(root, "same", "urn:r");
    const std::string text = document->xmlString();
    EXPECT_EQ(text, std::string(kDeclaration) + "<r xmlns=\"urn:r\"><child xmlns=\"\"/><same/></r>\n");
    EXPECT_EQ(document->node().children().size(), 1u);
    auto reparsed = parsed(text);
    EXPECT_EQ(reparsed->rootElement().children()[0].namespaceURI(), "");
    EXPECT_EQ(reparsed->rootElement().children()[1].namespaceURI(), "urn:r");
}

}  // namespace
}  // namespace quillmark::xml
