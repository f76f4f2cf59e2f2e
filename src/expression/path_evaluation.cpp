// Location paths: ordinary paths are handed to XPath 1.0 as text (prefixes rewritten);
// predicates in the expression language, steps applied to every node of a set, and the
// explicit axes are evaluated here.

#include <cmath>

#include "quillmark/evaluator.h"

namespace quillmark {
namespace {

// Attributes and text nodes of a relative path become their string values.
Value relativeItem(xml::Node node) {
    switch (node.kind()) {
        case xml::NodeKind::Attribute:
        case xml::NodeKind::Text: return Value::string(node.stringValue().value_or(""));
        case xml::NodeKind::Invalid:
        case xml::NodeKind::Document:
        case xml::NodeKind::Element:
        case xml::NodeKind::Namespace:
        case xml::NodeKind::ProcessingInstruction:
        case xml::NodeKind::Comment:
        case xml::NodeKind::DTD: return Value::node(node);
    }
    return Value::node(node);
}

// A number alone in a predicate is a position unless it is a truth value.
bool predicateKeeps(const Value& result, size_t position) {
    if (result.isBoolean()) return result.asBoolean();
    if (result.isNumber()) {
        double number = result.numberValue();
        if (!std::isfinite(number)) return false;
        return std::trunc(number) == static_cast<double>(position);
    }
    return QMXPath2Evaluator::toBoolean(result);
}

// The part of a qualified name after its last colon.
std::string_view localPart(std::string_view name) {
    size_t colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

}  // namespace

Value QMXPath2Evaluator::evaluatePath(const std::string& path) {
    if (path == ".") {
        if (!_contextItem.isAbsent()) return _contextItem;
        if (_contextNode) return Value::sequence({Value::node(_contextNode)});
        return Value::emptySequence();
    }
    if (!_contextNode) return Value::emptySequence();
    auto nodes = nodesForXPath(_contextNode, rewriteNamespacePrefixes(path));
    if (nodes.empty()) return Value::emptySequence();
    Sequence items;
    items.reserve(nodes.size());
    for (xml::Node node : nodes) items.push_back(relativeItem(node));
    return Value::sequence(std::move(items));
}

Value QMXPath2Evaluator::evaluateAbsolutePath(const std::string& path) {
    if (!_contextNode) return Value::emptySequence();
    xml::Node root = _contextNode;
    while (xml::Node parent = root.parent()) root = parent;
    auto nodes = nodesForXPath(root, rewriteNamespacePrefixes(path));
    if (nodes.empty()) return Value::emptySequence();
    Sequence items;
    items.reserve(nodes.size());
    for (xml::Node node : nodes) items.push_back(Value::node(node));
    return Value::sequence(std::move(items));
}

Sequence QMXPath2Evaluator::filterNodes(const Sequence& items, const QMXPExprNode* predicate) {
    const int64_t savedSize = _contextSize;
    _contextSize = static_cast<int64_t>(items.size());
    Sequence kept;
    for (size_t index = 0; index < items.size() && chargeSteps(); ++index) {
        const Value& item = items[index];
        xml::Node savedNode = _contextNode;
        Value savedItem = std::move(_contextItem);
        if (item.isNode()) _contextNode = item.asNode();
        _contextItem = item;
        Value result = predicate ? predicate->evaluateWithContext(*this) : Value::absent();
        _contextNode = savedNode;
        _contextItem = std::move(savedItem);
        if (predicateKeeps(result, index + 1)) kept.push_back(item);
    }
    _contextSize = savedSize;
    return kept;
}

Value QMXPPathNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const { return evaluator.evaluatePath(path); }

namespace {

// Evaluates `step` from every node of `items` and splices the results together;
// items that are not nodes are dropped.
template <typename Step>
Sequence spliceFromEachNode(QMXPath2Evaluator& evaluator, const Sequence& items, Step&& step) {
    Sequence collected;
    for (const Value& item : items) {
        if (!evaluator.chargeSteps()) break;
        if (!item.isNode()) continue;
        QMXPath2Evaluator::flattenIntoArray(collected, evaluator.withContextNode(item.asNode(), step));
    }
    return collected;
}

}  // namespace

Value QMXPFilteredPathNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    Value base = previousFilter ? previousFilter->evaluateWithContext(evaluator) : evaluator.evaluatePath(basePath);
    Sequence current = evaluator.filterNodes(QMXPath2Evaluator::normalizeToArray(base), predicate.get());
    if (nextStep) {
        current = spliceFromEachNode(evaluator, current, [&] { return nextStep->evaluateWithContext(evaluator); });
    }
    if (childPath) {
        current = spliceFromEachNode(evaluator, current, [&] { return evaluator.evaluatePath(*childPath); });
    }
    if (!functionName) return Value::sequence(std::move(current));

    // A function step keeps one item per node and unwraps a single result.
    Sequence results;
    for (const Value& item : current) {
        if (!evaluator.chargeSteps()) break;
        if (!item.isNode()) continue;
        Value result = evaluator.withContextNode(item.asNode(), [&] {
            return evaluator.evaluateFunction(*functionName, evaluator.evaluateArguments(functionArgs));
        });
        if (!result.isAbsent()) results.push_back(std::move(result));
    }
    if (results.size() == 1) return results.front();
    return Value::sequence(std::move(results));
}

Value QMXPPathWithFunctionNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    if (!functionName && !functionArgs.empty()) {
        // A step applied to the value of an expression: `$line/@id`, `$line/cbc:ID`.
        Value first = functionArgs[0] ? functionArgs[0]->evaluateWithContext(evaluator) : Value::absent();
        Sequence items = QMXPath2Evaluator::normalizeToArray(first);
        if (!basePath.empty()) {
            return Value::sequence(spliceFromEachNode(evaluator, items, [&] { return evaluator.evaluatePath(basePath); }));
        }
        if (functionArgs.size() == 1) return Value::sequence(std::move(items));
        const QMXPExprNodePtr& step = functionArgs[1];
        return Value::sequence(spliceFromEachNode(
            evaluator, items, [&] { return step ? step->evaluateWithContext(evaluator) : Value::absent(); }));
    }

    const std::string name = functionName.value_or("");
    auto call = [&] { return evaluator.evaluateFunction(name, evaluator.evaluateArguments(functionArgs)); };
    if (basePath.empty()) {
        Value result = call();
        return result.isAbsent() ? Value::emptySequence() : result;
    }
    Sequence nodes = QMXPath2Evaluator::normalizeToArray(evaluator.evaluatePath(basePath));
    return Value::sequence(spliceFromEachNode(evaluator, nodes, call));
}

Value QMXPAxisNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    const std::string_view nameTest = localPart(elementName);
    auto matches = [&](xml::Node node) { return localPart(node.name()) == nameTest; };
    xml::Node context = evaluator.getContextNode();
    Sequence selected;
    if (context && axis == "ancestor") {
        for (xml::Node node = context.parent(); node; node = node.parent())
            if (node.isElement() && matches(node)) selected.push_back(Value::node(node));
    } else if (context && axis == "parent") {
        xml::Node parent = context.parent();
        if (parent && parent.isElement() && matches(parent)) selected.push_back(Value::node(parent));
    } else if (context && axis == "self") {
        if (matches(context)) selected.push_back(Value::node(context));
    }
    for (const auto& predicate : predicates) selected = evaluator.filterNodes(selected, predicate.get());
    return Value::sequence(std::move(selected));
}

}  // namespace quillmark
