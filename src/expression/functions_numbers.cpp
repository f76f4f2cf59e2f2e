// Numeric functions. Text is read leniently (a prefix that forms a number, else 0),
// so these never produce NaN from a string.

#include <cmath>

#include "builtin_functions.h"

namespace quillmark::functions {
namespace {

// sum(seq): items that do not read as numbers add 0.
Value sum(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::integer(0);
    if (!arguments[0].isSequence()) return Value::number(numberArgument(arguments, 0));
    double total = 0;
    for (const Value& item : arguments[0].items()) total += QMXPath2Evaluator::toDouble(item);
    return Value::number(total);
}

Value number(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::integer(0);
    return Value::number(numberArgument(arguments, 0));
}

// xs:decimal(x): no check that the text is a decimal; without an argument, the
// context node's text.
Value decimal(QMXPath2Evaluator& evaluator, const Sequence& arguments) {
    if (arguments.empty()) {
        xml::Node node = evaluator.getContextNode();
        return Value::number(node ? QMXPath2Evaluator::toDouble(Value::node(node)) : 0.0);
    }
    return Value::number(numberArgument(arguments, 0));
}

// Halves round away from zero: round(-2.5) is -3.
Value round(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::integer(0);
    return Value::number(std::round(numberArgument(arguments, 0)));
}

Value abs(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::integer(0);
    return Value::number(std::fabs(numberArgument(arguments, 0)));
}

// u:slack(a, b, tolerance): whether b lies within the tolerance around a; the
// EN 16931 rule sets compare rounded amounts with it.
Value slack(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.size() < 3) return Value::boolean(false);
    const double a = numberArgument(arguments, 0);
    const double b = numberArgument(arguments, 1);
    const double tolerance = numberArgument(arguments, 2);
    return Value::boolean(a - tolerance <= b && a + tolerance >= b);
}

Value integer(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::integer(0);
    return Value::integer(truncateToInteger(numberArgument(arguments, 0)));
}

}  // namespace

std::vector<BuiltinEntry> numberFunctions() {
    return {
        {"sum", sum},
        {"number", number},
        {"xs:decimal", decimal},
        {"round", round},
        {"abs", abs},
        {"u:slack", slack},
        {"xs:integer", integer},
    };
}

}  // namespace quillmark::functions
