// Functions yielding truth values; all of them are boolean-tagged, so they act as
// truth tests (not positions) inside predicates.

#include "builtin_functions.h"

namespace quillmark::functions {
namespace {

Value notFunction(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::boolean(true);
    return Value::boolean(!QMXPath2Evaluator::toBoolean(arguments[0]));
}

Value boolean(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::boolean(false);
    return Value::boolean(QMXPath2Evaluator::toBoolean(arguments[0]));
}

Value falseFunction(QMXPath2Evaluator&, const Sequence&) { return Value::boolean(false); }

Value trueFunction(QMXPath2Evaluator&, const Sequence&) { return Value::boolean(true); }

}  // namespace

std::vector<BuiltinEntry> booleanFunctions() {
    return {
        {"not", notFunction},
        {"boolean", boolean},
        {"false", falseFunction},
        {"true", trueFunction},
    };
}

}  // namespace quillmark::functions
