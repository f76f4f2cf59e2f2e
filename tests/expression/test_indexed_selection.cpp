// Paths that begin with "//NAME" in a document the evaluator may index start from the
// elements of that name: which texts qualify, and that every qualifying path selects
// exactly what XPath selects without the index (same nodes, same order, no repeats),
// also where elements of one name nest and where steps leave the element.

#include "expression_test_support.h"
#include "xml/element_index.h"

namespace quillmark::testing {
namespace {

TEST(SplitDescendantStartTest, OnlyWholeLocationPathsWithAPlainFirstStep) {
    struct Case {
        std::string xpath;
        std::optional<std::string> relative;  // nullopt: not split
        bool staysInside = true;
    } cases[] = {
        {"//*[local-name()='A']", "."},
        {"//*[local-name()=\"A\"]/*[local-name()='B']", "*[local-name()='B']"},
        {"//*[local-name()='A']//b/@id", ".//b/@id"},
        {"//*[local-name()='A']/b[c = 'x|y' and d > 1][2]/text()", "b[c = 'x|y' and d > 1][2]/text()"},
        {"//*[local-name()='A']/b[']']", "b[']']"},
        {"//*[local-name()='A']/../b", "../b", false},
        {"//*[local-name()='A']/ancestor::b", "ancestor::b", false},
        {"//*[local-name()='A']/node()", "node()"},
        {"//*[local-name()='A']/*", "*"},
        // Not one location path starting that way.
        {"//*[local-name()='A'][1]", std::nullopt},
        {"//*[local-name()='A'][c]/d", std::nullopt},
        {"//*[local-name()='A'] | //*[local-name()='B']", std::nullopt},
        {"//*[local-name()='A']|//b", std::nullopt},
        {"//*[local-name()='A']/b = 'x'", std::nullopt},
        {"//*[local-name()='A']/b and c", std::nullopt},
        {"//*[local-name()='A']/b*2", std::nullopt},
        {"//*[local-name()='A']/(b|c)", std::nullopt},
        {"//*[local-name()='A']/count(b)", std::nullopt},
        {"//*[local-name()='A']/", std::nullopt},
        {"//*[local-name()='A']/b[", std::nullopt},
        {"//*[local-name()='A", std::nullopt},
        {"/*[local-name()='A']", std::nullopt},
        {"//A", std::nullopt},
        {"count(//*[local-name()='A'])", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.xpath);
        auto split = xml::splitDescendantStart(c.xpath);
        ASSERT_EQ(split.has_value(), c.relative.has_value());
        if (!split) continue;
        EXPECT_EQ(split->localName, "A");
        EXPECT_EQ(split->relativePath, *c.relative);
        EXPECT_EQ(split->staysInside, c.staysInside);
    }
}

constexpr const char* kNested = R"(<r xmlns:p="urn:p">
  <A id="1"><b>one</b><A id="2"><b>two</b><c><A id="3"><b>three</b></A></c></A><b>four</b></A>
  <p:A id="4"><b/><p:b>five</p:b></p:A>
  <d><A id="5"/><!-- A --><?A x?></d>
</r>)";

constexpr const char* kDefaultNamespace = R"(<Invoice xmlns="urn:i" xmlns:cac="urn:c">
  <cac:Line><ID>1</ID><cac:Line><ID>1.1</ID></cac:Line></cac:Line><cac:Line><ID>2</ID></cac:Line>
</Invoice>)";

std::vector<xml::Node> select(QMXPath2Evaluator& evaluator, xml::Node context, const std::string& xpath) {
    bool failed = false;
    return evaluator.nodesForXPath(context, xpath, &failed);
}

TEST(IndexedSelectionTest, SelectsWhatXPathSelects) {
    const std::pair<const char*, std::vector<std::string>> documents[] = {
        {kNested,
         {"//*[local-name()='A']", "//*[local-name()='A']/*[local-name()='b']", "//*[local-name()='A']//b",
          "//*[local-name()='A']/@id", "//*[local-name()='A']/b/text()", "//*[local-name()='A']//text()",
          "//*[local-name()='A']/..", "//*[local-name()='A']/ancestor::*", "//*[local-name()='A']/following::*",
          "//*[local-name()='A']/*[local-name()='b'][1]", "//*[local-name()='A']/b[last()]",
          "//*[local-name()='A']/b[. = 'two' or . = 'five']", "//*[local-name()='A']/b[/r/d]",
          "//*[local-name()='A']/p:b", "//*[local-name()='A']/node()", "//*[local-name()='A']/.",
          "//*[local-name()='missing']", "//*[local-name()='missing']/b", "//*[local-name()='']",
          "//*[local-name()='A']/nosuchfunction()", "//*[local-name()='A']/b[nosuchfunction()]"}},
        {kDefaultNamespace,
         {"//*[local-name()='Line']", "//*[local-name()='Line']/ID", "//*[local-name()='Line']/*[local-name()='ID']",
          "//*[local-name()='Line']//ID", "//*[local-name()='Invoice']/cac:Line/ID"}},
    };
    for (const auto& [text, paths] : documents) {
        auto document = xml::Document::parse(text, nullptr);
        ASSERT_TRUE(document);
        QMXPath2Evaluator plain;
        QMXPath2Evaluator indexed;
        indexed.setUnchangingDocument(document->node());
        const xml::Node contexts[] = {document->node(), document->rootElement(),
                                      document->rootElement().children().at(1)};
        for (const std::string& path : paths) {
            for (xml::Node context : contexts) {
                SCOPED_TRACE(path + " from " + context.name());
                bool plainFailed = false;
                bool indexedFailed = false;
                EXPECT_EQ(indexed.nodesForXPath(context, path, &indexedFailed),
                          plain.nodesForXPath(context, path, &plainFailed));
                EXPECT_EQ(indexedFailed, plainFailed);
            }
        }
    }
}

// The index belongs to one document: paths from other documents, and from any document
// once the promise is withdrawn, are evaluated as before.
TEST(IndexedSelectionTest, AppliesToTheIndexedDocumentOnly) {
    auto indexedDocument = xml::Document::parse("<r><A/><A/></r>", nullptr);
    auto other = xml::Document::parse("<r><A/></r>", nullptr);
    QMXPath2Evaluator evaluator;
    evaluator.setUnchangingDocument(indexedDocument->rootElement());
    EXPECT_EQ(select(evaluator, indexedDocument->node(), "//*[local-name()='A']").size(), 2u);
    EXPECT_EQ(select(evaluator, other->node(), "//*[local-name()='A']").size(), 1u);
    evaluator.setUnchangingDocument(xml::Node());
    indexedDocument->appendElement(indexedDocument->rootElement(), "A");
    EXPECT_EQ(select(evaluator, indexedDocument->node(), "//*[local-name()='A']").size(), 3u);
}

TEST(ElementIndexTest, ListsElementsByLocalNameInDocumentOrderAndKnowsWhichNest) {
    auto document = xml::Document::parse(kNested, nullptr);
    xml::ElementIndex index(document->rootElement());
    std::vector<std::string> ids;
    for (xml::Node node : index.elementsNamed("A")) ids.push_back(node.attribute("id").value_or("?"));
    EXPECT_EQ(ids, (std::vector<std::string>{"1", "2", "3", "4", "5"}));
    EXPECT_EQ(index.elementsNamed("b").size(), 6u);
    EXPECT_TRUE(index.elementsNamed("missing").empty());
    EXPECT_TRUE(index.nests("A"));
    EXPECT_FALSE(index.nests("b"));
    EXPECT_FALSE(index.nests("r"));
    EXPECT_TRUE(index.covers(document->node()));
    EXPECT_TRUE(index.covers(index.elementsNamed("A").front().attributes().at(0)));
    EXPECT_FALSE(index.covers(xml::Node()));
}

}  // namespace
}  // namespace quillmark::testing
