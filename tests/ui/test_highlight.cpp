// Locating an issue's element in the XML text: the location is evaluated over the
// text, and the element's start tag is found by searching for its tags from the root
// down, counting same-named siblings. The search is plain text matching on purpose.

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "quillmark/schematron_validator.h"
#include "quillmark/ui/result_window_controller.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

std::optional<std::string> highlightedText(const std::string& location, const std::string& text) {
    auto range = QMValidationResultWindowController::rangeOfLocationInXML(location, text);
    if (!range) return std::nullopt;
    return text.substr(static_cast<size_t>(range->location), static_cast<size_t>(range->length));
}

TEST(HighlightRange, StartTagOfTheLocatedElement) {
    struct Case {
        const char *name, *text, *location;
        std::optional<QMTextRange> range;
    };
    const Case cases[] = {
        {"root", "<r><a/></r>", "/r[1]", QMTextRange{0, 3}},
        {"nested in second sibling", "<r>\n  <a/>\n  <a>\n    <b x=\"1\"/>\n  </a>\n</r>", "/r[1]/a[2]/b[1]",
         QMTextRange{21, 10}},
        {"fourth b overall", "<r><a><b/><b/></a><a><b/><b i='4'/></a></r>", "/r/a[2]/b[2]", QMTextRange{25, 10}},
        {"prefixed names", "<inv:I xmlns:inv='urn:i' xmlns:c='urn:c'><c:ID>1</c:ID><c:Note>n</c:Note></inv:I>",
         "/inv:I[1]/c:Note[1]", QMTextRange{55, 8}},
        // Prefixes the root declares are matched by local name, whatever the namespace.
        {"prefix bound to another namespace", "<p:I xmlns:p='urn:a'><p:ID xmlns:p='urn:b'/></p:I>", "/p:I/p:ID",
         QMTextRange{21, 23}},
        // Locations of UBL invoices name elements of the root's default namespace
        // without a prefix; they are found by local name.
        {"default namespace", "<Invoice xmlns='urn:x'><ID>1</ID></Invoice>", "/Invoice[1]/ID[1]", QMTextRange{23, 4}},
        {"undeclared prefix", "<Invoice xmlns='urn:x'><ID>1</ID></Invoice>", "/ubl:Invoice[1]", std::nullopt},
        {"after a declaration and comment", "<?xml version='1.0'?>\n<!-- c -->\n<r><a/></r>", "/r/a", QMTextRange{36, 4}},
        {"first of a node sequence", "<r><a/><a/></r>", "/r/a", QMTextRange{3, 4}},
        // Code units of UTF-16: "ä" and "€" take one each, the emoji two.
        {"non-ASCII text before", "<r>ä€😀<a/></r>", "/r/a", QMTextRange{7, 4}},
        {"nothing selected", "<r><a/></r>", "/r/b", std::nullopt},
        {"past the last sibling", "<r><a/><a/></r>", "/r/a[3]", std::nullopt},
        {"attribute is not an element", "<r><a t='v'/></r>", "/r/a/@t", std::nullopt},
        {"text is not an element", "<r><a>t</a></r>", "/r/a/text()", std::nullopt},
        {"document node", "<r/>", "/", std::nullopt},
        {"not a node", "<r/>", "'r'", std::nullopt},
        {"empty location", "<r/>", "", std::nullopt},
        {"unparsable text", "<r><a></r>", "/r/a", std::nullopt},
        {"empty text", "", "/r", std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(QMValidationResultWindowController::rangeOfLocationInXML(c.location, c.text), c.range) << c.name;
    }
}

TEST(HighlightRange, TheSearchIsKnowinglyNaive) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"longer name with the same beginning", "<r><ab x='1'/><a y='2'/></r>", "/r/a", "<ab x='1'/>"},
        {"same name nested in an earlier sibling", "<r><x><a n='1'/></x><a n='2'/></r>", "/r/a", "<a n='1'/>"},
        {"tag inside a comment", "<r><!-- <a> --><a/></r>", "/r/a", "<a>"},
        {"tag inside character data", "<r><![CDATA[<a>]]><a/></r>", "/r/a", "<a>"},
        {"closing bracket inside an attribute", "<r><a t='x>y'/></r>", "/r/a", "<a t='x>"},
        {"nested earlier same name shifts the count", "<r><a><a/></a><a id='2'/></r>", "/r/a[2]", "<a/>"},
    };
    for (const auto& [name, text, location, selected] : cases) {
        EXPECT_EQ(highlightedText(location, text), std::optional<std::string>(selected)) << name;
    }
}

// The node comes from one text and is searched in another, as when the text view no
// longer shows what was validated.
TEST(HighlightRange, NodeIsSearchedInTheTextGiven) {
    auto document = testing::parseXML("<r><a/><a/></r>");
    xml::Node second = document->node().nodesForXPath("/r/a[2]").at(0);
    const std::pair<const char*, std::optional<QMTextRange>> cases[] = {
        {"<r><a/></r>", std::nullopt}, {"<r><a", std::nullopt}, {"<r><a/><a", std::nullopt},
        {"", std::nullopt},            {"<r><a/><a/></r>", QMTextRange{7, 4}},
    };
    for (const auto& [text, range] : cases) {
        EXPECT_EQ(QMValidationResultWindowController::rangeOfNodeInText(second, text), range) << text;
    }
    EXPECT_EQ(QMValidationResultWindowController::rangeOfNodeInText(xml::Node(), "<r/>"), std::nullopt);
    const std::string named = "<r>€<Größe>1</Größe></r>";
    auto umlauts = testing::parseXML(named);
    EXPECT_EQ(QMValidationResultWindowController::rangeOfNodeInText(umlauts->node().nodesForXPath("/r/*").at(0), named),
              (QMTextRange{4, 7}));
}

// Every element of a real invoice, located by the path a validation run reports for it,
// is highlighted at a start tag of its own name.
TEST(HighlightRange, ReportedLocationsOfARealInvoiceFindTheirStartTags) {
    ASSERT_TRUE(testing::corpusAvailable()) << "the corpus is missing";
    const std::string text = testing::readFile(testing::corpusPath("en16931/cii/examples/CII_example1.xml"));
    Error error;
    auto document = xml::Document::parse(text, &error);
    ASSERT_TRUE(document) << error.message();

    size_t checked = 0;
    std::function<void(xml::Node)> visit = [&](xml::Node element) {
        const std::string location = QMSchematronValidator::getNodePath(element);
        auto selected = highlightedText(location, text);
        ASSERT_TRUE(selected.has_value()) << location;
        const std::string tag = "<" + element.name();
        EXPECT_TRUE(selected->starts_with(tag) && selected->ends_with(">")) << location << " -> " << *selected;
        ++checked;
        for (const xml::Node& child : element.children()) {
            if (child.isElement()) visit(child);
        }
    };
    visit(document->rootElement());
    EXPECT_GT(checked, 50u);
}

}  // namespace
}  // namespace quillmark
