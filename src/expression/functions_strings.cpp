// String functions. Lengths and positions count UTF-16 code units, as rule sets
// written for XPath expect.

#include <algorithm>

#include "builtin_functions.h"
#include "quillmark/regex.h"
#include "quillmark/unicode.h"

namespace quillmark::functions {
namespace {

// string-length(s): the context node is not consulted without an argument.
Value stringLength(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::integer(0);
    return Value::integer(static_cast<int64_t>(unicode::utf16Length(stringArgument(arguments, 0))));
}

// substring(s, start[, length]): start is truncated, not rounded, and a start below 1
// counts as 1 without shortening the length.
Value substring(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.size() < 2) return Value::string("");
    const std::u16string text = unicode::toUtf16(stringArgument(arguments, 0));
    const int64_t first = std::max<int64_t>(truncateToInteger(numberArgument(arguments, 1)), 1) - 1;
    const auto start = static_cast<uint64_t>(first);
    if (start >= text.size()) return Value::string("");
    uint64_t count = text.size() - start;
    if (arguments.size() >= 3) {
        const int64_t length = truncateToInteger(numberArgument(arguments, 2));
        if (length < 0) return Value::string("");
        count = std::min(count, static_cast<uint64_t>(length));
    }
    return Value::string(unicode::fromUtf16(std::u16string_view(text).substr(start, count)));
}

Value substringAfter(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.size() < 2) return Value::string("");
    const std::string text = stringArgument(arguments, 0);
    const std::string separator = stringArgument(arguments, 1);
    if (separator.empty()) return Value::string("");
    const size_t found = text.find(separator);
    if (found == std::string::npos) return Value::string("");
    return Value::string(text.substr(found + separator.size()));
}

std::string normalizeSpace(const std::string& text) {
    static const std::string kWhiteSpaceRuns = "\\s+";
    const std::string trimmed = unicode::trimWhiteSpace(text);
    auto pattern = Regex::compile(kWhiteSpaceRuns);
    if (!pattern) return trimmed;
    return pattern->replaceAll(trimmed, " ");
}

Value normalizeSpaceFunction(QMXPath2Evaluator& evaluator, const Sequence& arguments) {
    if (arguments.empty()) return Value::string(normalizeSpace(contextNodeText(evaluator)));
    return Value::string(normalizeSpace(stringArgument(arguments, 0)));
}

Value upperCase(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::string("");
    return Value::string(unicode::upperCase(stringArgument(arguments, 0)));
}

Value concat(QMXPath2Evaluator&, const Sequence& arguments) {
    std::string text;
    for (const Value& argument : arguments) text += QMXPath2Evaluator::toString(argument);
    return Value::string(std::move(text));
}

// contains() accepts an empty needle; starts-with() and ends-with() do not.
Value contains(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.size() < 2) return Value::boolean(false);
    return Value::boolean(stringArgument(arguments, 0).find(stringArgument(arguments, 1)) != std::string::npos);
}

Value startsWith(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.size() < 2) return Value::boolean(false);
    const std::string prefix = stringArgument(arguments, 1);
    return Value::boolean(!prefix.empty() && stringArgument(arguments, 0).starts_with(prefix));
}

Value endsWith(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.size() < 2) return Value::boolean(false);
    const std::string suffix = stringArgument(arguments, 1);
    return Value::boolean(!suffix.empty() && stringArgument(arguments, 0).ends_with(suffix));
}

// xs:string and xs:date: the text as it is; a date is neither parsed nor checked.
Value plainString(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::string("");
    return Value::string(stringArgument(arguments, 0));
}

Value string(QMXPath2Evaluator& evaluator, const Sequence& arguments) {
    if (arguments.empty()) return Value::string(contextNodeText(evaluator));
    return Value::string(stringArgument(arguments, 0));
}

Value stringJoin(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.size() < 2) return Value::string("");
    if (!arguments[0].isSequence()) return Value::string(stringArgument(arguments, 0));
    const std::string separator = stringArgument(arguments, 1);
    std::string text;
    bool first = true;
    for (const Value& item : arguments[0].items()) {
        if (!first) text += separator;
        text += QMXPath2Evaluator::toString(item);
        first = false;
    }
    return Value::string(std::move(text));
}

// One integer per UTF-16 code unit, so a character outside the basic plane gives two.
Value stringToCodepoints(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::emptySequence();
    Sequence codes;
    for (uint16_t unit : unicode::codeUnits(stringArgument(arguments, 0))) codes.push_back(Value::integer(unit));
    return Value::sequence(std::move(codes));
}

// Each number is truncated toward zero and its low 16 bits make one code unit, so
// values above 65535 wrap.
Value codepointsToString(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::string("");
    const Sequence items = arguments[0].isSequence() ? arguments[0].items() : Sequence{arguments[0]};
    std::vector<uint16_t> units;
    units.reserve(items.size());
    for (const Value& item : items) {
        const auto code = static_cast<uint64_t>(truncateToInteger(QMXPath2Evaluator::toDouble(item)));
        units.push_back(static_cast<uint16_t>(code & 0xFFFFu));
    }
    return Value::string(unicode::fromCodeUnits(units));
}

}  // namespace

std::vector<BuiltinEntry> stringFunctions() {
    return {
        {"string-length", stringLength},
        {"substring", substring},
        {"substring-after", substringAfter},
        {"normalize-space", normalizeSpaceFunction},
        {"upper-case", upperCase},
        {"concat", concat},
        {"contains", contains},
        {"starts-with", startsWith},
        {"ends-with", endsWith},
        {"xs:date", plainString},
        {"xs:string", plainString},
        {"string", string},
        {"string-join", stringJoin},
        {"string-to-codepoints", stringToCodepoints},
        {"codepoints-to-string", codepointsToString},
    };
}

}  // namespace quillmark::functions
