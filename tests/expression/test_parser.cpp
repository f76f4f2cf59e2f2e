// The expression parser: operator levels, keyword constructs, primaries and the
// forgiving outcomes for malformed input (skipped token, empty-sequence literal, no
// node). Expected trees are written out as dumps.

#include <gtest/gtest.h>

#include <optional>

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

const char* const kEmpty = "Literal([Array count=0])";

TEST(Parser, OperatorLevels) {
    expectTrees({
        // Multiplicative operators bind tighter than additive ones, which bind tighter
        // than comparisons; each level chains to the left.
        {"1 - 2 + 3 * 4 div 5 != 6 <= 7", tree(R"(
BinaryOp(<=)
  BinaryOp(!=)
    BinaryOp(+)
      BinaryOp(-)
        Literal(1)
        Literal(2)
      BinaryOp(div)
        BinaryOp(*)
          Literal(3)
          Literal(4)
        Literal(5)
    Literal(6)
  Literal(7))")},
        // Union binds loosest, looser than `or`; `and` binds tighter than `or`.
        {"a = 1 or b and c | d", tree(R"(
BinaryOp(|)
  BinaryOp(or)
    BinaryOp(=)
      Path("a")
      Literal(1)
    BinaryOp(and)
      Path("b")
      Path("c")
  Path("d"))")},
        // A minus before a digit is part of the number: no operator between them.
        {"5-3", "Literal(5)", "<NUMBER: -3>"},
        {"-1.50", "Literal(-1.5)"},
        // Number text that reads as no number (an overflowing literal) gives 0.
        {"1e999", "Literal(0)"},
        {"'it''s'", R"(Literal("it"))", "<STRING: s>"},
    });
}

TEST(Parser, ParenthesesAndSequences) {
    const std::string oneTwo = "Sequence(\n  Literal(1),\n  Literal(2)\n)";
    expectTrees({
        {"()", kEmpty}, {"(1)", "Literal(1)"}, {"((('x')))", R"(Literal("x"))"},
        {"(a | b, 'c')", "Sequence(\n  BinaryOp(|)\n    Path(\"a\")\n    Path(\"b\"),\n  Literal(\"c\")\n)"},
        // Nothing after the closing parenthesis belongs to a sequence.
        {"(1, 2)[1]", oneTwo, "<[: [>"},
        {"(a | b)/@id", tree(R"(
PathWithFunction("@id" / (null))
  arg[0]:
    BinaryOp(|)
      Path("a")
      Path("b"))")},
        {"(a)[1][last()]/cbc:ID", tree(R"(
PathWithFunction("" / (null))
  arg[0]:
    FilteredPath(chained)
      base filter:
        FilteredPath(chained)
          base filter:
            Path("a")          additional predicate:
            Literal(1)      additional predicate:
        FunctionCall(last)()
  arg[1]:
    Path("cbc:ID"))")},
        {"(a)/", R"(Path("a"))"},
        // Missing closing parenthesis: skipped.
        {"(1", "Literal(1)"}, {"(1, 2", oneTwo}, {"(1,)", "Sequence(\n  Literal(1),\n(null)\n)"},
    });
}

TEST(Parser, Conditionals) {
    const std::string expected = tree(R"(
IfThenElse
  condition:
    Variable($x)
  then:
    Literal("a")
  else:
    Literal("b"))");
    expectTrees({
        {"if ($x) then 'a' else 'b'", expected},
        {"if $x then 'a' else 'b'", expected},
        // then, else and the parentheses are skipped when missing.
        {"if ($x 'a' 'b'", expected},
        {"if ($x) then 'a'", "IfThenElse\n  condition:\n    Variable($x)\n  then:\n    Literal(\"a\")\n  else:\n(null)"},
        // A bare union ends a branch.
        {"if (a) then b | c else d", tree(R"(
BinaryOp(|)
  IfThenElse
    condition:
      Path("a")
    then:
      Path("b")
    else:
(null)
  Path("c"))"), "<ELSE: else>"},
    });
}

TEST(Parser, QuantifiedAndForExpressions) {
    expectTrees({
        {"every $line in cac:InvoiceLine satisfies $line/cbc:ID", tree(R"(
QuantifiedExpr(every $line in)
  in:
    Path("cac:InvoiceLine")
  satisfies:
    PathWithFunction("" / (null))
      arg[0]:
        Variable($line)
      arg[1]:
        Path("cbc:ID"))")},
        {"for $i in (1, 2) return $i * 2", tree(R"(
ForExpr(for $i in)
  in:
    Sequence(
      Literal(1),
      Literal(2)
    )
  return:
    BinaryOp(*)
      Variable($i)
      Literal(2))")},
        // A missing required token stops the construct at that point.
        {"some x in y satisfies z", kEmpty, "<IDENT: x>"},
        {"some $in in y satisfies z", kEmpty, "<UNKNOWN: in>"},
        {"some $x of y satisfies z", kEmpty, "<IDENT: of>"},
        {"every $x in y", kEmpty},
        {"some $a in X, $b in Y satisfies 1", kEmpty, "<,: ,>"},
        {"for $i in x", kEmpty},
        {"for $i in x satisfies y", kEmpty, "<UNKNOWN: satisfies>"},
    });
    QMXPath2Evaluator parser;
    for (const auto& [expression, code] : {std::pair{"every $x in a satisfies b", 31}, {"some $x in a satisfies b", 32}}) {
        auto root = parse(parser, expression).root;
        auto* quantified = dynamic_cast<QMXPQuantifiedExprNode*>(root.get());
        ASSERT_NE(quantified, nullptr);
        EXPECT_EQ(quantified->quantifier, code);
    }
}

TEST(Parser, FunctionCalls) {
    expectTrees({
        {"true()", "FunctionCall(true)()"},
        {"xs:decimal(1)", "FunctionCall(xs:decimal)\n  arg[0]:\n    Literal(1)"},
        // Commas between arguments are optional.
        {"concat('a' 'b')", "FunctionCall(concat)\n  arg[0]:\n    Literal(\"a\")\n  arg[1]:\n    Literal(\"b\")"},
        {"concat('a', ", "FunctionCall(concat)\n  arg[0]:\n    Literal(\"a\")"},
        {"count(", "FunctionCall(count)()"},
        // Arguments are single expressions: a bare union cannot continue them, so the
        // call is abandoned and the union is taken by the enclosing parse.
        {"f(a | b)", "BinaryOp(|)\n  Literal([Array count=0])\n  Path(\"b\")", "<): )>"},
        {"f((a | b))", "FunctionCall(f)\n  arg[0]:\n    BinaryOp(|)\n      Path(\"a\")\n      Path(\"b\")"},
        {"f(if (a) then b else c, some $x in y satisfies z)", tree(R"(
FunctionCall(f)
  arg[0]:
    IfThenElse
      condition:
        Path("a")
      then:
        Path("b")
      else:
        Path("c")
  arg[1]:
    QuantifiedExpr(some $x in)
      in:
        Path("y")
      satisfies:
        Path("z"))")},
        // An argument that cannot start abandons the call, and the calls around it.
        {"f(,)", kEmpty, "<,: ,>"},
        {"not(f(]))", kEmpty, "<]: ]>"},
        // A comparison takes missing operands as null children, so `=` is an argument.
        {"f(=)", "FunctionCall(f)\n  arg[0]:\n    BinaryOp(=)\n(null)\n(null)"},
        {"count(x)/y", "FunctionCall(count)\n  arg[0]:\n    Path(\"x\")", "</: />"},
    });
}

TEST(Parser, VariablesAndShortPaths) {
    expectTrees({
        {"$x", "Variable($x)"}, {"$x/", "Variable($x)"},
        {"$x/@id", "PathWithFunction(\"@id\" / (null))\n  arg[0]:\n    Variable($x)"},
        {"$x/..", "Variable($x)", "<..: ..>"}, {"$x[1]", "Variable($x)", "<[: [>"},
        // Whatever follows the dollar names the variable.
        {"$if", "Variable($if)"}, {"$1", "Variable($1)"}, {"$", "Variable($)"},
        {".", R"(Path("."))"}, {"./@currencyID", R"(Path("./@currencyID"))"},
        {"./cac:Party/cbc:Name", R"(Path("./cac:Party/cbc:Name"))"}, {"./.", R"(Path("./"))", "<.: .>"},
        {".[$x][2]/cbc:ID", tree(R"(
FilteredPath(chained)
  base filter:
    FilteredPath(".")
      predicate:
        Variable($x)  additional predicate:
    Literal(2)  nextStep:
    Path("cbc:ID"))")},
        {".[1]/..", "FilteredPath(\".\")\n  predicate:\n    Literal(1)", "<..: ..>"},
        {".[1", kEmpty},
        {"..", R"(Path(".."))"}, {"../../@id", R"(Path("../../@id"))"}, {"../cac:A/cbc:B", R"(Path("../cac:A/cbc:B"))"},
        {"../u:f(1)", "PathWithFunction(\"..\" / u:f)\n  arg[0]:\n    Literal(1)"},
        {"../../u:slack()", R"(PathWithFunction("../.." / u:slack))"},
        // Only a prefixed name is taken for a function here.
        {"../f(1)", R"(Path("../f"))", "<(: (>"},
        {"../cac:X[1]/cbc:ID", "FilteredPath(\"../cac:X\")\n  predicate:\n    Literal(1)  childPath: cbc:ID\n"},
        {"../cac:X[1][2]/normalize-space(., 'x')", tree(R"(
FilteredPath(chained)
  base filter:
    FilteredPath("../cac:X")
      predicate:
        Literal(1)  additional predicate:
    Literal(2)  function: normalize-space
)")},
        {"../x[1]/@id", "FilteredPath(\"../x\")\n  predicate:\n    Literal(1)", "</: />"},
        {"@currencyID", R"(Path("@currencyID"))"}, {"@xml:lang", R"(Path("@xml"))", "<:: :>"}, {"*", R"(Path("*"))"},
    });
}

TEST(Parser, ParentPathFunctionStepKeepsItsArguments) {
    QMXPath2Evaluator parser;
    auto parsed = parse(parser, "../cac:X[1]/f(1, , 2)");
    auto* filter = dynamic_cast<QMXPFilteredPathNode*>(parsed.root.get());
    ASSERT_NE(filter, nullptr);
    EXPECT_EQ(filter->functionName, "f");
    ASSERT_EQ(filter->functionArgs.size(), 2u);
    EXPECT_EQ(filter->functionArgs[0]->description(), "Literal(1)");
    EXPECT_EQ(filter->functionArgs[1]->description(), "Literal(2)");
    EXPECT_EQ(parsed.next, "<EOF: >");
}

TEST(Parser, PrimariesThatCannotStart) {
    expectTrees({
        {")", kNoTree, "<): )>"}, {"", kNoTree}, {"then", kNoTree, "<THEN: then>"},
        {"return 1", kNoTree, "<UNKNOWN: return>"},
        // A missing operand stays a null child.
        {"- 1", "BinaryOp(-)\n(null)\n  Literal(1)"}, {"a =", "BinaryOp(=)\n  Path(\"a\")\n(null)"},
        {"| a", "BinaryOp(|)\n(null)\n  Path(\"a\")"},
        // Tokens after the top-level expression are ignored.
        {"1 2", "Literal(1)", "<NUMBER: 2>"}, {"a)", R"(Path("a"))", "<): )>"},
    });
}

TEST(Parser, ParseFunctionReadsAnArgumentList) {
    const std::string twoArguments = "FunctionCall(u:f)\n  arg[0]:\n    Literal(1)\n  arg[1]:\n    Literal(2)";
    QMXPath2Evaluator parser;
    parser.setTokens(tokenize("(1 2) + 3"));
    EXPECT_EQ(parser.parseFunction("u:f")->description(), twoArguments);
    EXPECT_EQ(parser.peek().type, QMXPTokenPlus);
    // Without an opening parenthesis the arguments are read from where the cursor is.
    parser.setTokens(tokenize("1 2"));
    EXPECT_EQ(parser.parseFunction("u:f")->description(), twoArguments);
}

TEST(Parser, SkipExpressionStopsAtAnElseOfNoOpenConstruct) {
    // Expression and the index of the token it stops on (the list's length when it
    // walks to the end).
    const std::vector<std::pair<std::string, int64_t>> cases = {
        {"else", 0}, {"a else b", 1}, {"if a then b else c else d", 6}, {"(a else b) else c", 5},
        {"[a else b] else c", 5}, {"if if a else b else c else d", 7}, {"f(x) = 1", 7},
    };
    QMXPath2Evaluator parser;
    for (const auto& [expression, stop] : cases) {
        parser.setTokens(tokenize(expression));
        parser.skipExpression();
        EXPECT_EQ(parser.currentIndex(), stop) << expression;
    }
}

TEST(Parser, DumpReportsAnExpressionWithoutTree) {
    QMXPath2Evaluator evaluator;
    Error error;
    EXPECT_EQ(evaluator.dumpAST(")", &error), std::nullopt);
    EXPECT_EQ(error.domain, "XPath2Evaluator");
    EXPECT_EQ(error.code, 1);
    EXPECT_EQ(error.localizedDescription, "Failed to parse XPath expression");
    EXPECT_EQ(evaluator.dumpAST(")"), std::nullopt);

    Error untouched;
    EXPECT_EQ(evaluator.dumpAST("1 2", &untouched), "Literal(1)");
    EXPECT_FALSE(untouched.isSet());
    EXPECT_TRUE(evaluator.evaluate(")", xml::Node()).isAbsent());
}

}  // namespace
}  // namespace quillmark::testing
