#pragma once
// The evaluator of the XPath 2.0 subset that Schematron rule sets use. One evaluator
// serves one validation run on one thread: it holds the namespace map, the variables,
// the schema's functions, the context node and item, the parse cursor and the trace.
// It never reports errors: bad input yields fixed fallback values.
//
// The one exception is its evaluation budget: all work of an evaluator is charged to
// one budget (EvaluationBudget, made from defaultEvaluationLimits()). Once the budget is
// exhausted the evaluation under way ends early, every later evaluation yields absent
// at once, and evaluationStopped() tells the caller that the values it got mean
// nothing.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "quillmark/ast.h"
#include "quillmark/error.h"
#include "quillmark/evaluation_budget.h"
#include "quillmark/token.h"
#include "quillmark/value.h"
#include "quillmark/xml.h"

namespace quillmark {

namespace xml {
class ElementIndex;
}

// Code of the error (domain kXPath2EvaluatorDomain) of an evaluation that was stopped
// because its budget was exhausted.
inline constexpr int64_t kEvaluationStoppedCode = 2;

// A function defined by a rule set.
struct QMXPCustomFunction {
    std::vector<std::string> parameters;  // names without "$"
    std::string bodyExpression;
    // Local variables in order, each with the keys "name" and "select".
    std::vector<std::map<std::string, std::string>> variables;
};

// What one evaluation depended on besides its context node and the document, noted
// while it ran (QMXPath2Evaluator::evaluate with a record). Evaluation is deterministic:
// from the same context node, with the same values of the variables it read, an
// evaluation that bound no variable, called no rule-set function and logged nothing takes
// the same course again and yields the same value.
struct EvaluationRecord {
    std::set<std::string> variablesRead;  // names without "$", set or not
    bool boundVariables = false;          // for, some, every (they leave variables set)
    bool calledRuleSetFunctions = false;  // their bodies bind parameters
    bool logged = false;                  // a line that is due at every evaluation
    bool dependsOnlyOnVariablesRead() const { return !boundVariables && !calledRuleSetFunctions && !logged; }
};

class QMXPath2Evaluator {
public:
    using NamespaceMap = std::map<std::string, std::string>;

    explicit QMXPath2Evaluator(NamespaceMap namespaces = {});  // initWithNamespaces
    ~QMXPath2Evaluator();
    QMXPath2Evaluator(const QMXPath2Evaluator&) = delete;
    QMXPath2Evaluator& operator=(const QMXPath2Evaluator&) = delete;

    // ---- Public entry ----
    // Tokenizes, parses and evaluates `expression` with `contextNode` as context node
    // (which stays set afterwards). Absent when nothing could be parsed. `error` is
    // never written.
    Value evaluate(const std::string& expression, xml::Node contextNode, Error* error = nullptr);
    // The same, noting in `record` what the evaluation depended on.
    Value evaluate(const std::string& expression, xml::Node contextNode, Error* error, EvaluationRecord& record);
    // The tree dump of `expression`; nullopt with the error "Failed to parse XPath
    // expression" (domain "XPath2Evaluator", code 1) when nothing could be parsed.
    std::optional<std::string> dumpAST(const std::string& expression, Error* error = nullptr);
    std::vector<QMXPToken> tokenize(std::string_view expression) const;

    const NamespaceMap& namespaces() const { return _namespaces; }

    // ---- Variables ----
    void setVariable(const std::string& name, const Value& value);  // absent removes
    Value getVariable(const std::string& name) const;               // integer 0 if unset
    std::map<std::string, Value> getVariables() const;
    void setVariables(std::map<std::string, Value> variables);      // wholesale restore
    void clearVariables();

    // ---- Context ----
    xml::Node getContextNode() const { return _contextNode; }
    void setContextNode(xml::Node node) { _contextNode = node; }
    const Value& contextItem() const { return _contextItem; }
    void setContextItem(Value item) { _contextItem = std::move(item); }
    int64_t contextSize() const { return _contextSize; }
    void setContextSize(int64_t size) { _contextSize = size; }
    // Runs `block` with `node` as context node and restores the previous one.
    template <typename Block>
    Value withContextNode(xml::Node node, Block&& block) {
        xml::Node saved = _contextNode;
        _contextNode = node;
        Value result = block();
        _contextNode = saved;
        return result;
    }

    // ---- Value helpers and conversions ----
    static Sequence normalizeToArray(const Value& value);
    static void flattenIntoArray(Sequence& into, const Value& value);
    Sequence evaluateArguments(const QMXPExprNodeList& nodes);
    static bool toBoolean(const Value& value);
    static double toDouble(const Value& value);
    static std::string toString(const Value& value);
    static bool isEqual(const Value& left, const Value& right);
    static Value evaluateBinaryOp(int64_t op, const Value& left, const Value& right);

    // ---- Parser (cursor over the current token list) ----
    const QMXPToken& peek() const;
    QMXPToken consume();
    bool match(int64_t type);
    QMXPExprNodePtr parseUnionNode();
    QMXPExprNodePtr parseExprSingle();
    QMXPExprNodePtr parseOrNode();
    QMXPExprNodePtr parseAndNode();
    QMXPExprNodePtr parseComparisonNode();
    QMXPExprNodePtr parseAdditiveNode();
    QMXPExprNodePtr parseMultiplicativeNode();
    QMXPExprNodePtr parsePrimaryNode();
    QMXPExprNodePtr parseFunction(const std::string& name);
    QMXPExprNodePtr parseAbsolutePath();
    QMXPExprNodePtr parsePathOrFunction();
    void skipExpression();
    // Installs a token list and puts the cursor at 0 (what evaluate and dumpAST do).
    void setTokens(std::vector<QMXPToken> tokens);
    int64_t currentIndex() const { return _currentIndex; }
    void setCurrentIndex(int64_t index) { _currentIndex = index; }
    // True once a parse evaluated something against the context node (group steps
    // and function steps of absolute paths); such trees cannot be reused.
    bool parseEvaluatedContext() const { return _parseEvaluatedContext; }
    void noteParseEvaluatedContext() { _parseEvaluatedContext = true; }

    // ---- Paths ----
    Value evaluatePath(const std::string& path);
    Value evaluateAbsolutePath(const std::string& path);
    std::string rewriteNamespacePrefixes(const std::string& text) const;
    Sequence filterNodes(const Sequence& items, const QMXPExprNode* predicate);
    // XPath 1.0 selection from a node through this evaluator's engine and caches.
    std::vector<xml::Node> nodesForXPath(xml::Node context, const std::string& xpath, bool* failed = nullptr);
    // Promises that the document `node` belongs to does not change while this evaluator
    // evaluates in it (the validation run promises it for its document); a null node
    // withdraws the promise. Paths that begin with "//NAME" then start from an index of
    // the document's elements instead of visiting every node of the document.
    void setUnchangingDocument(xml::Node node);

    // ---- Functions ----
    void registerFunction(const std::string& name, std::vector<std::string> parameters, std::string body,
                          std::vector<std::map<std::string, std::string>> variables);
    Value evaluateFunction(const std::string& name, const Sequence& arguments);
    const std::map<std::string, QMXPCustomFunction>& customFunctions() const { return _customFunctions; }
    // Nesting limit for calls of rule-set functions; deeper calls yield absent.
    static constexpr int kMaxFunctionDepth = 256;

    // ---- Evaluation budget ----
    // Starts a fresh budget with these limits.
    void setEvaluationLimits(const EvaluationLimits& limits) { _budget.restart(limits); }
    const EvaluationBudget& budget() const { return _budget; }
    // Counts work; false once the budget is exhausted (loops then stop early).
    bool chargeSteps(uint64_t steps = 1) { return _budget.charge(steps); }
    bool evaluationStopped() const { return _budget.exhausted(); }
    // Why evaluation stopped (domain kXPath2EvaluatorDomain, code kEvaluationStoppedCode);
    // an unset error while the budget lasts.
    Error stopError() const;

    // ---- Trace ----
    bool traceEnabled() const { return _traceEnabled; }
    void setTraceEnabled(bool enabled) { _traceEnabled = enabled; }
    void addTrace(const std::string& message);
    void traceEnter(const std::string& label);
    void traceExit(const std::string& label, const Value& result);
    std::vector<std::string> getTrace() const { return _trace; }
    void clearTrace();

private:
    Value callCustomFunction(const QMXPCustomFunction& function, const Sequence& arguments);
    // nodesForXPath through the element index; false when the index does not apply.
    bool selectFromIndex(xml::Node context, const std::string& xpath, std::vector<xml::Node>& into, bool* failed);
    std::shared_ptr<const QMXPExprNode> parseForEvaluation(const std::string& expression);

    NamespaceMap _namespaces;
    std::vector<QMXPToken> _tokens;
    int64_t _currentIndex = 0;
    xml::Node _contextNode;
    Value _contextItem;
    int64_t _contextSize = 0;
    std::map<std::string, Value> _variables;
    std::map<std::string, QMXPCustomFunction> _customFunctions;
    std::vector<std::string> _trace;
    int64_t _traceDepth = 0;
    bool _traceEnabled = false;

    bool _parseEvaluatedContext = false;
    int _functionDepth = 0;
    EvaluationBudget _budget;
    EvaluationRecord* _record = nullptr;  // while an evaluation is being recorded
    // Work that cannot change a result: parsed trees of context-free expressions,
    // prefix rewrites, compiled XPath texts.
    std::unordered_map<std::string, std::shared_ptr<const QMXPExprNode>> _treeCache;
    mutable std::unordered_map<std::string, std::string> _rewriteCache;
    std::unique_ptr<xml::XPathEngine> _xpath;
    std::unique_ptr<xml::ElementIndex> _elementIndex;
};

}  // namespace quillmark
