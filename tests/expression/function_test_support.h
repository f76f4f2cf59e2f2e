#pragma once
// Shared by the function and iteration tests: a small invoice, an evaluator bound to
// it, and a one-line typed rendering of values ("integer 1", "string \"a\"",
// "sequence(double 2, double 4)") so that kind and tag are checked together.

#include <gtest/gtest.h>

#include <memory>
#include <string>

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
        case Value::Kind::Node: return "node " + value.asNode().name();
        case Value::Kind::Sequence: {
            std::string text = "sequence(";
            for (size_t i = 0; i < value.items().size(); ++i) text += (i ? ", " : "") + typed(value.items()[i]);
            return text + ")";
        }
    }
    return "?";
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
    Value evalAt(const std::string& expression, xml::Node context) { return evaluator.evaluate(expression, context); }
    std::string typedEval(const std::string& expression) { return typed(eval(expression)); }

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
