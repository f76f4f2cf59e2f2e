// The iterating expressions: `some`/`every ... satisfies` and `for ... return`.
// Both narrate their work in the trace; lines are only formatted while tracing is on,
// which cannot change a result.

#include <fmt/format.h>

#include "quillmark/evaluator.h"

namespace quillmark {
namespace {

Value evaluateChild(const QMXPExprNodePtr& node, QMXPath2Evaluator& evaluator) {
    return node ? node->evaluateWithContext(evaluator) : Value::absent();
}

// Elements and attributes are bound by their text, so `$v` inside `satisfies` compares
// as a string; every other item is bound as it is.
Value quantifiedBinding(const Value& item) {
    if (!item.isNode()) return item;
    xml::Node node = item.asNode();
    if (node.kind() != xml::NodeKind::Element && node.kind() != xml::NodeKind::Attribute) return item;
    std::optional<std::string> text = node.stringValue();
    return text ? Value::string(*text) : item;
}

std::string iterationLine(size_t iteration, const std::string& variable, const Value& value) {
    return fmt::format("--- Iteration {}: Setting ${} = {} ---", iteration, variable, value.description());
}

}  // namespace

// The early answers are boolean-tagged; the answers after all items (or none) are the
// integer-tagged 1 (every) and 0 (some). Both kinds are kept: their texts differ.
// The loop variable is not restored afterwards.
Value QMXPQuantifiedExprNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    const bool every = quantifier == QMXPTokenEvery;
    const bool tracing = evaluator.traceEnabled();
    const std::string label = fmt::format("QuantifiedExpr({} ${})", every ? "every" : "some", variableName);

    evaluator.traceEnter(label);
    evaluator.addTrace("Evaluating 'in' expression...");
    const Value range = evaluateChild(inExpr, evaluator);
    if (tracing) evaluator.addTrace("'in' expression result: " + range.description());
    const Sequence items = QMXPath2Evaluator::normalizeToArray(range);
    evaluator.addTrace(fmt::format("Sequence count: {}", items.size()));

    const Value exhausted = Value::integer(every ? 1 : 0);
    if (items.empty()) {
        evaluator.traceExit(label, exhausted);
        return exhausted;
    }
    // An exhausted budget ends the loop; the caller discards what comes out.
    for (size_t i = 0; i < items.size() && evaluator.chargeSteps(); ++i) {
        const Value bound = quantifiedBinding(items[i]);
        if (tracing) evaluator.addTrace(iterationLine(i + 1, variableName, bound));
        evaluator.setVariable(variableName, bound);
        evaluator.addTrace("Evaluating 'satisfies' expression...");
        const Value satisfied = evaluateChild(satisfiesExpr, evaluator);
        const bool truth = QMXPath2Evaluator::toBoolean(satisfied);
        if (tracing) {
            evaluator.addTrace(fmt::format("'satisfies' result: {} (bool: {})", satisfied.description(), truth ? 1 : 0));
        }
        if (every == truth) continue;
        evaluator.addTrace(every ? "EVERY: Found false, returning NO" : "SOME: Found true, returning YES");
        const Value decided = Value::boolean(truth);
        evaluator.traceExit(label, decided);
        return decided;
    }
    evaluator.addTrace(fmt::format("All iterations complete, returning {}", every ? 1 : 0));
    evaluator.traceExit(label, exhausted);
    return exhausted;
}

// Each result is kept as one item (a sequence result stays nested). Afterwards the
// variables known before the loop get their values back; a loop variable that was new
// keeps the last item.
Value QMXPForExprNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    const bool tracing = evaluator.traceEnabled();
    evaluator.traceEnter(fmt::format("ForExpr(for ${} in ...)", variableName));
    evaluator.addTrace("Evaluating 'in' expression...");
    const Sequence items = QMXPath2Evaluator::normalizeToArray(evaluateChild(inExpr, evaluator));
    evaluator.addTrace(fmt::format("Sequence count: {}", items.size()));
    if (items.empty()) {
        evaluator.traceExit("ForExpr", Value::emptySequence());
        return Value::emptySequence();
    }

    const std::map<std::string, Value> snapshot = evaluator.getVariables();
    Sequence results;
    for (size_t i = 0; i < items.size() && evaluator.chargeSteps(); ++i) {
        if (tracing) evaluator.addTrace(iterationLine(i + 1, variableName, items[i]));
        evaluator.setVariable(variableName, items[i]);
        evaluator.addTrace("Evaluating 'return' expression...");
        Value result = evaluateChild(returnExpr, evaluator);
        if (tracing) evaluator.addTrace("'return' result: " + result.description());
        if (!result.isAbsent()) results.push_back(std::move(result));
    }
    for (const auto& [name, value] : snapshot) evaluator.setVariable(name, value);

    evaluator.addTrace(fmt::format("All iterations complete, returning {} results", results.size()));
    Value sequence = Value::sequence(std::move(results));
    evaluator.traceExit("ForExpr", sequence);
    return sequence;
}

}  // namespace quillmark
