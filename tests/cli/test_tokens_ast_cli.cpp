// `quillmark tokens` and `quillmark ast`: stdout, stderr and exit status together.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/test_support.h"

namespace quillmark {
namespace {

struct CliCase {
    std::vector<std::string> arguments;
    std::string out;
    std::string err;
    int exitCode;
};

void expectRuns(const std::vector<CliCase>& cases) {
    for (const auto& testCase : cases) {
        std::string command;
        for (const auto& argument : testCase.arguments) command += argument + " ";
        SCOPED_TRACE(command);
        auto result = testing::runCli(testCase.arguments);
        EXPECT_EQ(result.out, testCase.out);
        EXPECT_EQ(result.err, testCase.err);
        EXPECT_EQ(result.exitCode, testCase.exitCode);
    }
}

TEST(TokensCommand, PrintsOneTokenPerLine) {
    expectRuns({
        {{"tokens", "count(//cac:InvoiceLine) >= 1"},
         "<IDENT: count>\n"
         "<(: (>\n"
         "<//: //>\n"
         "<IDENT: cac>\n"
         "<:: :>\n"
         "<IDENT: InvoiceLine>\n"
         "<): )>\n"
         "<>=: >=>\n"
         "<NUMBER: 1>\n"
         "<EOF: >\n",
         "", 0},
        {{"tokens", ""}, "<EOF: >\n", "", 0},
        {{"tokens", "--", "-1.50"}, "<NUMBER: -1.5>\n<EOF: >\n", "", 0},
        // Unknown characters are reported on stderr; the command still succeeds.
        {{"tokens", "a # b"}, "<IDENT: a>\n<IDENT: b>\n<EOF: >\n", "Unknown character: # (0x0023)\n", 0},
    });
}

TEST(AstCommand, PrintsTheTreeDump) {
    expectRuns({
        {{"ast", "$a + 1 = 2"},
         "BinaryOp(=)\n"
         "  BinaryOp(+)\n"
         "    Variable($a)\n"
         "    Literal(1)\n"
         "  Literal(2)\n",
         "", 0},
        {{"ast", "(//cbc:ID)[1]"},
         "FilteredPath(chained)\n"
         "  base filter:\n"
         "    Path(\"//cbc:ID\")  additional predicate:\n"
         "    Literal(1)\n",
         "", 0},
        {{"ast", "1 2"}, "Literal(1)\n", "", 0},
        {{"ast", ")"}, "", "Failed to parse XPath expression\n", 1},
        {{"ast", ""}, "", "Failed to parse XPath expression\n", 1},
    });
}

TEST(TokensAndAstCommands, BadUsage) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"tokens"}, {"ast"}, {"tokens", "a", "b"}, {"ast", "--bogus", "1"}}) {
        std::string command;
        for (const auto& argument : arguments) command += argument + " ";
        SCOPED_TRACE(command);
        auto result = testing::runCli(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_FALSE(result.err.empty());
    }
}

}  // namespace
}  // namespace quillmark
