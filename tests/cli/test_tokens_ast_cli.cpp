// `quillmark tokens` and `quillmark ast`: stdout, stderr and exit status together.

#include <gtest/gtest.h>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::expectCliRuns;

TEST(TokensCommand, PrintsOneTokenPerLine) {
    expectCliRuns({
        {{"tokens", "count(//cac:InvoiceLine) >= 1"},
         "<IDENT: count>\n<(: (>\n<//: //>\n<IDENT: cac>\n<:: :>\n<IDENT: InvoiceLine>\n<): )>\n<>=: >=>\n<NUMBER: 1>\n"
         "<EOF: >\n",
         "", 0},
        {{"tokens", ""}, "<EOF: >\n", "", 0},
        {{"tokens", "--", "-1.50"}, "<NUMBER: -1.5>\n<EOF: >\n", "", 0},
        // Unknown characters are reported on stderr; the command still succeeds.
        {{"tokens", "a # b"}, "<IDENT: a>\n<IDENT: b>\n<EOF: >\n", "Unknown character: # (0x0023)\n", 0},
    });
}

TEST(AstCommand, PrintsTheTreeDump) {
    expectCliRuns({
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
    testing::expectUsageErrors({{"tokens"}, {"ast"}, {"tokens", "a", "b"}, {"ast", "--bogus", "1"}});
}

}  // namespace
}  // namespace quillmark
