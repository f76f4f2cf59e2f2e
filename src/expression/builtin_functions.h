#pragma once
// The built-in functions of the expression language, looked up by their exact name
// (prefix included: "xs:decimal", "u:slack"). Each family lives in its own file and
// contributes its entries to one table.

#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "quillmark/evaluator.h"

namespace quillmark::functions {

// One built-in: the evaluator (for the context node and size) and the evaluated
// arguments, one entry per written argument.
using BuiltinFunction = Value (*)(QMXPath2Evaluator& evaluator, const Sequence& arguments);
using BuiltinEntry = std::pair<std::string_view, BuiltinFunction>;

// The entries of each family.
std::vector<BuiltinEntry> stringFunctions();
std::vector<BuiltinEntry> numberFunctions();
std::vector<BuiltinEntry> sequenceFunctions();
std::vector<BuiltinEntry> regexFunctions();
std::vector<BuiltinEntry> booleanFunctions();

// The implementation of `name`, or null when no built-in has that exact name.
BuiltinFunction findBuiltinFunction(std::string_view name);

// Conversions of the first, second, ... argument.
inline std::string stringArgument(const Sequence& arguments, size_t index) {
    return QMXPath2Evaluator::toString(arguments[index]);
}
inline double numberArgument(const Sequence& arguments, size_t index) {
    return QMXPath2Evaluator::toDouble(arguments[index]);
}

// Truncation toward zero that stays defined for every double: NaN gives 0, values
// beyond the range saturate.
inline int64_t truncateToInteger(double number) {
    if (std::isnan(number)) return 0;
    if (number >= 9223372036854775807.0) return std::numeric_limits<int64_t>::max();
    if (number <= -9223372036854775808.0) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(number);
}

// The text of the context node; "" without a context node or text.
inline std::string contextNodeText(const QMXPath2Evaluator& evaluator) {
    xml::Node node = evaluator.getContextNode();
    if (!node) return "";
    return node.stringValue().value_or("");
}

}  // namespace quillmark::functions
