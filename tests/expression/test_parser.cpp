// The expression parser: operator levels, keyword constructs, primaries and the
// forgiving outcomes for malformed input (skipped token, empty-sequence literal, no
// node). Expected trees are written out as dumps.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "quillmark/evaluator.h"

namespace quillmark {
namespace {

std::string tree(const char* text) {
    std::string dump = text;
    if (!dump.empty() && dump.front() == '\n') dump.erase(0, 1);
    return dump;
}

const char* const kNoTree = "<no tree>";

struct Parsed {
    QMXPExprNodePtr root;
    std::string dump;
    std::string next;  // description of the first token left over
};

Parsed parse(QMXPath2Evaluator& parser, const std::string& expression) {
    parser.setTokens(tokenize(expression));
    Parsed parsed;
    parsed.root = parser.parseUnionNode();
    parsed.dump = parsed.root ? parsed.root->description() : kNoTree;
    parsed.next = parser.peek().description();
    return parsed;
}

struct TreeCase {
    std::string expression;
    std::string dump;
    std::string next = "<EOF: >";
};

void expectTrees(const std::vector<TreeCase>& cases) {
    QMXPath2Evaluator parser;
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.expression);
        Parsed parsed = parse(parser, testCase.expression);
        EXPECT_EQ(parsed.dump, testCase.dump);
        EXPECT_EQ(parsed.next, testCase.next) << "first token left over";
    }
}

TEST(Parser, OperatorLevels) {
    expectTrees({
        {"1 + 2 * 3", tree(R"(
BinaryOp(+)
  Literal(1)
  BinaryOp(*)
    Literal(2)
    Literal(3))")},
        {"8 div 2 div 2", tree(R"(
BinaryOp(div)
  BinaryOp(div)
    Literal(8)
    Literal(2)
  Literal(2))")},
        // Union binds loosest, looser than `or`.
        {"a = 1 or b = 2 | c", tree(R"(
BinaryOp(|)
  BinaryOp(or)
    BinaryOp(=)
      Path("a")
      Literal(1)
    BinaryOp(=)
      Path("b")
      Literal(2)
  Path("c"))")},
        {"a and b or c and d", tree(R"(
BinaryOp(or)
  BinaryOp(and)
    Path("a")
    Path("b")
  BinaryOp(and)
    Path("c")
    Path("d"))")},
        // Comparisons chain.
        {"a < b >= c", tree(R"(
BinaryOp(>=)
  BinaryOp(<)
    Path("a")
    Path("b")
  Path("c"))")},
        {"$a + 1 = 2", tree(R"(
BinaryOp(=)
  BinaryOp(+)
    Variable($a)
    Literal(1)
  Literal(2))")},
        {"1 - 2 + 3 != 4 <= 5", tree(R"(
BinaryOp(<=)
  BinaryOp(!=)
    BinaryOp(+)
      BinaryOp(-)
        Literal(1)
        Literal(2)
      Literal(3)
    Literal(4)
  Literal(5))")},
        // A minus before a digit is part of the number: no operator between them.
        {"5-3", "Literal(5)", "<NUMBER: -3>"},
        {"-1.50", "Literal(-1.5)"},
        // Number text that reads as no number (an overflowing literal) gives 0.
        {"1e999", "Literal(0)"},
        {"'it''s'", R"(Literal("it"))", "<STRING: s>"},
    });
}

TEST(Parser, ParenthesesAndSequences) {
    expectTrees({
        {"()", "Literal([Array count=0])"},
        {"(1)", "Literal(1)"},
        {"((('x')))", R"(Literal("x"))"},
        {"(1, 2, 3)", tree(R"(
Sequence(
  Literal(1),
  Literal(2),
  Literal(3)
))")},
        {"(a | b, 'c')", tree(R"(
Sequence(
  BinaryOp(|)
    Path("a")
    Path("b"),
  Literal("c")
))")},
        // Nothing after the closing parenthesis belongs to a sequence.
        {"(1, 2)[1]", tree(R"(
Sequence(
  Literal(1),
  Literal(2)
))"),
         "<[: [>"},
        {"(//cbc:ID)[1]", tree(R"(
FilteredPath(chained)
  base filter:
    Path("//cbc:ID")  additional predicate:
    Literal(1))")},
        {"(a)[1][last()]", tree(R"(
FilteredPath(chained)
  base filter:
    FilteredPath(chained)
      base filter:
        Path("a")      additional predicate:
        Literal(1)  additional predicate:
    FunctionCall(last)())")},
        {"(a | b)/@id", tree(R"(
PathWithFunction("@id" / (null))
  arg[0]:
    BinaryOp(|)
      Path("a")
      Path("b"))")},
        {"(a)[1]/cbc:ID", tree(R"(
PathWithFunction("" / (null))
  arg[0]:
    FilteredPath(chained)
      base filter:
        Path("a")      additional predicate:
        Literal(1)
  arg[1]:
    Path("cbc:ID"))")},
        {"(a)/", R"(Path("a"))"},
        // Missing closing parenthesis: skipped.
        {"(1", "Literal(1)"},
        {"(1, 2", tree(R"(
Sequence(
  Literal(1),
  Literal(2)
))")},
        {"(1,)", tree(R"(
Sequence(
  Literal(1),
(null)
))")},
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
        {"if ($x) then 'a'", tree(R"(
IfThenElse
  condition:
    Variable($x)
  then:
    Literal("a")
  else:
(null))")},
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
  Path("c"))"),
         "<ELSE: else>"},
    });
}

TEST(Parser, QuantifiedAndForExpressions) {
    expectTrees({
        {"some $v in //cbc:Amount satisfies $v > 0", tree(R"(
QuantifiedExpr(some $v in)
  in:
    Path("//cbc:Amount")
  satisfies:
    BinaryOp(>)
      Variable($v)
      Literal(0))")},
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
        {"some x in y satisfies z", "Literal([Array count=0])", "<IDENT: x>"},
        {"some $in in y satisfies z", "Literal([Array count=0])", "<UNKNOWN: in>"},
        {"some $x of y satisfies z", "Literal([Array count=0])", "<IDENT: of>"},
        {"every $x in y", "Literal([Array count=0])"},
        {"some $a in X, $b in Y satisfies 1", "Literal([Array count=0])", "<,: ,>"},
        {"for $i in x", "Literal([Array count=0])"},
        {"for $i in x satisfies y", "Literal([Array count=0])", "<UNKNOWN: satisfies>"},
        {"for i in x return y", "Literal([Array count=0])", "<IDENT: i>"},
    });
    QMXPath2Evaluator parser;
    auto every = parse(parser, "every $x in a satisfies b").root;
    auto some = parse(parser, "some $x in a satisfies b").root;
    ASSERT_NE(dynamic_cast<QMXPQuantifiedExprNode*>(every.get()), nullptr);
    ASSERT_NE(dynamic_cast<QMXPQuantifiedExprNode*>(some.get()), nullptr);
    EXPECT_EQ(dynamic_cast<QMXPQuantifiedExprNode&>(*every).quantifier, 31);
    EXPECT_EQ(dynamic_cast<QMXPQuantifiedExprNode&>(*some).quantifier, 32);
}

TEST(Parser, FunctionCalls) {
    expectTrees({
        {"true()", "FunctionCall(true)()"},
        {"xs:decimal(1)", tree(R"(
FunctionCall(xs:decimal)
  arg[0]:
    Literal(1))")},
        // Commas between arguments are optional.
        {"concat('a' 'b')", tree(R"(
FunctionCall(concat)
  arg[0]:
    Literal("a")
  arg[1]:
    Literal("b"))")},
        {"concat('a', ", tree(R"(
FunctionCall(concat)
  arg[0]:
    Literal("a"))")},
        {"count(", "FunctionCall(count)()"},
        // Arguments are single expressions: a bare union cannot continue them, so the
        // call is abandoned and the union is taken by the enclosing parse.
        {"f(a | b)", tree(R"(
BinaryOp(|)
  Literal([Array count=0])
  Path("b"))"),
         "<): )>"},
        {"f((a | b))", tree(R"(
FunctionCall(f)
  arg[0]:
    BinaryOp(|)
      Path("a")
      Path("b"))")},
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
        // An argument that cannot start abandons the call.
        {"f(,)", "Literal([Array count=0])", "<,: ,>"},
        {"concat('a', ])", "Literal([Array count=0])", "<]: ]>"},
        {"not(f(]))", "Literal([Array count=0])", "<]: ]>"},
        // A comparison takes missing operands as null children, so `=` is an argument.
        {"f(=)", tree(R"(
FunctionCall(f)
  arg[0]:
    BinaryOp(=)
(null)
(null))")},
        {"count(x)/y", tree(R"(
FunctionCall(count)
  arg[0]:
    Path("x"))"),
         "</: />"},
    });
}

TEST(Parser, VariablesAndShortPaths) {
    expectTrees({
        {"$x", "Variable($x)"},
        {"$x/@id", tree(R"(
PathWithFunction("@id" / (null))
  arg[0]:
    Variable($x))")},
        {"$line/cbc:ID", tree(R"(
PathWithFunction("" / (null))
  arg[0]:
    Variable($line)
  arg[1]:
    Path("cbc:ID"))")},
        {"$x/", "Variable($x)"},
        {"$x/..", "Variable($x)", "<..: ..>"},
        {"$x[1]", "Variable($x)", "<[: [>"},
        // Whatever follows the dollar names the variable.
        {"$if", "Variable($if)"},
        {"$1", "Variable($1)"},
        {"$", "Variable($)"},
        {".", R"(Path("."))"},
        {"./cbc:ID", R"(Path("./cbc:ID"))"},
        {"./@currencyID", R"(Path("./@currencyID"))"},
        {"./cac:Party/cbc:Name", R"(Path("./cac:Party/cbc:Name"))"},
        {"./.", R"(Path("./"))", "<.: .>"},
        {".[1]", tree(R"(
FilteredPath(".")
  predicate:
    Literal(1))")},
        {".[. > 0][2]/cbc:ID", tree(R"(
FilteredPath(chained)
  base filter:
    FilteredPath(".")
      predicate:
        BinaryOp(>)
          Path(".")
          Literal(0)  additional predicate:
    Literal(2)  nextStep:
    Path("cbc:ID"))")},
        {".[1]/..", tree(R"(
FilteredPath(".")
  predicate:
    Literal(1))"),
         "<..: ..>"},
        {".[1", "Literal([Array count=0])"},
        {"..", R"(Path(".."))"},
        {"../cbc:ID", R"(Path("../cbc:ID"))"},
        {"../../@id", R"(Path("../../@id"))"},
        {"../cac:A/cbc:B", R"(Path("../cac:A/cbc:B"))"},
        {"../u:f(1)", tree(R"(
PathWithFunction(".." / u:f)
  arg[0]:
    Literal(1))")},
        {"../../u:slack()", R"(PathWithFunction("../.." / u:slack))"},
        // Only a prefixed name is taken for a function here.
        {"../f(1)", R"(Path("../f"))", "<(: (>"},
        {"../cac:X[1]/cbc:ID", tree(R"(
FilteredPath("../cac:X")
  predicate:
    Literal(1)  childPath: cbc:ID
)")},
        {"../cac:X[1][2]/normalize-space(., 'x')", tree(R"(
FilteredPath(chained)
  base filter:
    FilteredPath("../cac:X")
      predicate:
        Literal(1)  additional predicate:
    Literal(2)  function: normalize-space
)")},
        {"../x[1]/@id", tree(R"(
FilteredPath("../x")
  predicate:
    Literal(1))"),
         "</: />"},
        {"@currencyID", R"(Path("@currencyID"))"},
        {"@xml:lang", R"(Path("@xml"))", "<:: :>"},
        {"*", R"(Path("*"))"},
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
        {")", kNoTree, "<): )>"},
        {"", kNoTree},
        {"]", kNoTree, "<]: ]>"},
        {"then", kNoTree, "<THEN: then>"},
        {"return 1", kNoTree, "<UNKNOWN: return>"},
        // A missing operand stays a null child.
        {"- 1", tree(R"(
BinaryOp(-)
(null)
  Literal(1))")},
        {"a =", tree(R"(
BinaryOp(=)
  Path("a")
(null))")},
        {"| a", tree(R"(
BinaryOp(|)
(null)
  Path("a"))")},
        // Tokens after the top-level expression are ignored.
        {"1 2", "Literal(1)", "<NUMBER: 2>"},
        {"a)", R"(Path("a"))", "<): )>"},
    });
}

TEST(Parser, ParseFunctionReadsAnArgumentList) {
    QMXPath2Evaluator parser;
    parser.setTokens(tokenize("(1 2) + 3"));
    auto call = parser.parseFunction("u:f");
    EXPECT_EQ(call->description(), tree(R"(
FunctionCall(u:f)
  arg[0]:
    Literal(1)
  arg[1]:
    Literal(2))"));
    EXPECT_EQ(parser.peek().type, QMXPTokenPlus);

    // Without an opening parenthesis the arguments are read from where the cursor is.
    parser.setTokens(tokenize("'a' 'b'"));
    EXPECT_EQ(parser.parseFunction("concat")->description(), tree(R"(
FunctionCall(concat)
  arg[0]:
    Literal("a")
  arg[1]:
    Literal("b"))"));
}

TEST(Parser, SkipExpressionStopsAtAnElseOfNoOpenConstruct) {
    // Expression and the index of the token it stops on (the list's length when it
    // walks to the end).
    const std::vector<std::pair<std::string, int64_t>> cases = {
        {"else", 0},
        {"a else b", 1},
        {"if a then b else c else d", 6},
        {"(a else b) else c", 5},
        {"[a else b] else c", 5},
        {"if if a else b else c else d", 7},
        {"f(x) = 1", 7},
    };
    QMXPath2Evaluator parser;
    for (const auto& [expression, stop] : cases) {
        SCOPED_TRACE(expression);
        parser.setTokens(tokenize(expression));
        parser.skipExpression();
        EXPECT_EQ(parser.currentIndex(), stop);
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
}  // namespace quillmark
