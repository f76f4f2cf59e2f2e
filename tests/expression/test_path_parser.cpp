// The path parser: which location paths stay XPath 1.0 text and which become tree
// nodes, and the two absolute forms that are evaluated while parsing (group steps
// and a function step at the end of an absolute path).

#include <gtest/gtest.h>

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

const char* const kEmpty = "Literal([Array count=0])";
const char* const kFirstPredicate = "  predicate:\n    Literal(1)";

TEST(PathParser, AbsolutePathsStayText) {
    expectTrees({
        {"/Invoice/cac:AccountingSupplierParty/cac:Party", R"(Path("/Invoice/cac:AccountingSupplierParty/cac:Party"))"},
        {"//cbc:ID", R"(Path("//cbc:ID"))"}, {"/", R"(Path("/"))"},
        {"/*/cac:InvoiceLine/*", R"(Path("/*/cac:InvoiceLine/*"))"}, {"/Invoice/@id", R"(Path("/Invoice/@id"))"},
        // Predicates on later steps without variables are copied, strings re-quoted.
        {R"(/Invoice/cac:InvoiceLine[cbc:ID="1"]/cbc:Note)", R"(Path("/Invoice/cac:InvoiceLine[cbc:ID='1']/cbc:Note"))"},
        {"/a/b[position()=1][2]", R"(Path("/a/b[position()=1][2]"))"},
        {"/a/b[c[@d='x']]/e", R"(Path("/a/b[c[@d='x']]/e"))"},
        // Tokens are joined without spaces, so keyword operators run together.
        {"/a/b[count(c) > 1]", R"(Path("/a/b[count(c)>1]"))"}, {"/a/b[x and y]", R"(Path("/a/b[xandy]"))"},
        {R"(/a/b[c="it's"])", R"(Path("/a/b[c='it's']"))"},
        // The variable test looks at the first predicate only.
        {"/a/b[1][$x]", R"(Path("/a/b[1][$x]"))"}, {"/a/b[1", R"(Path("/a/b[1]"))"},
        // Where an absolute path ends, the rest is left to the enclosing parse.
        {"/@id", R"(Path("/"))", "<@: @>"}, {"/a/@xml:lang", R"(Path("/a/@xml"))", "<:: :>"},
        {"/a/./b", R"(Path("/a"))", "<.: .>"}, {"/a//b", R"(Path("/a"))", "<//: //>"}, {"/a/", R"(Path("/a"))"},
        {"/a = /b", "BinaryOp(=)\n  Path(\"/a\")\n  Path(\"/b\")"},
    });
}

TEST(PathParser, AbsolutePathPredicatesAsNodes) {
    const std::string firstStep = std::string("FilteredPath(\"/a\")\n") + kFirstPredicate;
    expectTrees({
        // The first step's predicates always become nodes.
        {"/Invoice[1]", std::string("FilteredPath(\"/Invoice\")\n") + kFirstPredicate},
        {"/a[1]/", firstStep}, {"/a[1", firstStep},
        {"//cac:InvoiceLine[$id]/cbc:Note",
         "FilteredPath(\"//cac:InvoiceLine\")\n  predicate:\n    Variable($id)  nextStep:\n    Path(\"cbc:Note\")"},
        {"//a[1][2]/@id", tree(R"(
FilteredPath(chained)
  base filter:
    FilteredPath("//a")
      predicate:
        Literal(1)  additional predicate:
    Literal(2)  nextStep:
    Path("@"))"), "<IDENT: id>"},
        // Later steps: nodes only when the first predicate refers to a variable; the
        // step after them becomes the next step.
        {"/a/b[$x]/c", "FilteredPath(\"/a/b\")\n  predicate:\n    Variable($x)  nextStep:\n    Path(\"c\")"},
        {"/a/b[$x][2]", tree(R"(
FilteredPath(chained)
  base filter:
    FilteredPath("/a/b")
      predicate:
        Variable($x)  additional predicate:
    Literal(2))")},
        // A variable anywhere inside the first predicate counts.
        {"/a/b[f(c[$x])]", tree(R"(
FilteredPath("/a/b")
  predicate:
    FunctionCall(f)
      arg[0]:
        FilteredPath("c")
          predicate:
            Variable($x))")},
    });
}

TEST(PathParser, RelativePaths) {
    expectTrees({
        {"cbc:ID", R"(Path("cbc:ID"))"},
        {"cac:Party/cac:PartyName/cbc:Name", R"(Path("cac:Party/cac:PartyName/cbc:Name"))"},
        {"cac:TaxTotal/cac:TaxSubtotal[cbc:Percent=19]/cbc:TaxAmount",
         R"(Path("cac:TaxTotal/cac:TaxSubtotal[cbc:Percent=19]/cbc:TaxAmount"))"},
        {"cac:Item/@id", R"(Path("cac:Item/@id"))"}, {"a/*/b", R"(Path("a/*/b"))"},
        {"a/.", R"(Path("a/"))", "<.: .>"}, {"cac:A//cbc:B", R"(Path("cac:A"))", "<//: //>"},
        {"a-b/c_d", R"(Path("a-b/c_d"))"},
        // First-step predicates are nodes, with the rest of the path as next step.
        {"a[1]/b[2]/c", tree(R"(
FilteredPath("a")
  predicate:
    Literal(1)  nextStep:
    FilteredPath("b")
      predicate:
        Literal(2)      nextStep:
        Path("c"))")},
        {"a[1]/..", std::string("FilteredPath(\"a\")\n") + kFirstPredicate, "<..: ..>"},
        {"a[1", kEmpty},
        // Node predicates on a later step end the path there, before a name or a function step.
        {"cac:A/cac:B[$id]/cbc:C", "FilteredPath(\"cac:A/cac:B\")\n  predicate:\n    Variable($id)", "</: />"},
        {"a/b[$x]/f()", "FilteredPath(\"a/b\")\n  predicate:\n    Variable($x)", "</: />"},
    });
}

TEST(PathParser, FunctionSteps) {
    expectTrees({
        {"cac:Item/cbc:Name/string-length()", R"(PathWithFunction("cac:Item/cbc:Name" / string-length))"},
        {"cac:Item/u:check(cbc:Name, 2)",
         "PathWithFunction(\"cac:Item\" / u:check)\n  arg[0]:\n    Path(\"cbc:Name\")\n  arg[1]:\n    Literal(2)"},
        {"a/b[c]/f(.)", "PathWithFunction(\"a/b[c]\" / f)\n  arg[0]:\n    Path(\".\")"},
        {"a/@id/f()", R"(PathWithFunction("a/@id" / f))"},
        // Arguments that cannot start are skipped; a stray token ends the list.
        {"a/f(, 1)", "PathWithFunction(\"a\" / f)\n  arg[0]:\n    Literal(1)"},
        {"a/f(])", R"(PathWithFunction("a" / f))", "<]: ]>"},
        // A call as the first step, optionally filtered.
        {"count(x)[1]", tree(R"(
FilteredPath(chained)
  base filter:
    FunctionCall(count)
      arg[0]:
        Path("x")  additional predicate:
    Literal(1))")},
        {"f()[1", kEmpty},
    });
}

TEST(PathParser, Axes) {
    expectTrees({
        {"ancestor::cac:InvoiceLine[1]", "Axis(ancestor::cac:InvoiceLine)"}, {"parent::*", "Axis(parent::*)"},
        {"self::cbc:ID", "Axis(self::cbc:ID)"}, {"ancestor::cac:X/cbc:Y", "Axis(ancestor::cac:X)", "</: />"},
        {"following::x", kEmpty, "<IDENT: x>"}, {"child::x", kEmpty, "<IDENT: x>"}, {"ancestor::x[1", kEmpty},
    });
    QMXPath2Evaluator parser;
    auto root = parse(parser, "ancestor::cac:InvoiceLine[1][cbc:ID = $id]").root;
    auto* axis = dynamic_cast<QMXPAxisNode*>(root.get());
    ASSERT_NE(axis, nullptr);
    EXPECT_EQ(axis->axis, "ancestor");
    EXPECT_EQ(axis->elementName, "cac:InvoiceLine");
    ASSERT_EQ(axis->predicates.size(), 2u);
    EXPECT_EQ(axis->predicates[0]->description(), "Literal(1)");
}

// ---- Evaluated while parsing ----

class ParseTimeEvaluation : public ::testing::Test {
protected:
    void SetUp() override {
        Error error;
        document = xml::Document::parse("<r><i>x</i><i>yy</i><i>zzz</i><j>w</j></r>", &error);
        ASSERT_TRUE(document) << error.message();
    }

    // Parses with a fresh evaluator and the document's root element as context node.
    std::string dump(const std::string& expression) {
        parser = std::make_unique<QMXPath2Evaluator>();
        parser->setContextNode(document->rootElement());
        parser->setTokens(tokenize(expression));
        root = parser->parseUnionNode();
        return root ? root->description() : kNoTree;
    }

    // Texts of the items of the literal the parse produced.
    std::vector<std::string> literalTexts() {
        auto* literal = dynamic_cast<QMXPLiteralNode*>(root.get());
        return literal ? texts(literal->value) : std::vector<std::string>{"<not a literal>"};
    }

    std::shared_ptr<xml::Document> document;
    std::unique_ptr<QMXPath2Evaluator> parser;
    QMXPExprNodePtr root;
};

TEST_F(ParseTimeEvaluation, GroupStepsSelectAtOnce) {
    struct Case {
        std::string expression;
        std::vector<std::string> texts;
        std::string next = "<EOF: >";
    };
    const std::vector<Case> cases = {
        {"/(r)", {"xyyzzzw"}}, {"/(r|none)/i", {"x", "yy", "zzz"}}, {"//(i|j)", {"x", "yy", "zzz", "w"}},
        // Predicates filter the group itself; after a later step they are not read.
        {"//(i|j)[2]", {"yy"}}, {"//(i|j)[. = 'w']", {"w"}}, {"/(r)[1]/j", {"w"}},
        {"/(r)/i[2]", {"x", "yy", "zzz"}, "<[: [>"}, {"/(none)/i", {}},
        // A function step runs once for each node, each time from the call's start;
        // a name step after it finds no nodes to start from.
        {"/(r)/i/string-length(.)", {"1", "2", "3"}}, {"/(r)/i/string-length(.)/x", {}},
        {"/(r)/@id", {"xyyzzzw"}, "<@: @>"},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.expression);
        dump(testCase.expression);
        EXPECT_EQ(literalTexts(), testCase.texts);
        EXPECT_EQ(parser->peek().description(), testCase.next);
        EXPECT_TRUE(parser->parseEvaluatedContext());
    }
}

TEST_F(ParseTimeEvaluation, GroupStepsLeaveTheRestToTheEnclosingParse) {
    EXPECT_EQ(dump("/(r)/i/string-length(.) = 2"), "BinaryOp(=)\n  Literal([Array count=3])\n  Literal(2)");
    EXPECT_EQ(dump("/('a'|\"b\")"), kEmpty);
}

TEST_F(ParseTimeEvaluation, FunctionStepOnAnAbsolutePath) {
    struct Case {
        std::string expression;
        std::string dump;
        std::vector<std::string> texts;
    };
    const std::vector<Case> cases = {
        // The first node consumes the call; later nodes parse from after it, which at
        // the end of the expression is the same function without arguments.
        {"/r/i/string-length(.)", "Literal([Array count=3])", {"1", "0", "0"}},
        {"/r/j/string-length(.)", "Literal([Array count=1])", {"1"}},
        // Later nodes meet `, 5`, where no argument can start: their calls are
        // abandoned and contribute nothing; the sequence goes on.
        {"(/r/i/string-length(.), 5)", "Sequence(\n  Literal([Array count=1]),\n  Literal(5)\n)", {}},
        // Here the second node's call takes `= 1` as its argument (a comparison with
        // a missing left side), and the third node's call finds no arguments.
        {"/r/i/string-length(.) = 1", "Literal([Array count=3])", {}},
        // No node selected: the call is stepped over.
        {"/r/none/string-length(.) = 0", "BinaryOp(=)\n  Literal([Array count=0])\n  Literal(0)", {}},
        {"/r/i/string-length(.)[1]",
         "FilteredPath(chained)\n  base filter:\n    Literal([Array count=1])  additional predicate:\n    Literal(1)", {}},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.expression);
        EXPECT_EQ(dump(testCase.expression), testCase.dump);
        if (!testCase.texts.empty()) {
            EXPECT_EQ(literalTexts(), testCase.texts);
        }
        EXPECT_TRUE(parser->parseEvaluatedContext());
        EXPECT_EQ(parser->peek().type, QMXPTokenEOF);
    }
}

TEST_F(ParseTimeEvaluation, EvaluationSeesTheParsedValues) {
    QMXPath2Evaluator evaluator;
    EXPECT_EQ(texts(evaluator.evaluate("/r/i/string-length(.)", document->rootElement())),
              (std::vector<std::string>{"1", "0", "0"}));
    EXPECT_EQ(QMXPath2Evaluator::toString(evaluator.evaluate("//(i|j)[3]", document->rootElement())), "zzz");
}

TEST_F(ParseTimeEvaluation, RuleSetFunctionsParsedMeanwhileDoNotCountTowardsTheEnclosingParse) {
    // The body selects at parse time, so it is parsed afresh at every call; each parse
    // builds a long chain of additions.
    std::string body = "count(/(r)/i)";
    for (int i = 0; i < 300; ++i) body += " + 1";
    QMXPath2Evaluator evaluator;
    evaluator.registerFunction("u:f", {}, body, {});
    evaluator.setContextNode(document->rootElement());
    evaluator.setTokens(tokenize("/r/i/u:f()"));
    root = evaluator.parseUnionNode();
    EXPECT_EQ(literalTexts(), (std::vector<std::string>{"303", "303", "303"}));
}

TEST(ParseTimeEvaluationWithoutContext, DumpsShowEmptyLists) {
    QMXPath2Evaluator evaluator;
    EXPECT_EQ(evaluator.dumpAST("/(cac:A|cac:B)/cbc:ID"), kEmpty);
    EXPECT_EQ(evaluator.dumpAST("/Invoice/cbc:ID/string()"), kEmpty);
    EXPECT_EQ(evaluator.dumpAST("//(a|b)[1] = 1"), "BinaryOp(=)\n  Literal([Array count=0])\n  Literal(1)");
}

}  // namespace
}  // namespace quillmark::testing
