// `quillmark eval`: typed values, variables, namespaces, the trace, and the errors of
// unreadable contexts and bad usage.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

// The compatible profile: the library's documented values, its absent results and trace.
TEST(EvalCommand, CompatibleProfilePrintsTypedValuesTraceAndErrors) {
    const std::string invoice = testing::sourcePath("examples/invoice-valid.xml");
    testing::expectCliRuns({
        {{"eval", "--semantics", "compatible", "--context", invoice, "sum(//cac:InvoiceLine/cbc:LineExtensionAmount)"}, "double 200\n", "", 0},
        {{"eval", "--semantics", "compatible", "--context", invoice, "--var", "id=2", "//cac:InvoiceLine[cbc:ID=$id]/cbc:ID"},
         "sequence 1\n  element cbc:ID\n", "", 0},
        {{"eval", "--semantics", "compatible", "--context", invoice, "//cac:InvoiceLine[1]/cbc:LineExtensionAmount/@currencyID"},
         "sequence 1\n  string \"EUR\"\n", "", 0},
        {{"eval", "--semantics", "compatible", "--context", invoice, "/"}, "sequence 1\n  document\n", "", 0},
        {{"eval", "--semantics", "compatible", "concat('say \"hi\"', '\\', codepoints-to-string(10))"}, "string \"say \\\"hi\\\"\\\\\\n\"\n", "", 0},
        {{"eval", "--semantics", "compatible", "1 = 1"}, "boolean true\n", "", 0},
        {{"eval", "--semantics", "compatible", "$nothing"}, "integer 0\n", "", 0},
        {{"eval", "--semantics", "compatible", ")"}, "absent\n", "", 0},
        {{"eval", "--semantics", "compatible", "--var", "a=2", "--trace", "$a + 1"}, "double 3\n",
         "\u2192 BinaryOp(+)\n  $a = 2\n  Left = 2\n  Right = 1\n\u2190 BinaryOp(+) = 3\n", 0},
        // A declared prefix matches by local name, whatever namespace it was declared with.
        {{"eval", "--semantics", "compatible", "--ns", "p=urn:x", "--context", invoice, "count(//p:InvoiceLine)"}, "integer 2\n", "", 0},
        {{"eval", "--semantics", "compatible", "--context", "/no/such/file.xml", "1"}, "",
         "quillmark: cannot read /no/such/file.xml: No such file or directory\n", 2},
        {{"eval", "--semantics", "compatible", "--var", "novalue", "1"}, "", "quillmark: --var expects NAME=EXPR, got \"novalue\"\n", 2},
        // "--" ends the options, also after options that repeat: what follows is EXPR.
        {{"eval", "--semantics", "compatible", "--var", "v=3", "--", "-$v"}, "double -3\n", "", 0},
        {{"eval", "--semantics", "compatible", "--var", "v=3", "--var", "w=4", "--", "-a"}, "double 0\n", "", 0},
        {{"eval", "--semantics", "compatible", "--ns", "p=urn:x", "--", "-1"}, "double -1\n", "", 0},
        {{"eval", "--semantics", "compatible", "--max-input-size", "10", "--context", invoice, "1"}, "",
         "quillmark: cannot read " + invoice + ": the file is larger than the input size limit of 10 bytes\n", 2},
    });
    testing::expectUsageErrors({{"eval"}, {"eval", "--semantics", "compatible"}});
}

// The default, standard profile: XPath 2.0 values with their XDM types, one item per
// line; errors as one line with the W3C code.
TEST(EvalCommand, StandardProfilePrintsXdmItemsAndW3CErrors) {
    const std::string invoice = testing::sourcePath("examples/invoice-valid.xml");
    testing::expectCliRuns({
        {{"eval", "--context", invoice, "sum(//cac:InvoiceLine/cbc:LineExtensionAmount)"}, "xs:double 200\n", "", 0},
        {{"eval", "--context", invoice, "--var", "id=2", "//cac:InvoiceLine[cbc:ID=$id]/cbc:ID"}, "element cbc:ID\n",
         "", 0},
        {{"eval", "(1, 'a', 2.50, xs:date('2024-01-31'), 1e7, 0.1 + 0.2, 1 div 3)"},
         "sequence 7\n  xs:integer 1\n  xs:string \"a\"\n  xs:decimal 2.5\n  xs:date 2024-01-31\n"
         "  xs:double 1.0E7\n  xs:decimal 0.3\n  xs:decimal 0.333333333333333333\n",
         "", 0},
        {{"eval", "()"}, "empty-sequence()\n", "", 0},
        {{"eval", "1 div 0"}, "", "FOAR0001: division by zero\n", 1},
        {{"eval", "$nothing"}, "", "XPST0008: variable $nothing is not declared, at offset 0\n", 1},
        {{"eval", ")"}, "", "XPST0003: expected an expression but found ')' at offset 0\n", 1},
        // --ns replaces the root element's prefixes, so cac is unknown here.
        {{"eval", "--ns", "p=urn:x", "--context", invoice, "count(//p:InvoiceLine)"}, "xs:integer 0\n", "", 0},
        {{"eval", "--ns", "p=urn:x", "--context", invoice, "count(//cac:InvoiceLine)"}, "",
         "XPST0081: namespace prefix 'cac' is not declared, at offset 8\n", 1},
        // --at evaluates as a rule's test is evaluated at its context node.
        {{"eval", "--context", invoice, "--at", "//cac:InvoiceLine[2]", "cbc:ID || '/' || count(preceding-sibling::*)"},
         "", "XPST0003: expected an expression but found '|' at offset 8\n", 1},
        {{"eval", "--context", invoice, "--at", "//cac:InvoiceLine[2]", "string(cbc:ID)"}, "xs:string \"2\"\n", "", 0},
        {{"eval", "--context", invoice, "--at", "//nothing", "1"}, "", "XPDY0002: --at '//nothing' selects no node\n", 1},
        {{"eval", "--trace", "1"}, "", "quillmark: --trace needs --semantics compatible\n", 2},
        {{"eval", "--context", "/no/such/file.xml", "1"}, "",
         "quillmark: cannot read /no/such/file.xml: No such file or directory\n", 2},
    });
}

using EvalContextTest = testing::TempDirectoryTest;

TEST_F(EvalContextTest, IllFormedContextIsOneLineAndExitTwo) {
    const std::string broken = write("broken.xml", "<Invoice><cbc:ID>1</Invoice>");
    auto result = testing::runCli({"eval", "--context", broken, "1"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(broken), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("line 1"), std::string::npos) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}

}  // namespace
}  // namespace quillmark
