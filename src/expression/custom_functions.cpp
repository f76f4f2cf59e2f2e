// Function dispatch: functions defined by the rule set first (so a rule set can
// replace a built-in), then the built-ins by exact name, prefix included.

#include <algorithm>

#include "builtin_functions.h"
#include "quillmark/log.h"

namespace quillmark {
namespace {

// Whether the depth limit was already reported during the current outermost call.
thread_local bool depthLimitReported = false;

}  // namespace

void QMXPath2Evaluator::registerFunction(const std::string& name, std::vector<std::string> parameters, std::string body,
                                         std::vector<std::map<std::string, std::string>> variables) {
    _customFunctions.insert_or_assign(
        name, QMXPCustomFunction{std::move(parameters), std::move(body), std::move(variables)});
}

Value QMXPath2Evaluator::evaluateFunction(const std::string& name, const Sequence& arguments) {
    if (!chargeSteps()) return Value::absent();
    if (auto custom = _customFunctions.find(name); custom != _customFunctions.end()) {
        return callCustomFunction(custom->second, arguments);
    }
    if (functions::BuiltinFunction builtin = functions::findBuiltinFunction(name)) {
        return builtin(*this, arguments);
    }
    return Value::absent();
}

// Parameters and local variables are bound on top of the caller's variables; the
// caller's map is put back wholesale afterwards, so nothing set during the call leaks.
Value QMXPath2Evaluator::callCustomFunction(const QMXPCustomFunction& function, const Sequence& arguments) {
    if (_functionDepth == 0) depthLimitReported = false;
    if (_functionDepth >= kMaxFunctionDepth) {
        // A rule-set function that calls itself without end: give up on this branch.
        if (!depthLimitReported) {
            log("Function calls nested deeper than " + std::to_string(kMaxFunctionDepth) +
                " levels; the innermost call yields no value");
            depthLimitReported = true;
        }
        return Value::absent();
    }

    if (_record) _record->calledRuleSetFunctions = true;
    ++_functionDepth;
    std::map<std::string, Value> saved = getVariables();
    const size_t bound = std::min(function.parameters.size(), arguments.size());
    for (size_t i = 0; i < bound; ++i) setVariable(function.parameters[i], arguments[i]);
    for (const auto& definition : function.variables) {
        auto name = definition.find("name");
        auto select = definition.find("select");
        if (name == definition.end() || select == definition.end()) continue;
        setVariable(name->second, evaluate(select->second, getContextNode()));
    }

    Value result = evaluate(function.bodyExpression, getContextNode());
    setVariables(std::move(saved));
    --_functionDepth;
    return result;
}

}  // namespace quillmark
