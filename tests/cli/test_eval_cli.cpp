// `quillmark eval`: typed values, variables, namespaces, the trace, and the errors of
// unreadable contexts and bad usage.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

TEST(EvalCommand, PrintsTypedValuesTraceAndErrors) {
    const std::string invoice = testing::sourcePath("examples/invoice-valid.xml");
    testing::expectCliRuns({
        {{"eval", "--context", invoice, "sum(//cac:InvoiceLine/cbc:LineExtensionAmount)"}, "double 200\n", "", 0},
        {{"eval", "--context", invoice, "--var", "id=2", "//cac:InvoiceLine[cbc:ID=$id]/cbc:ID"},
         "sequence 1\n  element cbc:ID\n", "", 0},
        {{"eval", "--context", invoice, "//cac:InvoiceLine[1]/cbc:LineExtensionAmount/@currencyID"},
         "sequence 1\n  string \"EUR\"\n", "", 0},
        {{"eval", "--context", invoice, "/"}, "sequence 1\n  document\n", "", 0},
        {{"eval", "concat('say \"hi\"', '\\', codepoints-to-string(10))"}, "string \"say \\\"hi\\\"\\\\\\n\"\n", "", 0},
        {{"eval", "1 = 1"}, "boolean true\n", "", 0},
        {{"eval", "$nothing"}, "integer 0\n", "", 0},
        {{"eval", ")"}, "absent\n", "", 0},
        {{"eval", "--var", "a=2", "--trace", "$a + 1"}, "double 3\n",
         "\u2192 BinaryOp(+)\n  $a = 2\n  Left = 2\n  Right = 1\n\u2190 BinaryOp(+) = 3\n", 0},
        // A declared prefix matches by local name, whatever namespace it was declared with.
        {{"eval", "--ns", "p=urn:x", "--context", invoice, "count(//p:InvoiceLine)"}, "integer 2\n", "", 0},
        {{"eval", "--context", "/no/such/file.xml", "1"}, "",
         "quillmark: cannot read /no/such/file.xml: No such file or directory\n", 2},
        {{"eval", "--var", "novalue", "1"}, "", "quillmark: --var expects NAME=EXPR, got \"novalue\"\n", 2},
        // "--" ends the options, also after options that repeat: what follows is EXPR.
        {{"eval", "--var", "v=3", "--", "-$v"}, "double -3\n", "", 0},
        {{"eval", "--var", "v=3", "--var", "w=4", "--", "-a"}, "double 0\n", "", 0},
        {{"eval", "--ns", "p=urn:x", "--", "-1"}, "double -1\n", "", 0},
        {{"eval", "--max-input-size", "10", "--context", invoice, "1"}, "",
         "quillmark: cannot read " + invoice + ": the file is larger than the input size limit of 10 bytes\n", 2},
    });
    testing::expectUsageErrors({{"eval"}});
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
