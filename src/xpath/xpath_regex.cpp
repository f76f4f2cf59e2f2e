#include "xpath/xpath_regex.h"

#include <fmt/format.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <limits>
#include <optional>
#include <unordered_map>
#include <variant>

#include "quillmark/unicode.h"
#include "xpath/error.h"

namespace quillmark::xpath {

struct XPathRegex::Impl {
    std::string pattern;  // as written, for messages
    std::unique_ptr<icu::RegexPattern> compiled;
    std::vector<int32_t> groupNumbers;  // ICU group of each XPath group
    bool matchesEmpty = false;
};

namespace {

// A text prepared for ICU: its UTF-16 form and where each code unit starts in the UTF-8
// original, so that match positions map back to byte offsets of the input.
struct PreparedText {
    std::vector<size_t> byteOffsets;  // declared first: filled while `units` is made
    std::u16string units;
    icu::UnicodeString alias;

    explicit PreparedText(std::string_view text)
        : units(unicode::toUtf16(text, &byteOffsets)),
          alias(false, units.data(), static_cast<int32_t>(std::min<size_t>(units.size(), INT32_MAX))) {}
    size_t byteOffset(int64_t unitIndex) const { return byteOffsets[static_cast<size_t>(unitIndex)]; }
};

[[noreturn]] void throwAborted(const std::string& pattern, UErrorCode status) {
    const char* reason = "failed";
    if (status == U_REGEX_TIME_OUT || status == U_REGEX_STOPPED_BY_CALLER) reason = "exceeded its time limit";
    if (status == U_REGEX_STACK_OVERFLOW) reason = "exceeded its backtracking stack";
    throw XPathError(ErrorCode::QMXP0001, fmt::format("regular expression \"{}\" {}", pattern, reason));
}

UBool U_CALLCONV keepGoing(const void* context, int32_t) {
    const auto& stop = *static_cast<const RegexStopCheck*>(context);
    return !stop();
}

// One match operation over one input: the matcher runs under the time limit and the
// caller's stop check, and every failure of the engine is thrown as QMXP0001.
class MatchRun {
public:
    MatchRun(const icu::RegexPattern& compiled, const std::string& pattern, std::string_view input,
             const RegexStopCheck& stop)
        : pattern_(pattern), text_(input) {
        if (text_.units.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
            throw XPathError(ErrorCode::QMXP0001, "text is too long for a regular expression");
        }
        UErrorCode status = U_ZERO_ERROR;
        matcher_.reset(compiled.matcher(text_.alias, status));
        if (U_SUCCESS(status)) matcher_->setTimeLimit(XPathRegex::kTimeLimitSteps, status);
        if (U_SUCCESS(status) && stop) matcher_->setMatchCallback(keepGoing, &stop, status);
        check(status);
    }

    bool find() {
        UErrorCode status = U_ZERO_ERROR;
        const bool found = matcher_->find(status);
        check(status);
        return found;
    }

    // Byte offsets of a group of the last match; nullopt when the group took no part.
    std::optional<std::pair<size_t, size_t>> group(int32_t icuGroup) const {
        UErrorCode status = U_ZERO_ERROR;
        const int64_t start = matcher_->start64(icuGroup, status);
        const int64_t end = matcher_->end64(icuGroup, status);
        if (U_FAILURE(status) || start < 0) return std::nullopt;
        return std::pair{text_.byteOffset(start), text_.byteOffset(end)};
    }
    std::pair<size_t, size_t> match() const { return *group(0); }

private:
    void check(UErrorCode status) const {
        if (U_FAILURE(status)) throwAborted(pattern_, status);
    }

    const std::string& pattern_;
    PreparedText text_;
    std::unique_ptr<icu::RegexMatcher> matcher_;
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// A replacement string of fn:replace, split into literal text and group references.
struct ReplacementPart {
    std::string literal;
    size_t group = 0;  // used when `literal` is empty
};

// "$N" refers to group N; "\$" and "\\" are escapes; anything else after '$' or '\' is FORX0004.
std::vector<ReplacementPart> parseReplacement(std::string_view replacement, size_t groupCount) {
    std::vector<ReplacementPart> parts;
    std::string literal;
    auto flushLiteral = [&] {
        if (!literal.empty()) parts.push_back({std::move(literal), 0});
        literal.clear();
    };
    for (size_t i = 0; i < replacement.size(); ++i) {
        const char c = replacement[i];
        const char next = i + 1 < replacement.size() ? replacement[i + 1] : '\0';
        if (c == '\\') {
            if (next != '\\' && next != '$') {
                throw XPathError(ErrorCode::FORX0004,
                                 fmt::format("invalid replacement string \"{}\": '\\' must be followed by '\\' or '$'",
                                             replacement));
            }
            literal += next;
            ++i;
            continue;
        }
        if (c != '$') {
            literal += c;
            continue;
        }
        if (!isDigit(next)) {
            throw XPathError(ErrorCode::FORX0004,
                             fmt::format("invalid replacement string \"{}\": '$' must be followed by a digit", replacement));
        }
        flushLiteral();
        size_t group = static_cast<size_t>(next - '0');
        i += 1;
        // A further digit belongs to the number while that still names a group ("$0" never
        // takes one); otherwise it is a literal character. A missing group stands for "".
        while (group != 0 && i + 1 < replacement.size() && isDigit(replacement[i + 1]) &&
               group * 10 + static_cast<size_t>(replacement[i + 1] - '0') <= groupCount) {
            group = group * 10 + static_cast<size_t>(replacement[i + 1] - '0');
            ++i;
        }
        parts.push_back({"", group});
    }
    flushLiteral();
    return parts;
}

// A compiled pattern, or the error that compiling it raised.
using CacheEntry = std::variant<std::shared_ptr<const XPathRegex>, XPathError>;

constexpr size_t kMaxCachedPatterns = 1024;

}  // namespace

XPathRegex::XPathRegex(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
XPathRegex::~XPathRegex() = default;

std::shared_ptr<const XPathRegex> XPathRegex::compile(std::string_view pattern, std::string_view flags) {
    thread_local std::unordered_map<std::string, CacheEntry> cache;
    std::string key;
    key.reserve(flags.size() + 1 + pattern.size());
    key.append(flags).push_back('\0');
    key.append(pattern);
    auto found = cache.find(key);
    if (found == cache.end()) {
        if (cache.size() >= kMaxCachedPatterns) cache.clear();
        CacheEntry entry = [&]() -> CacheEntry {
            try {
                return build(pattern, flags);
            } catch (const XPathError& error) {
                return error;
            }
        }();
        found = cache.emplace(std::move(key), std::move(entry)).first;
    }
    if (const auto* failure = std::get_if<XPathError>(&found->second)) throw *failure;
    return std::get<std::shared_ptr<const XPathRegex>>(found->second);
}

std::shared_ptr<const XPathRegex> XPathRegex::build(std::string_view pattern, std::string_view flags) {
    const IcuRegex translated = translateRegex(pattern, flags);
    auto impl = std::make_unique<Impl>();
    impl->pattern = std::string(pattern);
    impl->groupNumbers = translated.groupNumbers;
    UParseError parseError{};
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString icuPattern(false, translated.pattern.data(), static_cast<int32_t>(translated.pattern.size()));
    impl->compiled.reset(icu::RegexPattern::compile(icuPattern, translated.flags, parseError, status));
    if (U_FAILURE(status)) {
        throw XPathError(ErrorCode::FORX0002, fmt::format("regular expression \"{}\" cannot be compiled: {}", pattern,
                                                          u_errorName(status)));
    }
    impl->matchesEmpty = MatchRun(*impl->compiled, impl->pattern, "", {}).find();
    return std::shared_ptr<const XPathRegex>(new XPathRegex(std::move(impl)));
}

void XPathRegex::rejectEmptyMatch(std::string_view function) const {
    if (!impl_->matchesEmpty) return;
    throw XPathError(ErrorCode::FORX0003, fmt::format("regular expression \"{}\" matches the empty string, which {} "
                                                      "does not allow", impl_->pattern, function));
}

bool XPathRegex::matches(std::string_view input, const RegexStopCheck& stop) const {
    MatchRun run(*impl_->compiled, impl_->pattern, input, stop);
    return run.find();
}

std::string XPathRegex::replace(std::string_view input, std::string_view replacement,
                                const RegexStopCheck& stop) const {
    rejectEmptyMatch("fn:replace");
    const auto parts = parseReplacement(replacement, impl_->groupNumbers.size() - 1);
    MatchRun run(*impl_->compiled, impl_->pattern, input, stop);
    std::string result;
    size_t cursor = 0;
    while (run.find()) {
        const auto [begin, end] = run.match();
        result.append(input.substr(cursor, begin - cursor));
        for (const ReplacementPart& part : parts) {
            if (!part.literal.empty()) {
                result += part.literal;
                continue;
            }
            if (part.group >= impl_->groupNumbers.size()) continue;
            if (const auto span = run.group(impl_->groupNumbers[part.group])) {
                result.append(input.substr(span->first, span->second - span->first));
            }
        }
        cursor = end;
    }
    result.append(input.substr(cursor));
    return result;
}

std::vector<std::string> XPathRegex::tokenize(std::string_view input, const RegexStopCheck& stop) const {
    std::vector<std::string> tokens;
    if (input.empty()) return tokens;  // before the check of the pattern, as the reference does
    rejectEmptyMatch("fn:tokenize");
    MatchRun run(*impl_->compiled, impl_->pattern, input, stop);
    size_t cursor = 0;
    while (run.find()) {
        const auto [begin, end] = run.match();
        tokens.emplace_back(input.substr(cursor, begin - cursor));
        cursor = end;
    }
    tokens.emplace_back(input.substr(cursor));
    return tokens;
}

bool XPathRegex::matchesEmptyString() const { return impl_->matchesEmpty; }

}  // namespace quillmark::xpath
