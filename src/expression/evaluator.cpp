// The evaluator's public entry, its variable store, and the reuse of parsed trees.

#include "quillmark/evaluator.h"

#include <utility>

#include "quillmark/log.h"
#include "xml/element_index.h"

namespace quillmark {

QMXPath2Evaluator::QMXPath2Evaluator(NamespaceMap namespaces)
    : _namespaces(std::move(namespaces)), _xpath(std::make_unique<xml::XPathEngine>()) {}

QMXPath2Evaluator::~QMXPath2Evaluator() = default;

// Parses `expression` against the current context node. A tree is reused for the same
// text unless its parse evaluated paths against the context node or its tokenizing
// logged a line (the line is due at every evaluation). The caller's token list and
// cursor are kept, so an evaluation nested in a parse cannot disturb that parse.
std::shared_ptr<const QMXPExprNode> QMXPath2Evaluator::parseForEvaluation(const std::string& expression) {
    if (auto cached = _treeCache.find(expression); cached != _treeCache.end()) return cached->second;

    auto savedTokens = std::move(_tokens);
    int64_t savedIndex = _currentIndex;
    bool savedEvaluated = _parseEvaluatedContext;

    bool logged = false;
    setTokens(quillmark::tokenize(expression, &logged));
    _parseEvaluatedContext = false;
    std::shared_ptr<const QMXPExprNode> root(parseUnionNode().release());
    if (!logged && !_parseEvaluatedContext) _treeCache.emplace(expression, root);
    if (logged && _record) _record->logged = true;

    _tokens = std::move(savedTokens);
    _currentIndex = savedIndex;
    _parseEvaluatedContext = savedEvaluated;
    return root;
}

Value QMXPath2Evaluator::evaluate(const std::string& expression, xml::Node contextNode, Error* /*error*/) {
    EvaluationBudget::Scope charged(_budget);
    _contextNode = contextNode;
    if (!chargeSteps()) return Value::absent();
    auto root = parseForEvaluation(expression);
    if (!root) return Value::absent();
    return root->evaluateWithContext(*this);
}

Value QMXPath2Evaluator::evaluate(const std::string& expression, xml::Node contextNode, Error* error,
                                  EvaluationRecord& record) {
    EvaluationRecord* outer = std::exchange(_record, &record);
    Value value = evaluate(expression, contextNode, error);
    _record = outer;
    return value;
}

std::optional<std::string> QMXPath2Evaluator::dumpAST(const std::string& expression, Error* error) {
    setTokens(quillmark::tokenize(expression));
    auto root = parseUnionNode();
    if (!root) {
        setError(error, kXPath2EvaluatorDomain, 1, "Failed to parse XPath expression");
        return std::nullopt;
    }
    return root->description();
}

void QMXPath2Evaluator::setVariable(const std::string& name, const Value& value) {
    if (_record) _record->boundVariables = true;
    if (value.isAbsent()) {
        _variables.erase(name);
        return;
    }
    _variables.insert_or_assign(name, value);
}

Value QMXPath2Evaluator::getVariable(const std::string& name) const {
    if (_record) _record->variablesRead.insert(name);
    auto found = _variables.find(name);
    return found == _variables.end() ? Value::integer(0) : found->second;
}

std::map<std::string, Value> QMXPath2Evaluator::getVariables() const { return _variables; }

void QMXPath2Evaluator::setVariables(std::map<std::string, Value> variables) { _variables = std::move(variables); }

void QMXPath2Evaluator::clearVariables() { _variables.clear(); }

Sequence QMXPath2Evaluator::evaluateArguments(const QMXPExprNodeList& nodes) {
    Sequence arguments;
    arguments.reserve(nodes.size());
    for (const auto& node : nodes) {
        Value value = node ? node->evaluateWithContext(*this) : Value::absent();
        arguments.push_back(value.isAbsent() ? Value::emptySequence() : std::move(value));
    }
    return arguments;
}

std::vector<xml::Node> QMXPath2Evaluator::nodesForXPath(xml::Node context, const std::string& xpath, bool* failed) {
    if (!chargeSteps()) {
        if (failed) *failed = true;
        return {};
    }
    std::vector<xml::Node> nodes;
    if (!selectFromIndex(context, xpath, nodes, failed)) nodes = _xpath->select(context, xpath, failed);
    chargeSteps(nodes.size());
    return nodes;
}

Error QMXPath2Evaluator::stopError() const {
    Error error;
    if (!_budget.exhausted()) return error;
    setError(&error, kXPath2EvaluatorDomain, kEvaluationStoppedCode, "Evaluation stopped: " + _budget.stopDescription());
    return error;
}

}  // namespace quillmark
