// Functions over sequences and the context: counting, emptiness, order, text().

#include <algorithm>

#include "builtin_functions.h"

namespace quillmark::functions {
namespace {

// Anything that is not a sequence counts as one item.
int64_t itemCount(const Value& value) {
    return value.isSequence() ? static_cast<int64_t>(value.items().size()) : 1;
}

bool isNothing(const Value& value) {
    return value.isAbsent() || value.isNull() || (value.isSequence() && value.items().empty());
}

Value count(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::integer(0);
    return Value::integer(itemCount(arguments[0]));
}

// last(): the size of the sequence the enclosing predicate filters.
Value last(QMXPath2Evaluator& evaluator, const Sequence& arguments) {
    if (arguments.empty()) return Value::integer(evaluator.contextSize());
    return Value::integer(itemCount(arguments[0]));
}

// empty() and exists() answer with integers when given an argument, with booleans
// when not; rule sets only test their truth, but the text differs ("1" / "true").
Value empty(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::boolean(true);
    return Value::integer(isNothing(arguments[0]) ? 1 : 0);
}

Value exists(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::boolean(false);
    return Value::integer(isNothing(arguments[0]) ? 0 : 1);
}

Value reverse(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::emptySequence();
    if (!arguments[0].isSequence()) return Value::sequence({arguments[0]});
    Sequence items = arguments[0].items();
    std::reverse(items.begin(), items.end());
    return Value::sequence(std::move(items));
}

// text(): the texts of the context node's text children; arguments are ignored.
Value text(QMXPath2Evaluator& evaluator, const Sequence&) {
    xml::Node context = evaluator.getContextNode();
    if (!context) return Value::emptySequence();
    bool failed = false;
    const std::vector<xml::Node> nodes = evaluator.nodesForXPath(context, "text()", &failed);
    if (failed || nodes.empty()) return Value::emptySequence();
    Sequence texts;
    texts.reserve(nodes.size());
    for (const xml::Node& node : nodes) texts.push_back(Value::string(node.stringValue().value_or("")));
    return Value::sequence(std::move(texts));
}

}  // namespace

std::vector<BuiltinEntry> sequenceFunctions() {
    return {
        {"count", count},   {"last", last},       {"empty", empty},
        {"exists", exists}, {"reverse", reverse}, {"text", text},
    };
}

}  // namespace quillmark::functions
