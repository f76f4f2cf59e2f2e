// Functions on strings: fn:concat, fn:string-join, fn:substring, fn:string-length,
// fn:normalize-space, fn:normalize-unicode, fn:upper-case, fn:lower-case, fn:translate,
// the substring matching functions, fn:compare, fn:codepoint-equal and the conversions
// between strings and code points. Positions and lengths count code points.

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <climits>
#include <limits>
#include <unordered_map>

#include "quillmark/unicode.h"
#include "xpath/code_points.h"
#include "xpath/collation.h"
#include "xpath/function_registration.h"
#include "xpath/function_family_parts.h"
#include "xpath/numeric_helpers.h"
#include "xpath/xml_text.h"

namespace quillmark::xpath {
namespace {

Sequence stringResult(std::string text) { return single(AtomicValue::fromString(std::move(text))); }

// The optional collation argument at `index` must name the code point collation.
void checkCollation(const Arguments& arguments, size_t index, std::string_view function) {
    if (arguments.size() > index) requireSupportedCollation(arguments[index], function);
}

Sequence concat(DynamicContext& context, Arguments& arguments) {
    std::string text;
    for (const Sequence& argument : arguments) {
        if (!argument.empty()) text += argument.front().atomic().toString();
    }
    chargeForText(context, text);
    return stringResult(std::move(text));
}

// Any atomic values are joined, in their canonical forms, not only strings: the reference
// processor accepts them, as XPath 3.0 does.
Sequence stringJoin(DynamicContext& context, Arguments& arguments) {
    const Sequence& parts = arguments[0];
    const std::string separator = stringArgument(arguments[1]);
    context.budget().charge(parts.size());
    std::string text;
    for (size_t index = 0; index < parts.size(); ++index) {
        if (index > 0) text += separator;
        text += parts[index].atomic().toString();
    }
    return stringResult(std::move(text));
}

// The code points at positions p (from 1) with first <= p < end. NaN bounds select
// nothing, as every comparison with NaN is false.
std::string codePointsBetween(std::string_view text, double first, double end) {
    if (!(first < end)) return {};
    const double from = std::max(first, 1.0);
    const double to = std::min(end, static_cast<double>(codePointLength(text)) + 1);
    if (!(from < to)) return {};
    return std::string(codePointSlice(text, static_cast<size_t>(from) - 1, static_cast<size_t>(to - from)));
}

Sequence substring(DynamicContext&, Arguments& arguments) {
    const std::string text = stringArgument(arguments[0]);
    const double first = roundHalfUp(arguments[1].front().atomic().doubleValue());
    const double end = arguments.size() > 2 ? first + roundHalfUp(arguments[2].front().atomic().doubleValue())
                                            : std::numeric_limits<double>::infinity();
    return stringResult(codePointsBetween(text, first, end));
}

Sequence substringBefore(DynamicContext&, Arguments& arguments) {
    checkCollation(arguments, 2, "substring-before");
    const std::string text = stringArgument(arguments[0]);
    const size_t found = text.find(stringArgument(arguments[1]));
    return stringResult(found == std::string::npos ? std::string() : text.substr(0, found));
}

Sequence substringAfter(DynamicContext&, Arguments& arguments) {
    checkCollation(arguments, 2, "substring-after");
    const std::string text = stringArgument(arguments[0]);
    const std::string searched = stringArgument(arguments[1]);
    const size_t found = text.find(searched);
    return stringResult(found == std::string::npos ? std::string() : text.substr(found + searched.size()));
}

// UTF-8 byte strings contain each other exactly when their code point strings do, so
// the searches below work on bytes.
Sequence contains(DynamicContext&, Arguments& arguments) {
    checkCollation(arguments, 2, "contains");
    return booleanResult(stringArgument(arguments[0]).find(stringArgument(arguments[1])) != std::string::npos);
}

Sequence startsWith(DynamicContext&, Arguments& arguments) {
    checkCollation(arguments, 2, "starts-with");
    return booleanResult(stringArgument(arguments[0]).starts_with(stringArgument(arguments[1])));
}

Sequence endsWith(DynamicContext&, Arguments& arguments) {
    checkCollation(arguments, 2, "ends-with");
    return booleanResult(stringArgument(arguments[0]).ends_with(stringArgument(arguments[1])));
}

Sequence stringLength(DynamicContext&, Arguments& arguments) {
    return single(AtomicValue::fromInteger(static_cast<int64_t>(codePointLength(stringArgument(arguments[0])))));
}

Sequence normalizeSpace(DynamicContext&, Arguments& arguments) {
    return stringResult(collapseXmlWhiteSpace(stringArgument(arguments[0])));
}

// The ICU normalizer of a form name ("NFC", "NFD", "NFKC", "NFKD"); null for others.
const icu::Normalizer2* normalizerFor(std::string_view form) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* normalizer = nullptr;
    if (form == "NFC") normalizer = icu::Normalizer2::getNFCInstance(status);
    if (form == "NFD") normalizer = icu::Normalizer2::getNFDInstance(status);
    if (form == "NFKC") normalizer = icu::Normalizer2::getNFKCInstance(status);
    if (form == "NFKD") normalizer = icu::Normalizer2::getNFKDInstance(status);
    return U_SUCCESS(status) ? normalizer : nullptr;
}

std::string normalized(const icu::Normalizer2& normalizer, const std::string& text) {
    if (text.size() > static_cast<size_t>(INT32_MAX / 2)) {
        throw XPathError(ErrorCode::QMXP0001, "normalize-unicode(): the text is too long");
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString input =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    const icu::UnicodeString output = normalizer.normalize(input, status);
    if (U_FAILURE(status)) {
        throw XPathError(ErrorCode::QMXP0001, std::string("normalize-unicode(): ") + u_errorName(status));
    }
    std::string result;
    output.toUTF8String(result);
    return result;
}

Sequence normalizeUnicode(DynamicContext& context, Arguments& arguments) {
    const std::string text = stringArgument(arguments[0]);
    // The form is matched without surrounding blanks and regardless of case.
    const std::string form =
        arguments.size() > 1 ? unicode::upperCase(trimXmlWhiteSpace(stringArgument(arguments[1]))) : "NFC";
    if (form.empty()) return stringResult(text);
    const icu::Normalizer2* normalizer = normalizerFor(form);
    if (!normalizer) {
        throw XPathError(ErrorCode::FOCH0003, "normalize-unicode(): unsupported normalization form \"" + form + "\"");
    }
    chargeForText(context, text);
    return stringResult(normalized(*normalizer, text));
}

Sequence upperCase(DynamicContext& context, Arguments& arguments) {
    const std::string text = stringArgument(arguments[0]);
    chargeForText(context, text);
    return stringResult(unicode::upperCase(text));
}

Sequence lowerCase(DynamicContext& context, Arguments& arguments) {
    const std::string text = stringArgument(arguments[0]);
    chargeForText(context, text);
    return stringResult(unicode::lowerCase(text));
}

// What fn:translate does with each code point of the map string: its first occurrence
// decides, mapping it to the code point at the same place in the translation, or
// removing it when the translation is shorter.
using Translation = std::unordered_map<char32_t, std::optional<char32_t>>;

Translation translationTable(const std::u32string& map, const std::u32string& translation) {
    Translation table;
    for (size_t index = 0; index < map.size(); ++index) {
        const std::optional<char32_t> replacement =
            index < translation.size() ? std::optional<char32_t>(translation[index]) : std::nullopt;
        table.emplace(map[index], replacement);  // keeps the first occurrence
    }
    return table;
}

Sequence translate(DynamicContext& context, Arguments& arguments) {
    const std::string text = stringArgument(arguments[0]);
    chargeForText(context, text);
    const Translation table =
        translationTable(toCodePoints(stringArgument(arguments[1])), toCodePoints(stringArgument(arguments[2])));
    std::string result;
    result.reserve(text.size());
    for (char32_t c : toCodePoints(text)) {
        const auto found = table.find(c);
        if (found == table.end()) {
            appendCodePoint(result, c);
        } else if (found->second) {
            appendCodePoint(result, *found->second);
        }
    }
    return stringResult(std::move(result));
}

// Byte order of UTF-8 is code point order, so a byte comparison is the code point
// collation.
Sequence compare(DynamicContext&, Arguments& arguments) {
    checkCollation(arguments, 2, "compare");
    if (arguments[0].empty() || arguments[1].empty()) return {};
    const int order = arguments[0].front().atomic().stringValue().compare(arguments[1].front().atomic().stringValue());
    return single(AtomicValue::fromInteger(order < 0 ? -1 : order > 0 ? 1 : 0));
}

Sequence codepointEqual(DynamicContext&, Arguments& arguments) {
    if (arguments[0].empty() || arguments[1].empty()) return {};
    return booleanResult(arguments[0].front().atomic().stringValue() == arguments[1].front().atomic().stringValue());
}

Sequence codepointsToString(DynamicContext& context, Arguments& arguments) {
    context.budget().charge(arguments[0].size());
    std::string text;
    for (const Item& item : arguments[0]) {
        const Decimal& value = item.atomic().decimalValue();
        const std::optional<int64_t> codePoint = value.toInt64();
        if (!codePoint || *codePoint < 0 || *codePoint > 0x10FFFF || !isXmlChar(static_cast<char32_t>(*codePoint))) {
            throw XPathError(ErrorCode::FOCH0001, "codepoints-to-string(): " + value.toString() +
                                                      " is not the code point of an XML character");
        }
        appendCodePoint(text, static_cast<char32_t>(*codePoint));
    }
    return stringResult(std::move(text));
}

Sequence stringToCodepoints(DynamicContext& context, Arguments& arguments) {
    const std::u32string codePoints = toCodePoints(stringArgument(arguments[0]));
    context.budget().charge(codePoints.size());
    Sequence result;
    result.reserve(codePoints.size());
    for (char32_t c : codePoints) result.emplace_back(AtomicValue::fromInteger(c));
    return result;
}

}  // namespace

void registerStringFunctions(FunctionLibrary& library) {
    define(library,
           {.name = "concat", .parameters = {"xs:anyAtomicType?", "xs:anyAtomicType?"}, .result = "xs:string",
            .variadic = true},
           &concat);
    define(library, {.name = "string-join", .parameters = {"xs:anyAtomicType*", "xs:string"}, .result = "xs:string"},
           &stringJoin);
    define(library, {.name = "substring", .parameters = {"xs:string?", "xs:double"}, .result = "xs:string"},
           &substring);
    define(library,
           {.name = "substring", .parameters = {"xs:string?", "xs:double", "xs:double"}, .result = "xs:string"},
           &substring);
    define(library,
           {.name = "string-length", .parameters = {"xs:string?"}, .result = "xs:integer",
            .focus = FocusUse::ContextItemDefault},
           &stringLength);
    define(library,
           {.name = "normalize-space", .parameters = {"xs:string?"}, .result = "xs:string",
            .focus = FocusUse::ContextItemDefault},
           &normalizeSpace);
    define(library, {.name = "normalize-unicode", .parameters = {"xs:string?"}, .result = "xs:string"},
           &normalizeUnicode);
    define(library,
           {.name = "normalize-unicode", .parameters = {"xs:string?", "xs:string"}, .result = "xs:string"},
           &normalizeUnicode);
    define(library, {.name = "upper-case", .parameters = {"xs:string?"}, .result = "xs:string"}, &upperCase);
    define(library, {.name = "lower-case", .parameters = {"xs:string?"}, .result = "xs:string"}, &lowerCase);
    define(library,
           {.name = "translate", .parameters = {"xs:string?", "xs:string", "xs:string"}, .result = "xs:string"},
           &translate);

    // The functions that match substrings, each with and without a collation.
    struct Matching {
        std::string_view name;
        std::string_view result;
        BuiltinImplementation implementation;
    };
    const Matching matching[] = {
        {"contains", "xs:boolean", &contains},
        {"starts-with", "xs:boolean", &startsWith},
        {"ends-with", "xs:boolean", &endsWith},
        {"substring-before", "xs:string", &substringBefore},
        {"substring-after", "xs:string", &substringAfter},
    };
    for (const Matching& function : matching) {
        define(library, {.name = function.name, .parameters = {"xs:string?", "xs:string?"}, .result = function.result},
               function.implementation);
        define(library,
               {.name = function.name, .parameters = {"xs:string?", "xs:string?", "xs:string"},
                .result = function.result},
               function.implementation);
    }
    define(library, {.name = "compare", .parameters = {"xs:string?", "xs:string?"}, .result = "xs:integer?"},
           &compare);
    define(library,
           {.name = "compare", .parameters = {"xs:string?", "xs:string?", "xs:string"}, .result = "xs:integer?"},
           &compare);
    define(library,
           {.name = "codepoint-equal", .parameters = {"xs:string?", "xs:string?"}, .result = "xs:boolean?"},
           &codepointEqual);
    define(library, {.name = "codepoints-to-string", .parameters = {"xs:integer*"}, .result = "xs:string"},
           &codepointsToString);
    define(library, {.name = "string-to-codepoints", .parameters = {"xs:string?"}, .result = "xs:integer*"},
           &stringToCodepoints);
    registerUriEscapingFunctions(library);
}

}  // namespace quillmark::xpath
