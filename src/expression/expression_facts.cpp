// What an expression reads, binds and calls, gathered by walking its parsed tree. The
// validation run uses it to skip evaluations whose value cannot have changed.

#include "quillmark/evaluator.h"

namespace quillmark {
namespace {

bool hasVariableReference(const std::string& pathText) { return pathText.find('$') != std::string::npos; }

class FactsCollector {
public:
    FactsCollector(const QMXPath2Evaluator& evaluator, ExpressionFacts& facts) : evaluator_(evaluator), facts_(facts) {}

    void collect(const QMXPExprNode& node) {
        note(node);
        node.forEachChild([this](const QMXPExprNode& child) { collect(child); });
    }

private:
    void note(const QMXPExprNode& node) {
        if (const auto* variable = dynamic_cast<const QMXPVariableNode*>(&node)) {
            facts_.variablesRead.insert(variable->name);
        } else if (const auto* call = dynamic_cast<const QMXPFunctionCallNode*>(&node)) {
            noteCall(call->name);
        } else if (const auto* path = dynamic_cast<const QMXPPathNode*>(&node)) {
            notePathText(path->path);
        } else if (const auto* filtered = dynamic_cast<const QMXPFilteredPathNode*>(&node)) {
            notePathText(filtered->basePath);
            if (filtered->childPath) notePathText(*filtered->childPath);
            if (filtered->functionName) noteCall(*filtered->functionName);
        } else if (const auto* step = dynamic_cast<const QMXPPathWithFunctionNode*>(&node)) {
            notePathText(step->basePath);
            if (step->functionName) noteCall(*step->functionName);
        } else if (dynamic_cast<const QMXPQuantifiedExprNode*>(&node) || dynamic_cast<const QMXPForExprNode*>(&node)) {
            facts_.bindsVariables = true;
        }
    }

    void noteCall(const std::string& name) {
        if (evaluator_.customFunctions().contains(name)) facts_.callsRuleSetFunctions = true;
    }

    void notePathText(const std::string& text) {
        if (hasVariableReference(text)) facts_.readsVariablesInPathText = true;
    }

    const QMXPath2Evaluator& evaluator_;
    ExpressionFacts& facts_;
};

}  // namespace

std::optional<ExpressionFacts> QMXPath2Evaluator::expressionFacts(const std::string& expression) const {
    auto cached = _treeCache.find(expression);
    if (cached == _treeCache.end()) return std::nullopt;
    ExpressionFacts facts;
    if (cached->second) FactsCollector(*this, facts).collect(*cached->second);
    return facts;
}

}  // namespace quillmark
