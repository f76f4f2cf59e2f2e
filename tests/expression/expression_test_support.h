#pragma once
// Shared by the expression tests: a one-line typed rendering of values ("integer 1",
// "string \"a\"", "sequence(double 2, element cac:Line)") so that kind and tag are
// checked together; expected tree dumps; builders of hand-made trees; the tree and
// left-over token the parser gives for an expression; and a small invoice with an
// evaluator bound to it.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quillmark/evaluator.h"
#include "quillmark/xml.h"

namespace quillmark::testing {

inline std::string typed(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::Absent: return "absent";
        case Value::Kind::Null: return "null";
        case Value::Kind::String: return "string \"" + value.asString() + "\"";
        case Value::Kind::Boolean: return value.asBoolean() ? "boolean true" : "boolean false";
        case Value::Kind::Integer: return "integer " + std::to_string(value.asInteger());
        case Value::Kind::Double: return "double " + formatNumber(value.asDouble());
        case Value::Kind::Node: {
            const xml::Node node = value.asNode();
            if (node.kind() == xml::NodeKind::Document) return "document";
            return (node.kind() == xml::NodeKind::Attribute ? "attribute " : "element ") + node.name();
        }
        case Value::Kind::Sequence: {
            std::string text = "sequence(";
            for (size_t i = 0; i < value.items().size(); ++i) text += (i ? ", " : "") + typed(value.items()[i]);
            return text + ")";
        }
    }
    return "?";
}

// The text of each item, as the evaluator converts it.
inline std::vector<std::string> texts(const Value& value) {
    std::vector<std::string> out;
    for (const Value& item : QMXPath2Evaluator::normalizeToArray(value)) out.push_back(QMXPath2Evaluator::toString(item));
    return out;
}

// Expected dumps are written out as the trees they show; this drops the line break
// after the opening R"( so that they can start on a line of their own.
inline std::string tree(const char* text) {
    std::string dump = text;
    if (!dump.empty() && dump.front() == '\n') dump.erase(0, 1);
    return dump;
}

inline QMXPExprNodePtr literal(Value value) {
    auto node = std::make_unique<QMXPLiteralNode>();
    node->value = std::move(value);
    return node;
}

inline QMXPExprNodePtr path(const std::string& text) {
    auto node = std::make_unique<QMXPPathNode>();
    node->path = text;
    return node;
}

inline QMXPExprNodePtr variable(const std::string& name) {
    auto node = std::make_unique<QMXPVariableNode>();
    node->name = name;
    return node;
}

inline QMXPExprNodePtr binary(int64_t op, QMXPExprNodePtr left, QMXPExprNodePtr right) {
    auto node = std::make_unique<QMXPBinaryOpNode>();
    node->op = op;
    node->left = std::move(left);
    node->right = std::move(right);
    return node;
}

inline const char* const kNoTree = "<no tree>";

struct Parsed {
    QMXPExprNodePtr root;
    std::string dump;  // kNoTree when the parse gave no node
    std::string next;  // description of the first token left over
};

inline Parsed parse(QMXPath2Evaluator& parser, const std::string& expression) {
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

// Parses each expression without a context node: nothing may be evaluated while parsing.
inline void expectTrees(const std::vector<TreeCase>& cases) {
    QMXPath2Evaluator parser;
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.expression);
        Parsed parsed = parse(parser, testCase.expression);
        EXPECT_EQ(parsed.dump, testCase.dump);
        EXPECT_EQ(parsed.next, testCase.next) << "first token left over";
        EXPECT_FALSE(parser.parseEvaluatedContext());
    }
}

inline constexpr const char* kSmallInvoice =
    R"(<Invoice xmlns:cac="urn:example:aggregate" xmlns:cbc="urn:example:basic">
  <cbc:ID>INV-1</cbc:ID>
  <cac:Line><cbc:Amount currency="EUR">10.50</cbc:Amount></cac:Line>
  <cac:Line><cbc:Amount currency="EUR">2</cbc:Amount></cac:Line>
  <cac:Line><cbc:Amount currency="USD">n/a</cbc:Amount></cac:Line>
  <Note>  first
     second  </Note>
  <Mixed>a<Empty/>c</Mixed>
</Invoice>)";

// An evaluator over kSmallInvoice with the prefixes cac and cbc declared.
class FunctionTest : public ::testing::Test {
protected:
    void SetUp() override {
        Error error;
        document = xml::Document::parse(kSmallInvoice, &error);
        ASSERT_TRUE(document) << error.message();
    }

    // Evaluates with the root element as context node unless told otherwise.
    Value eval(const std::string& expression) { return evaluator.evaluate(expression, root()); }
    std::string typedEval(const std::string& expression) { return typed(eval(expression)); }
    std::string typedAt(const std::string& expression, xml::Node context) {
        return typed(evaluator.evaluate(expression, context));
    }

    xml::Node root() const { return document->rootElement(); }
    // The first node that the XPath 1.0 text selects from the root element.
    xml::Node select(const std::string& xpath) const {
        auto nodes = root().nodesForXPath(xpath);
        return nodes.empty() ? xml::Node() : nodes.front();
    }

    struct Case {
        std::string expression;
        std::string expected;
    };
    void expectAll(const std::vector<Case>& cases) {
        for (const Case& c : cases) EXPECT_EQ(typedEval(c.expression), c.expected) << c.expression;
    }

    std::shared_ptr<xml::Document> document;
    QMXPath2Evaluator evaluator{{{"cac", "urn:example:aggregate"}, {"cbc", "urn:example:basic"}}};
};

}  // namespace quillmark::testing
