// The node view of a parsed document: names, namespaces, values, parents, children,
// attributes and the namespaces in scope.

#include <gtest/gtest.h>

#include "quillmark/xml.h"

namespace quillmark::xml {
namespace {

const char* const kInvoice =
    "<?xml version=\"1.0\"?>\n"
    "<Invoice xmlns=\"urn:inv\" xmlns:cbc=\"urn:cbc\" xmlns:cac=\"urn:cac\">"
    "<cbc:ID schemeID=\"S1\" xml:lang=\"de\">INV-1</cbc:ID>"
    "<!-- note --><?render fast?>"
    "<cac:Party xmlns:cbc=\"urn:cbc2\" xmlns:x=\"urn:x\">"
    "<cbc:Name>A<![CDATA[&B]]></cbc:Name><plain xmlns=\"\">p</plain>"
    "</cac:Party>"
    "</Invoice>";

using Namespaces = std::map<std::string, std::string>;

class NodeTest : public ::testing::Test {
protected:
    void SetUp() override {
        document = Document::parse(kInvoice, nullptr);
        ASSERT_NE(document, nullptr);
    }
    Node select(const std::string& xpath) {
        auto nodes = document->rootElement().nodesForXPath(xpath);
        EXPECT_EQ(nodes.size(), 1u) << xpath;
        return nodes.empty() ? Node() : nodes.front();
    }
    std::shared_ptr<Document> document;
};

struct Expected {
    const char* label;
    NodeKind kind;
    std::string name, localName, prefix, uri;
    std::optional<std::string> stringValue;
    int64_t index;
};

void expectNode(const Node& node, const Expected& expected) {
    SCOPED_TRACE(expected.label);
    EXPECT_EQ(node.kind(), expected.kind);
    EXPECT_EQ(node.name(), expected.name);
    EXPECT_EQ(node.localName(), expected.localName);
    EXPECT_EQ(node.prefix(), expected.prefix);
    EXPECT_EQ(node.namespaceURI(), expected.uri);
    EXPECT_EQ(node.stringValue(), expected.stringValue);
    EXPECT_EQ(node.index(), expected.index);
}

TEST_F(NodeTest, AccessorsAgreeForEveryKindOfNode) {
    const Node root = document->rootElement();
    const Node id = root.children()[0];
    const Node party = root.children()[3];
    const Node name = party.children()[0];
    const std::string xmlNamespace = "http://www.w3.org/XML/1998/namespace";
    const std::vector<std::pair<Node, Expected>> cases = {
        {document->node(), {"document", NodeKind::Document, "", "", "", "", "INV-1A&Bp", 0}},
        {root, {"root", NodeKind::Element, "Invoice", "Invoice", "", "urn:inv", "INV-1A&Bp", 0}},
        {id, {"prefixed element", NodeKind::Element, "cbc:ID", "ID", "cbc", "urn:cbc", "INV-1", 0}},
        {id.attributes()[0], {"attribute", NodeKind::Attribute, "schemeID", "schemeID", "", "", "S1", 0}},
        {id.attributes()[1], {"xml attribute", NodeKind::Attribute, "xml:lang", "lang", "xml", xmlNamespace, "de", 1}},
        {id.children()[0], {"text", NodeKind::Text, "", "", "", "", "INV-1", 0}},
        {root.children()[1], {"comment", NodeKind::Comment, "", "", "", "", " note ", 1}},
        {root.children()[2], {"processing instruction", NodeKind::ProcessingInstruction, "render", "render", "", "", "fast", 2}},
        {name, {"redeclared prefix", NodeKind::Element, "cbc:Name", "Name", "cbc", "urn:cbc2", "A&B", 0}},
        {name.children()[1], {"CDATA", NodeKind::Text, "", "", "", "", "&B", 1}},
        {party.children()[1], {"no namespace", NodeKind::Element, "plain", "plain", "", "", "p", 1}},
        {Node(), {"null", NodeKind::Invalid, "", "", "", "", std::nullopt, 0}},
    };
    for (const auto& [node, expected] : cases) expectNode(node, expected);

    auto undeclared = Document::parse("<a><p:b/></a>", nullptr);
    ASSERT_NE(undeclared, nullptr);
    expectNode(undeclared->rootElement().children()[0],
               {"undeclared prefix", NodeKind::Element, "p:b", "b", "p", "", "", 0});
}

TEST_F(NodeTest, ParentsChildrenAndAttributes) {
    const Node text = select("//*[local-name()='Name']/text()[1]");
    std::vector<std::string> chain;
    for (Node node = text.parent(); node; node = node.parent()) chain.push_back(node.isElement() ? node.name() : "#document");
    EXPECT_EQ(chain, (std::vector<std::string>{"cbc:Name", "cac:Party", "Invoice", "#document"}));
    const Node attribute = select("*[local-name()='ID']/@schemeID");
    EXPECT_EQ(attribute.parent().name(), "cbc:ID");
    EXPECT_EQ(attribute.documentNode(), document->node());
    EXPECT_EQ(document->node().documentNode(), document->node());

    const Node root = document->rootElement();
    std::vector<NodeKind> kinds;
    for (const Node& child : root.children()) kinds.push_back(child.kind());
    EXPECT_EQ(kinds, (std::vector<NodeKind>{NodeKind::Element, NodeKind::Comment, NodeKind::ProcessingInstruction,
                                            NodeKind::Element}));
    EXPECT_EQ(document->node().children().size(), 1u);
    EXPECT_TRUE(attribute.children().empty());
    EXPECT_TRUE(root.children()[0].children()[0].children().empty());
    EXPECT_TRUE(root.children()[0].children()[0].attributes().empty());

    // Attributes are looked up by their qualified name; declarations are no attributes.
    const Node id = root.children()[0];
    EXPECT_EQ(id.attribute("schemeID"), "S1");
    EXPECT_EQ(id.attribute("xml:lang"), "de");
    EXPECT_EQ(id.attribute("lang"), std::nullopt);
    EXPECT_EQ(id.attribute("missing"), std::nullopt);
    EXPECT_EQ(root.attribute("xmlns"), std::nullopt);
}

TEST_F(NodeTest, NamespacesInScopeLetTheNearestDeclarationWin) {
    const Node root = document->rootElement();
    const Namespaces atRoot = {{"", "urn:inv"}, {"cac", "urn:cac"}, {"cbc", "urn:cbc"}};
    EXPECT_EQ(root.namespacesInScope(), atRoot);
    EXPECT_EQ(root.namespaceDeclarations(), atRoot);
    EXPECT_EQ(document->node().namespacesInScope(), atRoot);  // a query from the top sees the root's
    const Node name = select("//*[local-name()='Name']");
    const Namespaces atName = {{"", "urn:inv"}, {"cac", "urn:cac"}, {"cbc", "urn:cbc2"}, {"x", "urn:x"}};
    EXPECT_EQ(name.namespacesInScope(), atName);
    EXPECT_TRUE(name.namespaceDeclarations().empty());
    EXPECT_EQ(name.children()[0].namespacesInScope(), atName);  // text: its element's
    const Node plain = select("//*[local-name()='plain']");
    EXPECT_EQ(plain.namespacesInScope().count(""), 0u);  // xmlns="" removes the default
    EXPECT_EQ(plain.namespaceDeclarations(), (Namespaces{{"", ""}}));
}

}  // namespace
}  // namespace quillmark::xml
