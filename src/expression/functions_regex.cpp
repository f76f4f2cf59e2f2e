// Regular-expression functions. Patterns use ICU syntax and are compiled without
// flags; a pattern that does not compile gives a fixed fallback, never an error.

#include "builtin_functions.h"
#include "quillmark/regex.h"

namespace quillmark::functions {
namespace {

// matches(s, p): an empty s is true without looking at the pattern; the flags
// argument is ignored.
Value matches(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.size() < 2) return Value::boolean(false);
    const std::string text = stringArgument(arguments, 0);
    if (text.empty()) return Value::boolean(true);
    auto pattern = Regex::compile(stringArgument(arguments, 1));
    if (!pattern) return Value::boolean(false);
    return Value::integer(pattern->find(text) ? 1 : 0);
}

// tokenize(s, p): empty pieces are dropped; the text itself when nothing is left.
Value tokenize(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.size() < 2) return Value::emptySequence();
    const std::string text = stringArgument(arguments, 0);
    auto pattern = Regex::compile(stringArgument(arguments, 1));
    if (!pattern) return Value::sequence({Value::string(text)});
    Sequence pieces;
    for (std::string& piece : pattern->split(text)) pieces.push_back(Value::string(std::move(piece)));
    return Value::sequence(std::move(pieces));
}

// replace(s, p, r): with fewer than three arguments the first comes back as it is.
Value replace(QMXPath2Evaluator&, const Sequence& arguments) {
    if (arguments.empty()) return Value::string("");
    if (arguments.size() < 3) return arguments[0];
    const std::string text = stringArgument(arguments, 0);
    auto pattern = Regex::compile(stringArgument(arguments, 1));
    if (!pattern) return Value::string(text);
    return Value::string(pattern->replaceAll(text, stringArgument(arguments, 2)));
}

}  // namespace

std::vector<BuiltinEntry> regexFunctions() {
    return {
        {"matches", matches},
        {"tokenize", tokenize},
        {"replace", replace},
    };
}

}  // namespace quillmark::functions
