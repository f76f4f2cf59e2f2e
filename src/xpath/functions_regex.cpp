// fn:matches, fn:replace and fn:tokenize. Matching runs under the evaluation's budget:
// a match still running when the budget is spent ends the evaluation with QMXP0001.

#include "xpath/function_family_parts.h"
#include "xpath/function_registration.h"
#include "xpath/xpath_regex.h"

namespace quillmark::xpath {
namespace {

// The pattern at `patternIndex`, compiled with the flags at `flagsIndex` when that
// argument was given.
std::shared_ptr<const XPathRegex> compiledPattern(const Arguments& arguments, size_t patternIndex, size_t flagsIndex) {
    const std::string flags = arguments.size() > flagsIndex ? stringArgument(arguments[flagsIndex]) : std::string();
    return XPathRegex::compile(stringArgument(arguments[patternIndex]), flags);
}

RegexStopCheck budgetStop(DynamicContext& context) {
    return [&context] { return context.budget().exhausted(); };
}

Sequence matches(DynamicContext& context, Arguments& arguments) {
    const auto regex = compiledPattern(arguments, 1, 2);
    const std::string input = stringArgument(arguments[0]);
    chargeForText(context, input);
    return booleanResult(regex->matches(input, budgetStop(context)));
}

Sequence replace(DynamicContext& context, Arguments& arguments) {
    const auto regex = compiledPattern(arguments, 1, 3);
    const std::string input = stringArgument(arguments[0]);
    chargeForText(context, input);
    return single(AtomicValue::fromString(regex->replace(input, stringArgument(arguments[2]), budgetStop(context))));
}

Sequence tokenize(DynamicContext& context, Arguments& arguments) {
    const auto regex = compiledPattern(arguments, 1, 2);
    const std::string input = stringArgument(arguments[0]);
    chargeForText(context, input);
    std::vector<std::string> tokens = regex->tokenize(input, budgetStop(context));
    context.budget().charge(tokens.size());
    Sequence result;
    result.reserve(tokens.size());
    for (std::string& token : tokens) result.emplace_back(AtomicValue::fromString(std::move(token)));
    return result;
}

}  // namespace

void registerRegexFunctions(FunctionLibrary& library) {
    define(library, {.name = "matches", .parameters = {"xs:string?", "xs:string"}, .result = "xs:boolean"}, &matches);
    define(library,
           {.name = "matches", .parameters = {"xs:string?", "xs:string", "xs:string"}, .result = "xs:boolean"},
           &matches);
    define(library,
           {.name = "replace", .parameters = {"xs:string?", "xs:string", "xs:string"}, .result = "xs:string"},
           &replace);
    define(library,
           {.name = "replace", .parameters = {"xs:string?", "xs:string", "xs:string", "xs:string"},
            .result = "xs:string"},
           &replace);
    define(library, {.name = "tokenize", .parameters = {"xs:string?", "xs:string"}, .result = "xs:string*"},
           &tokenize);
    define(library,
           {.name = "tokenize", .parameters = {"xs:string?", "xs:string", "xs:string"}, .result = "xs:string*"},
           &tokenize);
}

}  // namespace quillmark::xpath
