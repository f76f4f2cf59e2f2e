// The path parser: which location paths stay XPath 1.0 text and which become tree
// nodes, and the two absolute forms that are evaluated while parsing (group steps
// and a function step at the end of an absolute path).

#include <gtest/gtest.h>

#include <memory>
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

struct PathCase {
    std::string expression;
    std::string dump;
    std::string next = "<EOF: >";  // the first token left over
};

void expectTrees(const std::vector<PathCase>& cases) {
    QMXPath2Evaluator parser;
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.expression);
        parser.setTokens(tokenize(testCase.expression));
        auto root = parser.parseUnionNode();
        ASSERT_TRUE(root);
        EXPECT_EQ(root->description(), testCase.dump);
        EXPECT_EQ(parser.peek().description(), testCase.next) << "first token left over";
        EXPECT_FALSE(parser.parseEvaluatedContext());
    }
}

TEST(PathParser, AbsolutePathsStayText) {
    expectTrees({
        {"/Invoice/cac:AccountingSupplierParty/cac:Party", R"(Path("/Invoice/cac:AccountingSupplierParty/cac:Party"))"},
        {"//cbc:ID", R"(Path("//cbc:ID"))"},
        {"/", R"(Path("/"))"},
        {"//*", R"(Path("//*"))"},
        {"/*/cac:InvoiceLine/*", R"(Path("/*/cac:InvoiceLine/*"))"},
        {"/Invoice/@id", R"(Path("/Invoice/@id"))"},
        // Predicates on later steps without variables are copied, strings re-quoted.
        {R"(/Invoice/cac:InvoiceLine[cbc:ID="1"]/cbc:Note)", R"(Path("/Invoice/cac:InvoiceLine[cbc:ID='1']/cbc:Note"))"},
        {"/a/b[position()=1][2]", R"(Path("/a/b[position()=1][2]"))"},
        {"/a/b[c[@d='x']]/e", R"(Path("/a/b[c[@d='x']]/e"))"},
        {"/a/b[count(c) > 1]", R"(Path("/a/b[count(c)>1]"))"},
        // Tokens are joined without spaces, so keyword operators run together.
        {"/a/b[x and y]", R"(Path("/a/b[xandy]"))"},
        {R"(/a/b[c="it's"])", R"(Path("/a/b[c='it's']"))"},
        // The variable test looks at the first predicate only.
        {"/a/b[1][$x]", R"(Path("/a/b[1][$x]"))"},
        {"/a/b[1", R"(Path("/a/b[1]"))"},
        // Where an absolute path ends, the rest is left to the enclosing parse.
        {"/@id", R"(Path("/"))", "<@: @>"},
        {"/a/@xml:lang", R"(Path("/a/@xml"))", "<:: :>"},
        {"/a/./b", R"(Path("/a"))", "<.: .>"},
        {"/a//b", R"(Path("/a"))", "<//: //>"},
        {"/a/", R"(Path("/a"))"},
        {"/a = /b", tree(R"(
BinaryOp(=)
  Path("/a")
  Path("/b"))")},
    });
}

TEST(PathParser, AbsolutePathPredicatesAsNodes) {
    expectTrees({
        // The first step's predicates always become nodes.
        {"/Invoice[1]", tree(R"(
FilteredPath("/Invoice")
  predicate:
    Literal(1))")},
        {"//cac:InvoiceLine[cbc:ID=$id]/cbc:Note", tree(R"(
FilteredPath("//cac:InvoiceLine")
  predicate:
    BinaryOp(=)
      Path("cbc:ID")
      Variable($id)  nextStep:
    Path("cbc:Note"))")},
        {"//a[1][2]/@id", tree(R"(
FilteredPath(chained)
  base filter:
    FilteredPath("//a")
      predicate:
        Literal(1)  additional predicate:
    Literal(2)  nextStep:
    Path("@"))"),
         "<IDENT: id>"},
        {"/a[1]/", tree(R"(
FilteredPath("/a")
  predicate:
    Literal(1))")},
        {"/a[1", tree(R"(
FilteredPath("/a")
  predicate:
    Literal(1))")},
        // Later steps: nodes only when the first predicate refers to a variable; the
        // step after them becomes the next step.
        {"/a/b[$x]/c", tree(R"(
FilteredPath("/a/b")
  predicate:
    Variable($x)  nextStep:
    Path("c"))")},
        {"/a/b[c = $x][2]", tree(R"(
FilteredPath(chained)
  base filter:
    FilteredPath("/a/b")
      predicate:
        BinaryOp(=)
          Path("c")
          Variable($x)  additional predicate:
    Literal(2))")},
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
        {"cac:Item/@id", R"(Path("cac:Item/@id"))"},
        {"a/*/b", R"(Path("a/*/b"))"},
        {"a/.", R"(Path("a/"))", "<.: .>"},
        {"cac:A//cbc:B", R"(Path("cac:A"))", "<//: //>"},
        {"a-b/c_d", R"(Path("a-b/c_d"))"},
        // First-step predicates are nodes, with the rest of the path as next step.
        {"cac:InvoiceLine[1]/cbc:Note", tree(R"(
FilteredPath("cac:InvoiceLine")
  predicate:
    Literal(1)  nextStep:
    Path("cbc:Note"))")},
        {"cac:InvoiceLine[cbc:ID=$id]/cbc:Note", tree(R"(
FilteredPath("cac:InvoiceLine")
  predicate:
    BinaryOp(=)
      Path("cbc:ID")
      Variable($id)  nextStep:
    Path("cbc:Note"))")},
        {"a[1]/b[2]/c", tree(R"(
FilteredPath("a")
  predicate:
    Literal(1)  nextStep:
    FilteredPath("b")
      predicate:
        Literal(2)      nextStep:
        Path("c"))")},
        {"a[1]/..", tree(R"(
FilteredPath("a")
  predicate:
    Literal(1))"),
         "<..: ..>"},
        {"a[1", "Literal([Array count=0])"},
        // Node predicates on a later step end the path there.
        {"cac:A/cac:B[cbc:ID=$id]/cbc:C", tree(R"(
FilteredPath("cac:A/cac:B")
  predicate:
    BinaryOp(=)
      Path("cbc:ID")
      Variable($id))"),
         "</: />"},
    });
}

TEST(PathParser, FunctionSteps) {
    expectTrees({
        {"cac:Item/cbc:Name/string-length()", R"(PathWithFunction("cac:Item/cbc:Name" / string-length))"},
        {"cac:Item/u:check(cbc:Name, 2)", tree(R"(
PathWithFunction("cac:Item" / u:check)
  arg[0]:
    Path("cbc:Name")
  arg[1]:
    Literal(2))")},
        {"a/b[c]/f(.)", tree(R"(
PathWithFunction("a/b[c]" / f)
  arg[0]:
    Path("."))")},
        {"a/@id/f()", R"(PathWithFunction("a/@id" / f))"},
        // Arguments that cannot start are skipped; a stray token ends the list.
        {"a/f(, 1)", tree(R"(
PathWithFunction("a" / f)
  arg[0]:
    Literal(1))")},
        {"a/f(])", R"(PathWithFunction("a" / f))", "<]: ]>"},
        {"a/b[$x]/f()", tree(R"(
FilteredPath("a/b")
  predicate:
    Variable($x))"),
         "</: />"},
        // A call as the first step, optionally filtered.
        {"count(x)[1]", tree(R"(
FilteredPath(chained)
  base filter:
    FunctionCall(count)
      arg[0]:
        Path("x")  additional predicate:
    Literal(1))")},
        {"f()[1", "Literal([Array count=0])"},
    });
}

TEST(PathParser, Axes) {
    expectTrees({
        {"ancestor::cac:InvoiceLine[1]", "Axis(ancestor::cac:InvoiceLine)"},
        {"parent::*", "Axis(parent::*)"},
        {"self::cbc:ID", "Axis(self::cbc:ID)"},
        {"ancestor::cac:X/cbc:Y", "Axis(ancestor::cac:X)", "</: />"},
        {"following::x", "Literal([Array count=0])", "<IDENT: x>"},
        {"child::x", "Literal([Array count=0])", "<IDENT: x>"},
        {"ancestor::x[1", "Literal([Array count=0])"},
    });
    QMXPath2Evaluator parser;
    parser.setTokens(tokenize("ancestor::cac:InvoiceLine[1][cbc:ID = $id]"));
    auto root = parser.parseUnionNode();
    auto* axis = dynamic_cast<QMXPAxisNode*>(root.get());
    ASSERT_NE(axis, nullptr);
    EXPECT_EQ(axis->axis, "ancestor");
    EXPECT_EQ(axis->elementName, "cac:InvoiceLine");
    ASSERT_EQ(axis->predicates.size(), 2u);
    EXPECT_EQ(axis->predicates[0]->description(), "Literal(1)");
}

// ---- Evaluated while parsing ----

const char* kDocument = "<r><i>x</i><i>yy</i><i>zzz</i><j>w</j></r>";

class ParseTimeEvaluation : public ::testing::Test {
protected:
    void SetUp() override {
        Error error;
        document = xml::Document::parse(kDocument, &error);
        ASSERT_TRUE(document) << error.message();
    }

    // Parses with a fresh evaluator and the document's root element as context node.
    std::string dump(const std::string& expression) {
        parser = std::make_unique<QMXPath2Evaluator>();
        parser->setContextNode(document->rootElement());
        parser->setTokens(tokenize(expression));
        root = parser->parseUnionNode();
        return root ? root->description() : "<no tree>";
    }

    // Texts of the items of the literal the parse produced.
    std::vector<std::string> literalTexts() {
        std::vector<std::string> texts;
        auto* literal = dynamic_cast<QMXPLiteralNode*>(root.get());
        if (!literal) return {"<not a literal>"};
        for (const Value& item : literal->value.items()) texts.push_back(QMXPath2Evaluator::toString(item));
        return texts;
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
        {"/(r)", {"xyyzzzw"}},
        {"/(r|none)/i", {"x", "yy", "zzz"}},
        {"//(i|j)", {"x", "yy", "zzz", "w"}},
        // Predicates filter the group itself; after a later step they are not read.
        {"//(i|j)[2]", {"yy"}},
        {"//(i|j)[. = 'w']", {"w"}},
        {"/(r)[1]/j", {"w"}},
        {"/(r)/i[2]", {"x", "yy", "zzz"}, "<[: [>"},
        {"/(none)/i", {}},
        // A function step runs once for each node, each time from the call's start;
        // a name step after it finds no nodes to start from.
        {"/(r)/i/string-length(.)", {"1", "2", "3"}},
        {"/(r)/i/string-length(.)/x", {}},
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
    EXPECT_EQ(dump("/(r)/i/string-length(.) = 2"), tree(R"(
BinaryOp(=)
  Literal([Array count=3])
  Literal(2))"));
    EXPECT_EQ(dump("/('a'|\"b\")"), "Literal([Array count=0])");
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
        {"(/r/i/string-length(.), 5)", tree(R"(
Sequence(
  Literal([Array count=1]),
  Literal(5)
))"),
         {}},
        // Here the second node's call takes `= 1` as its argument (a comparison with
        // a missing left side), and the third node's call finds no arguments.
        {"/r/i/string-length(.) = 1", "Literal([Array count=3])", {}},
        // No node selected: the call is stepped over.
        {"/r/none/string-length(.) = 0", tree(R"(
BinaryOp(=)
  Literal([Array count=0])
  Literal(0))"),
         {}},
        {"/r/i/string-length(.)[1]", tree(R"(
FilteredPath(chained)
  base filter:
    Literal([Array count=1])  additional predicate:
    Literal(1))"),
         {}},
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
    Value lengths = evaluator.evaluate("/r/i/string-length(.)", document->rootElement());
    std::vector<std::string> texts;
    for (const Value& item : lengths.items()) texts.push_back(QMXPath2Evaluator::toString(item));
    EXPECT_EQ(texts, (std::vector<std::string>{"1", "0", "0"}));

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
    EXPECT_EQ(evaluator.dumpAST("/(cac:A|cac:B)/cbc:ID"), "Literal([Array count=0])");
    EXPECT_EQ(evaluator.dumpAST("/Invoice/cbc:ID/string()"), "Literal([Array count=0])");
    EXPECT_EQ(evaluator.dumpAST("//(a|b)[1] = 1"), tree(R"(
BinaryOp(=)
  Literal([Array count=0])
  Literal(1))"));
}

}  // namespace
}  // namespace quillmark
