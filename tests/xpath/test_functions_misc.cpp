// The miscellaneous functions through whole expressions: fn:error and fn:trace, QNames
// and in-scope namespaces, fn:lang, base and document URIs, fn:doc and friends.

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "expression_test_support.h"
#include "support/test_support.h"

namespace quillmark::xpath::testing {
namespace {

// The error an expression raises, with its code and message.
XPathError raisedError(std::string_view expression) {
    const StaticContext statics;
    const CompiledExpression compiled(expression, statics);
    DynamicContext context;
    try {
        compiled.evaluate(context);
    } catch (const XPathError& error) {
        return error;
    }
    ADD_FAILURE() << expression << " raised no error";
    return XPathError(ErrorCode::XPTY0004, "none");
}

TEST(MiscFunctions, ErrorRaisesTheGivenCodeAndMessage) {
    expectOutcomes({
        {"error()", "FOER0000"},
        {"error(QName('http://www.w3.org/2005/xqt-errors', 'err:FOER0000'))", "FOER0000"},
        {"error(QName('urn:rules', 'r:BR-01'), 'amount missing')", "BR-01"},
        {"error(QName('', 'local'), 'm', (1, 2))", "local"},
        {"error((), 'no code')", "FOER0000"},
        {"error('BR-01')", "XPTY0004"},
        {"if (1 = 2) then error() else 'fine'", R"(xs:string "fine")"},
    });
    const XPathError withMessage = raisedError("error(QName('urn:rules', 'r:BR-01'), 'amount missing')");
    EXPECT_EQ(withMessage.code(), ErrorCode::UserDefined);
    EXPECT_EQ(withMessage.description(), "amount missing");
    const XPathError withoutCode = raisedError("error((), 'no code')");
    EXPECT_EQ(withoutCode.code(), ErrorCode::FOER0000);
    EXPECT_EQ(withoutCode.description(), "no code");
}

TEST(MiscFunctions, TracePassesItsValueThroughSilently) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    expectOutcomes({
        {"trace((1, 'a'), 'label')", R"(xs:integer 1, xs:string "a")"},
        {"trace((), 'label')", "()"},
        {"count(trace(1 to 5, 'n'))", "xs:integer 5"},
    });
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(MiscFunctions, QNameConstructionAndParts) {
    expectOutcomes({
        {"namespace-uri-from-QName(QName('urn:a', 'p:local'))", R"(xs:anyURI "urn:a")"},
        {"prefix-from-QName(QName('urn:a', 'p:local'))", R"(xs:NCName "p")"},
        {"local-name-from-QName(QName('urn:a', 'p:local'))", R"(xs:NCName "local")"},
        {"string(QName('urn:a', 'p:local'))", R"(xs:string "p:local")"},
        {"prefix-from-QName(QName('urn:a', 'local'))", "()"},
        {"namespace-uri-from-QName(QName('', 'local'))", R"(xs:anyURI "")"},
        {"namespace-uri-from-QName(QName((), 'local'))", R"(xs:anyURI "")"},
        {"QName('urn:a', 'p:x') eq QName('urn:a', 'q:x')", "xs:boolean true"},
        {"local-name-from-QName(())", "()"},
        {"prefix-from-QName(())", "()"},
        {"namespace-uri-from-QName(())", "()"},
        {"QName('', 'p:local')", "FOCA0002"},
        {"QName('urn:a', '1local')", "FOCA0002"},
        {"QName('urn:a', 'a:b:c')", "FOCA0002"},
        {"QName('urn:a', ' local')", "FOCA0002"},
        {"QName('urn:a', '')", "FOCA0002"},
        {"local-name-from-QName('p:local')", "XPTY0004"},
    });
}

constexpr const char* kNamespacedDocument =
    R"(<r xmlns="urn:default" xmlns:p="urn:p" xml:lang="en-US">)"
    R"(<c xmlns:q="urn:q" xml:base="http://example.org/dir/"><d xml:base="sub/"/></c>)"
    R"(<e xmlns=""><f xml:lang="de" a="1">text</f></e>)"
    R"(</r>)";

TEST(MiscFunctions, ResolveQNameUsesTheElementsNamespaces) {
    const auto document = parseDocument(kNamespacedDocument);
    expectOutcomes({
        {"namespace-uri-from-QName(resolve-QName('p:x', /*))", R"(xs:anyURI "urn:p")"},
        {"prefix-from-QName(resolve-QName('p:x', /*))", R"(xs:NCName "p")"},
        {"namespace-uri-from-QName(resolve-QName('x', /*))", R"(xs:anyURI "urn:default")"},
        {"namespace-uri-from-QName(resolve-QName('q:x', /*/*[1]))", R"(xs:anyURI "urn:q")"},
        {"namespace-uri-from-QName(resolve-QName('x', //*:e))", R"(xs:anyURI "")"},  // xmlns="" undeclares
        {"namespace-uri-from-QName(resolve-QName('xml:lang', /*))",
         R"(xs:anyURI "http://www.w3.org/XML/1998/namespace")"},
        {"resolve-QName((), /*)", "()"},
        {"resolve-QName('q:x', /*)", "FONS0004"},
        {"resolve-QName('a b', /*)", "FOCA0002"},
        {"resolve-QName('x', /)", "XPTY0004"},
    },
                   document.get());
}

TEST(MiscFunctions, NamespaceUriForPrefix) {
    const auto document = parseDocument(kNamespacedDocument);
    expectOutcomes({
        {"namespace-uri-for-prefix('p', /*)", R"(xs:anyURI "urn:p")"},
        {"namespace-uri-for-prefix('q', /*/*[1])", R"(xs:anyURI "urn:q")"},
        {"namespace-uri-for-prefix('q', /*)", "()"},
        {"namespace-uri-for-prefix('', /*)", R"(xs:anyURI "urn:default")"},
        {"namespace-uri-for-prefix((), /*)", R"(xs:anyURI "urn:default")"},
        {"namespace-uri-for-prefix('', //*:e)", "()"},
        {"namespace-uri-for-prefix('xml', //*:f)", R"(xs:anyURI "http://www.w3.org/XML/1998/namespace")"},
    },
                   document.get());
}

// The prefixes of in-scope-prefixes() sorted, as their order is not defined.
std::vector<std::string> sortedPrefixes(const std::string& element, const xml::Document& document) {
    const StaticContext statics;
    DynamicContext context;
    context.setContextItem(Item(document.node()));
    std::vector<std::string> prefixes;
    for (const Item& item : CompiledExpression("in-scope-prefixes(" + element + ")", statics).evaluate(context)) {
        prefixes.push_back(item.atomic().stringValue());
    }
    std::sort(prefixes.begin(), prefixes.end());
    return prefixes;
}

TEST(MiscFunctions, InScopePrefixesIncludeXmlAndTheDefault) {
    const auto document = parseDocument(kNamespacedDocument);
    EXPECT_EQ(sortedPrefixes("/*", *document), (std::vector<std::string>{"", "p", "xml"}));
    EXPECT_EQ(sortedPrefixes("/*/*[1]", *document), (std::vector<std::string>{"", "p", "q", "xml"}));
    EXPECT_EQ(sortedPrefixes("//*:e", *document), (std::vector<std::string>{"p", "xml"}));
    const auto plain = parseDocument("<r/>");
    EXPECT_EQ(sortedPrefixes("/r", *plain), (std::vector<std::string>{"xml"}));
    EXPECT_EQ(evaluationOutcome("in-scope-prefixes(/)", plain.get()), "XPTY0004");
}

TEST(MiscFunctions, LangLooksForTheNearestXmlLang) {
    const auto document = parseDocument(kNamespacedDocument);
    expectOutcomes({
        {"lang('en', /*)", "xs:boolean true"},
        {"lang('EN', /*)", "xs:boolean true"},
        {"lang('en-us', /*)", "xs:boolean true"},
        {"lang('us', /*)", "xs:boolean false"},
        {"lang('e', /*)", "xs:boolean false"},       // a prefix, but not up to a hyphen
        {"lang('en-US-x', /*)", "xs:boolean false"},
        {"lang('en', /*/*[1])", "xs:boolean true"},  // inherited
        {"lang('de', //*:f)", "xs:boolean true"},
        {"lang('en', //*:f)", "xs:boolean false"},
        {"lang('de', //*:f/@a)", "xs:boolean true"},
        {"lang('de', //*:f/text())", "xs:boolean true"},
        {"//*:f/lang('de')", "xs:boolean true"},
        {"//*[lang('de')]/local-name()", R"(xs:string "f")"},
        {"lang('en', /)", "xs:boolean false"},
        {"lang('en', 'x')", "XPTY0004"},
    },
                   document.get());
    EXPECT_EQ(evaluationOutcome("lang('en')"), "XPDY0002");
    EXPECT_EQ(evaluationOutcome("lang('en', /r)", parseDocument("<r/>").get()), "xs:boolean false");
}

TEST(MiscFunctions, BaseAndDocumentUris) {
    const auto document = parseDocument(kNamespacedDocument);
    expectOutcomes({
        {"base-uri(/*/*[1])", R"(xs:anyURI "http://example.org/dir/")"},
        {"base-uri(/*/*[1]/*)", R"(xs:anyURI "http://example.org/dir/sub/")"},
        {"/*/*[1]/*/base-uri()", R"(xs:anyURI "http://example.org/dir/sub/")"},
        // A document read from memory has no URI.
        {"base-uri(/)", "()"},
        {"base-uri(//*:f)", "()"},
        {"base-uri(())", "()"},
        {"document-uri(/)", "()"},
        {"document-uri(/*)", "()"},
        {"document-uri(())", "()"},
        {"static-base-uri()", "()"},
        {"base-uri(1)", "XPTY0004"},
    },
                   document.get());
    EXPECT_EQ(evaluationOutcome("base-uri()"), "XPDY0002");
}

TEST(MiscFunctions, CollationNilledAndReferences) {
    const auto document = parseDocument(R"(<r xml:id="a"><s id="b" ref="a"/>t</r>)");
    expectOutcomes({
        {"default-collation()", R"(xs:string "http://www.w3.org/2005/xpath-functions/collation/codepoint")"},
        {"nilled(/r)", "xs:boolean false"},
        {"nilled(/)", "()"},
        {"nilled(/r/text())", "()"},
        {"nilled(())", "()"},
        // Without a DTD or schema no attribute is an ID or IDREF.
        {"id('b', /)", "()"},
        {"id('b')", "()"},
        {"/r/s/idref('a')", "()"},
        {"idref('a', /r)", "()"},
        {"id(1, /)", "XPTY0004"},
    },
                   document.get());
    EXPECT_EQ(evaluationOutcome("id('b')"), "XPDY0002");
    EXPECT_EQ(evaluationOutcome("idref('b')"), "XPDY0002");
}

class MiscDocumentFunctions : public ::testing::Test {
protected:
    void SetUp() override {
        directory_ = quillmark::testing::makeTempDirectory("quillmark-misc");
        codes_ = write("codes list.xml", "<codes><code>EUR</code><code>USD</code></codes>");
        broken_ = write("broken.xml", "<codes>");
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }
    std::string write(const std::string& name, const std::string& text) {
        const std::string path = (std::filesystem::path(directory_) / name).string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
    static std::string quoted(const std::string& text) { return "'" + text + "'"; }

    std::string directory_;
    std::string codes_;
    std::string broken_;
};

TEST_F(MiscDocumentFunctions, DocReadsLocalFiles) {
    const std::string percentEncoded = std::string(codes_).replace(codes_.find(' '), 1, "%20");
    expectOutcomes({
        {"string-join(doc(" + quoted(codes_) + ")/codes/code, ',')", R"(xs:string "EUR,USD")"},
        {"count(doc(" + quoted("file:" + percentEncoded) + ")//code)", "xs:integer 2"},
        {"count(doc(" + quoted("file://" + percentEncoded) + ")//code)", "xs:integer 2"},
        {"count(doc(" + quoted("file://localhost" + percentEncoded) + ")//code)", "xs:integer 2"},
        {"document-uri(doc(" + quoted(codes_) + "))", "xs:anyURI \"file:" + percentEncoded + "\""},
        {"base-uri(doc(" + quoted(codes_) + ")//code[1])", "xs:anyURI \"file:" + percentEncoded + "\""},
        {"'EUR' = doc(" + quoted(codes_) + ")//code", "xs:boolean true"},
        {"doc(())", "()"},
        {"doc('')", "FODC0002"},
        {"doc(" + quoted(directory_ + "/missing.xml") + ")", "FODC0002"},
        {"doc(" + quoted(broken_) + ")", "FODC0002"},
        {"doc(" + quoted(directory_) + ")", "FODC0002"},
        {"doc('http://example.com/codes.xml')", "FODC0002"},
        {"doc('file://example.com/codes.xml')", "FODC0002"},
    });
}

TEST_F(MiscDocumentFunctions, DocAvailableTellsWhetherDocWouldSucceed) {
    expectOutcomes({
        {"doc-available(" + quoted(codes_) + ")", "xs:boolean true"},
        {"doc-available(" + quoted(directory_ + "/missing.xml") + ")", "xs:boolean false"},
        {"doc-available(" + quoted(broken_) + ")", "xs:boolean false"},
        {"doc-available('http://example.com/codes.xml')", "xs:boolean false"},
        {"doc-available(())", "xs:boolean false"},
        {"collection()", "FODC0002"},
        {"collection(" + quoted(directory_) + ")", "FODC0002"},
    });
}

}  // namespace
}  // namespace quillmark::xpath::testing
