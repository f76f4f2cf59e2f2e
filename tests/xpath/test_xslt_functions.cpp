// Functions that rule sets define with xsl:function, compiled from their XSLT text and
// called from expressions: declared parameter and result types, variables with select
// and with content, xsl:choose, results returned as text into xs:boolean, calls
// between functions, recursion and its depth limit, and the errors of bodies that
// cannot be compiled.

#include <gtest/gtest.h>

#include "engine_test_support.h"
#include "xpath/xslt_functions.h"

namespace quillmark::xpath::testing {
namespace {

// Functions in the namespace "utils" (prefix u), as the PEPPOL rules declare theirs.
std::string stylesheet(const std::string& functions) {
    return std::string("<xsl:stylesheet xmlns:xsl='") + kXsltNamespace +
           "' xmlns:xs='http://www.w3.org/2001/XMLSchema' xmlns:u='utils'>" + functions + "</xsl:stylesheet>";
}

// The functions of a stylesheet compiled into a library of their own, with the
// static context that expressions calling them use.
class RuleSetFunctions {
public:
    explicit RuleSetFunctions(const std::string& functions)
        : document_(parseDocument(stylesheet(functions))), library_(&FunctionLibrary::builtins()), statics_(&library_) {
        statics_.declareNamespace("u", "utils");
        std::vector<const xmlNode*> elements;
        for (const xmlNode* node = document_->node().raw()->children->children; node; node = node->next) {
            if (node->type == XML_ELEMENT_NODE) elements.push_back(node);
        }
        compileXsltFunctions(elements, library_, statics_);
    }

    // What the expression gives, as evaluationOutcome writes it.
    std::string outcome(std::string_view expression, const EvaluationLimits& limits = {}) const {
        DynamicContext context(limits);
        return outcome(expression, context);
    }

    // The same in a given context (several evaluations sharing one).
    std::string outcome(std::string_view expression, DynamicContext& context) const {
        try {
            const CompiledExpression compiled(expression, statics_);
            context.setContextItem(Item(document_->node()));
            return describedItems(compiled.evaluate(context));
        } catch (const XPathError& error) {
            return error.codeText();
        }
    }

    void expectOutcomes(const std::vector<OutcomeCase>& cases) const {
        for (const OutcomeCase& testCase : cases) {
            EXPECT_EQ(outcome(testCase.expression), testCase.expected) << testCase.expression;
        }
    }

private:
    std::shared_ptr<xml::Document> document_;
    FunctionLibrary library_;
    StaticContext statics_;
};

// The error compiling the functions raises: "CODE: description".
std::string compileError(const std::string& functions) {
    try {
        RuleSetFunctions compiled(functions);
        return "compiles";
    } catch (const XPathError& error) {
        return error.codeText() + ": " + error.description();
    }
}

TEST(XPathXsltFunctions, ParametersAreConvertedToTheirDeclaredTypes) {
    const RuleSetFunctions functions(R"xml(
        <xsl:function name="u:twice" as="xs:integer">
          <xsl:param name="n" as="xs:integer"/>
          <xsl:sequence select="$n * 2"/>
        </xsl:function>
        <xsl:function name="u:half" as="xs:decimal">
          <xsl:param name="n" as="xs:decimal"/>
          <xsl:sequence select="$n div 2"/>
        </xsl:function>
        <xsl:function name="u:count" as="xs:integer">
          <xsl:param name="items"/>
          <xsl:sequence select="count($items)"/>
        </xsl:function>
        <xsl:function name="u:maybe" as="xs:string">
          <xsl:param name="s" as="xs:string?"/>
          <xsl:sequence select="concat('[', $s, ']')"/>
        </xsl:function>)xml");
    functions.expectOutcomes({
        {"u:twice(21)", "xs:integer 42"},
        // Untyped values are cast to the declared type; other types must match.
        {"u:twice(xs:untypedAtomic('4'))", "xs:integer 8"},
        {"u:twice(xs:untypedAtomic('x'))", "FORG0001"},
        {"u:twice('4')", "XPTY0004"},
        {"u:twice(4.0)", "XPTY0004"},
        {"u:twice(())", "XPTY0004"},
        {"u:twice((1, 2))", "XPTY0004"},
        // Integers are decimals; doubles are not promoted to decimal.
        {"u:half(3)", "xs:decimal 1.5"},
        {"u:half(3e0)", "XPTY0004"},
        {"u:count((1, 2, 3))", "xs:integer 3"},
        {"u:count(())", "xs:integer 0"},
        {"u:maybe(())", R"(xs:string "[]")"},
        {"u:maybe('a')", R"(xs:string "[a]")"},
        {"u:maybe(('a', 'b'))", "XPTY0004"},
    });
}

TEST(XPathXsltFunctions, ValueOfReturnsTextThatTheResultTypeConverts) {
    // Shaped like the PEPPOL GLN check: a text node returned as xs:boolean.
    const RuleSetFunctions functions(R"xml(
        <xsl:function name="u:gln" as="xs:boolean">
          <xsl:param name="val"/>
          <xsl:variable name="length" select="string-length($val) - 1"/>
          <xsl:variable name="digits"
            select="reverse(for $i in string-to-codepoints(substring($val, 0, $length + 1)) return $i - 48)"/>
          <xsl:variable name="weightedSum"
            select="sum(for $i in (0 to $length - 1) return $digits[$i + 1] * (1 + ((($i + 1) mod 2) * 2)))"/>
          <xsl:value-of select="(10 - ($weightedSum mod 10)) mod 10 = number(substring($val, $length + 1, 1))"/>
        </xsl:function>
        <xsl:function name="u:says" as="xs:boolean">
          <xsl:param name="word"/>
          <xsl:value-of select="$word"/>
        </xsl:function>
        <xsl:function name="u:text" as="xs:string">
          <xsl:value-of select="(1, 2, 3)" separator="-"/>
        </xsl:function>
        <xsl:function name="u:node">
          <xsl:value-of select="'x'"/>
        </xsl:function>)xml");
    functions.expectOutcomes({
        {"u:gln('5790000435975')", "xs:boolean true"},
        {"u:gln('5790000435976')", "xs:boolean false"},
        {"not(u:gln('5790000435976'))", "xs:boolean true"},
        {"u:says('1')", "xs:boolean true"},
        {"u:says('false')", "xs:boolean false"},
        {"u:says('maybe')", "FORG0001"},
        {"u:text()", R"(xs:string "1-2-3")"},
        // Without a declared type the text node itself is the result.
        {"u:node()", R"(text "x")"},
    });
}

TEST(XPathXsltFunctions, VariablesWithContentMakeTemporaryTrees) {
    const RuleSetFunctions functions(R"xml(
        <xsl:function name="u:tree">
          <xsl:variable name="t"><xsl:value-of select="'a'"/><xsl:value-of select="'b'"/></xsl:variable>
          <xsl:sequence select="count($t/node()), $t instance of document-node(), string($t)"/>
        </xsl:function>
        <xsl:function name="u:typed" as="xs:integer">
          <xsl:variable name="n" as="xs:integer"><xsl:value-of select="40 + 2"/></xsl:variable>
          <xsl:sequence select="$n"/>
        </xsl:function>
        <xsl:function name="u:letters" as="xs:boolean">
          <xsl:param name="arg" as="xs:string?"/>
          <xsl:variable name="allowed">ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789</xsl:variable>
          <xsl:sequence select="string-length(translate($arg, $allowed, '')) = 0 and string-length($arg) = 6"/>
        </xsl:function>
        <xsl:function name="u:empty-variable">
          <xsl:variable name="v"/>
          <xsl:sequence select="$v instance of xs:string, string-length($v)"/>
        </xsl:function>)xml");
    functions.expectOutcomes({
        {"u:tree()", R"(xs:integer 1, xs:boolean true, xs:string "ab")"},
        {"u:typed()", "xs:integer 42"},
        {"u:letters('AB12CD')", "xs:boolean true"},
        {"u:letters('AB-2CD')", "xs:boolean false"},
        {"u:letters(())", "xs:boolean false"},
        {"u:empty-variable()", "xs:boolean true, xs:integer 0"},
    });
}

TEST(XPathXsltFunctions, ChooseAndIf) {
    // The Swedish organisation number check of the PEPPOL rules: choose, a variable
    // with content and a declared type, the Luhn sum.
    const RuleSetFunctions functions(R"xml(
        <xsl:function name="u:checkSEOrgnr" as="xs:boolean">
          <xsl:param name="number" as="xs:string"/>
          <xsl:choose>
            <xsl:when test="not(matches($number, '^\d+$'))">
              <xsl:sequence select="false()"/>
            </xsl:when>
            <xsl:otherwise>
              <xsl:variable name="mainPart" select="substring($number, 1, 9)"/>
              <xsl:variable name="checkDigit" select="substring($number, 10, 1)"/>
              <xsl:variable name="sum" as="xs:integer">
                <xsl:value-of select="sum(for $pos in 1 to string-length($mainPart) return
                    if ($pos mod 2 = 1)
                    then (number(substring($mainPart, string-length($mainPart) - $pos + 1, 1)) * 2) mod 10 +
                         (number(substring($mainPart, string-length($mainPart) - $pos + 1, 1)) * 2) idiv 10
                    else number(substring($mainPart, string-length($mainPart) - $pos + 1, 1)))"/>
              </xsl:variable>
              <xsl:variable name="calculatedCheckDigit" select="(10 - $sum mod 10) mod 10"/>
              <xsl:sequence select="$calculatedCheckDigit = number($checkDigit)"/>
            </xsl:otherwise>
          </xsl:choose>
        </xsl:function>
        <xsl:function name="u:sign" as="xs:string">
          <xsl:param name="n" as="xs:integer"/>
          <xsl:choose>
            <xsl:when test="$n lt 0">negative</xsl:when>
            <xsl:when test="$n eq 0"><xsl:text>zero</xsl:text></xsl:when>
          </xsl:choose>
          <xsl:if test="$n gt 0">positive</xsl:if>
        </xsl:function>)xml");
    functions.expectOutcomes({
        {"u:checkSEOrgnr('5560360793')", "xs:boolean true"},
        {"u:checkSEOrgnr('5560360794')", "xs:boolean false"},
        {"u:checkSEOrgnr('55603607X3')", "xs:boolean false"},
        {"u:sign(-3)", R"(xs:string "negative")"},
        {"u:sign(0)", R"(xs:string "zero")"},
        {"u:sign(7)", R"(xs:string "positive")"},
    });
}

TEST(XPathXsltFunctions, CallEachOtherAndRecurse) {
    const RuleSetFunctions functions(R"xml(
        <xsl:function name="u:is-digit-sum" as="xs:boolean">
          <xsl:param name="n" as="xs:integer"/>
          <xsl:param name="expected"/>
          <xsl:sequence select="u:digit-sum($n) = $expected"/>
        </xsl:function>
        <xsl:function name="u:digit-sum" as="xs:integer">
          <xsl:param name="n" as="xs:integer"/>
          <xsl:sequence select="if ($n lt 10) then $n else $n mod 10 + u:digit-sum($n idiv 10)"/>
        </xsl:function>
        <xsl:function name="u:factorial" as="xs:integer">
          <xsl:param name="n" as="xs:integer"/>
          <xsl:sequence select="if ($n le 1) then 1 else $n * u:factorial($n - 1)"/>
        </xsl:function>
        <xsl:function name="u:digit-sum" as="xs:integer">
          <xsl:param name="text" as="xs:string"/>
          <xsl:param name="unused"/>
          <xsl:param name="base" as="xs:integer"/>
          <xsl:sequence select="sum(for $c in string-to-codepoints($text) return $c - 48) * $base"/>
        </xsl:function>
        <xsl:function name="u:no-focus">
          <xsl:sequence select="."/>
        </xsl:function>)xml");
    functions.expectOutcomes({
        {"u:digit-sum(12345)", "xs:integer 15"},
        {"u:digit-sum(7)", "xs:integer 7"},
        {"u:is-digit-sum(99, 18)", "xs:boolean true"},
        // Arities are separate functions.
        {"u:digit-sum('123', (), 10)", "xs:integer 60"},
        {"u:factorial(25)", "xs:integer 15511210043330985984000000"},
        {"sum(for $i in 1 to 5 return u:factorial($i))", "xs:integer 153"},
        // A function body has no focus, even when its caller has one.
        {"u:no-focus()", "XPDY0002"},
        {"u:digit-sum()", "XPST0017"},
        {"u:missing(1)", "XPST0017"},
        {"$n", "XPST0008"},
    });
}

TEST(XPathXsltFunctions, RecursionEndsAtTheDepthLimit) {
    const RuleSetFunctions functions(R"xml(
        <xsl:function name="u:forever" as="xs:integer">
          <xsl:param name="n" as="xs:integer"/>
          <xsl:sequence select="u:forever($n + 1)"/>
        </xsl:function>
        <xsl:function name="u:depth" as="xs:integer">
          <xsl:param name="n" as="xs:integer"/>
          <xsl:sequence select="if ($n eq 0) then 0 else 1 + u:depth($n - 1)"/>
        </xsl:function>)xml");
    EXPECT_EQ(functions.outcome("u:forever(0)"), "QMXP0001");
    EXPECT_EQ(functions.outcome("u:depth(500)"), "xs:integer 500");
    EXPECT_EQ(functions.outcome("u:depth(600)"), "QMXP0001");
    EvaluationLimits shallow;
    shallow.maxCallDepth = 10;
    // u:depth(n) nests n + 1 calls.
    EXPECT_EQ(functions.outcome("u:depth(9)", shallow), "xs:integer 9");
    EXPECT_EQ(functions.outcome("u:depth(10)", shallow), "QMXP0001");
    // The depth is given back when an error unwinds the calls.
    DynamicContext context(shallow);
    EXPECT_EQ(functions.outcome("u:depth(10)", context), "QMXP0001");
    EXPECT_EQ(functions.outcome("u:depth(9)", context), "xs:integer 9");
}

TEST(XPathXsltFunctions, ResultsMustMatchTheDeclaredType) {
    const RuleSetFunctions functions(R"xml(
        <xsl:function name="u:string-as-integer" as="xs:integer"><xsl:sequence select="'a'"/></xsl:function>
        <xsl:function name="u:two-as-one" as="xs:integer"><xsl:sequence select="(1, 2)"/></xsl:function>
        <xsl:function name="u:none-as-one" as="xs:integer"><xsl:sequence select="()"/></xsl:function>
        <xsl:function name="u:integer-as-double" as="xs:double"><xsl:sequence select="1"/></xsl:function>
        <xsl:function name="u:nothing" as="empty-sequence()"><xsl:sequence select="()"/></xsl:function>)xml");
    functions.expectOutcomes({
        {"u:string-as-integer()", "XPTY0004"},
        {"u:two-as-one()", "XPTY0004"},
        {"u:none-as-one()", "XPTY0004"},
        {"u:integer-as-double()", "xs:double 1"},
        {"u:nothing()", "()"},
    });
}

TEST(XPathXsltFunctions, BodiesThatCannotBeCompiledNameTheFunction) {
    const std::string unsupported = compileError(R"xml(
        <xsl:function name="u:loop"><xsl:for-each select="1 to 3"><xsl:sequence select="."/></xsl:for-each></xsl:function>)xml");
    EXPECT_EQ(unsupported.substr(0, 9), "XPST0003:") << unsupported;
    EXPECT_NE(unsupported.find("u:loop"), std::string::npos) << unsupported;
    EXPECT_NE(unsupported.find("for-each"), std::string::npos) << unsupported;

    const std::string badSelect = compileError(R"xml(
        <xsl:function name="u:broken"><xsl:sequence select="1 +"/></xsl:function>)xml");
    EXPECT_EQ(badSelect.substr(0, 9), "XPST0003:") << badSelect;
    EXPECT_NE(badSelect.find("u:broken"), std::string::npos) << badSelect;

    const std::string unknownVariable = compileError(R"xml(
        <xsl:function name="u:lost"><xsl:param name="a"/><xsl:sequence select="$b"/></xsl:function>)xml");
    EXPECT_EQ(unknownVariable.substr(0, 9), "XPST0008:") << unknownVariable;
    EXPECT_NE(unknownVariable.find("u:lost"), std::string::npos) << unknownVariable;

    // A variable is in scope after its declaration only.
    const std::string early = compileError(R"xml(
        <xsl:function name="u:early"><xsl:sequence select="$late"/><xsl:variable name="late" select="1"/></xsl:function>)xml");
    EXPECT_EQ(early.substr(0, 9), "XPST0008:") << early;

    EXPECT_EQ(compileError(R"xml(<xsl:function name="nons"><xsl:sequence select="1"/></xsl:function>)xml").substr(0, 9),
              "XPST0081:");
    EXPECT_EQ(compileError(R"xml(<xsl:function name="u:t" as="xs:nope"><xsl:sequence select="1"/></xsl:function>)xml")
                  .substr(0, 9),
              "XPST0051:");
    EXPECT_EQ(compileError(R"xml(<xsl:function name="u:s"><xsl:sequence/></xsl:function>)xml").substr(0, 9), "XPST0003:");
}

}  // namespace
}  // namespace quillmark::xpath::testing
