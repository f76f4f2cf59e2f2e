#include "quillmark/regex.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <limits>
#include <optional>
#include <unordered_map>

#include "quillmark/evaluation_budget.h"
#include "quillmark/log.h"
#include "quillmark/unicode.h"

namespace quillmark {

struct Regex::Impl {
    std::unique_ptr<icu::RegexPattern> compiled;
};

namespace {

// A text prepared for ICU: its UTF-16 form and where each code unit starts in the
// UTF-8 original, so that match positions map back to byte offsets.
struct PreparedText {
    std::vector<size_t> byteOffsets;  // declared first: filled while `units` is made
    std::u16string units;

    explicit PreparedText(std::string_view text) : units(unicode::toUtf16(text, &byteOffsets)) {}
    bool fitsIcu() const { return units.size() <= static_cast<size_t>(std::numeric_limits<int32_t>::max()); }
    icu::UnicodeString alias() const {
        return icu::UnicodeString(false, units.data(), static_cast<int32_t>(units.size()));
    }
    size_t byteOffset(int32_t unitIndex) const {
        if (unitIndex < 0) {
            return 0;
        }
        const auto index = static_cast<size_t>(unitIndex);
        return index < byteOffsets.size() ? byteOffsets[index] : byteOffsets.back();
    }
};

// Steps charged to an evaluation budget per tick of the match engine (ICU calls back
// every ten thousand or so of its own steps, which are far cheaper than an evaluator's).
constexpr uint64_t kStepsPerMatchTick = 256;

UBool U_CALLCONV continueMatching(const void* context, int32_t /*ticks*/) {
    auto* budget = static_cast<EvaluationBudget*>(const_cast<void*>(context));
    return budget->charge(kStepsPerMatchTick);
}

// Runs of the match engine that end abnormally. Under an evaluation budget a match cut
// short stops the budget, so that the evaluation ends with an error rather than "no
// match" (a budget that ran out during the match has stopped already); without a budget
// the operation counts as no match and one line is logged.
bool reportAbort(const std::string& pattern, UErrorCode status) {
    if (EvaluationBudget* budget = EvaluationBudget::current()) {
        if (status == U_REGEX_TIME_OUT || status == U_REGEX_STACK_OVERFLOW) {
            budget->stopFor(EvaluationStop::RegexLimit, pattern);
        }
        return budget->exhausted();
    }
    if (status == U_REGEX_TIME_OUT) {
        log("Regular expression exceeded its time limit, treated as no match: " + pattern);
        return true;
    }
    if (status == U_REGEX_STACK_OVERFLOW) {
        log("Regular expression exceeded its backtracking stack, treated as no match: " + pattern);
        return true;
    }
    return false;
}

// A matcher over `input` with the time limit set, charging the thread's evaluation
// budget if there is one; null when ICU cannot make one or the budget is exhausted.
std::unique_ptr<icu::RegexMatcher> makeMatcher(const icu::RegexPattern& compiled, const icu::UnicodeString& input) {
    EvaluationBudget* budget = EvaluationBudget::current();
    if (budget && budget->exhausted()) return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(compiled.matcher(input, status));
    if (U_FAILURE(status) || !matcher) {
        return nullptr;
    }
    matcher->setTimeLimit(Regex::timeLimitFor(input.length()), status);
    if (budget) matcher->setMatchCallback(continueMatching, budget, status);
    if (U_FAILURE(status)) {
        return nullptr;
    }
    return matcher;
}

constexpr size_t kMaxCachedPatterns = 4096;

}  // namespace

Regex::Regex(std::string pattern, std::unique_ptr<Impl> impl) : pattern_(std::move(pattern)), impl_(std::move(impl)) {}

Regex::~Regex() = default;

std::shared_ptr<const Regex> Regex::compile(std::string_view pattern) {
    // Failures are cached as null entries, so a broken pattern is not recompiled per node.
    thread_local std::unordered_map<std::string, std::shared_ptr<const Regex>> cache;
    std::string key(pattern);
    if (auto found = cache.find(key); found != cache.end()) {
        return found->second;
    }
    if (cache.size() >= kMaxCachedPatterns) {
        cache.clear();
    }
    std::shared_ptr<const Regex> result;
    const PreparedText text(pattern);
    if (text.fitsIcu()) {
        UParseError parseError{};
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(text.alias(), 0, parseError, status));
        if (U_SUCCESS(status) && compiled) {
            auto impl = std::make_unique<Impl>();
            impl->compiled = std::move(compiled);
            result.reset(new Regex(key, std::move(impl)));
        }
    }
    cache.emplace(std::move(key), result);
    return result;
}

namespace {

// Runs one whole-text query (find, matches) of a matcher; false for text ICU cannot
// take, and for a match that ran out of time.
template <typename Query>
bool runQuery(const icu::RegexPattern& compiled, const std::string& pattern, std::string_view text, Query query) {
    const PreparedText prepared(text);
    if (!prepared.fitsIcu()) return false;
    const icu::UnicodeString input = prepared.alias();
    auto matcher = makeMatcher(compiled, input);
    if (!matcher) return false;
    UErrorCode status = U_ZERO_ERROR;
    const bool result = query(*matcher, status);
    if (U_FAILURE(status)) {
        reportAbort(pattern, status);
        return false;
    }
    return result;
}

}  // namespace

bool Regex::find(std::string_view text) const {
    return runQuery(*impl_->compiled, pattern_, text,
                    [](icu::RegexMatcher& matcher, UErrorCode& status) { return matcher.find(status); });
}

bool Regex::matchesEntire(std::string_view text) const {
    return runQuery(*impl_->compiled, pattern_, text,
                    [](icu::RegexMatcher& matcher, UErrorCode& status) { return matcher.matches(status); });
}

std::vector<Regex::Span> Regex::findAll(std::string_view text) const {
    const PreparedText prepared(text);
    if (!prepared.fitsIcu()) {
        return {};
    }
    const icu::UnicodeString input = prepared.alias();
    auto matcher = makeMatcher(*impl_->compiled, input);
    if (!matcher) {
        return {};
    }
    std::vector<Span> spans;
    UErrorCode status = U_ZERO_ERROR;
    while (matcher->find(status) && U_SUCCESS(status)) {
        const int32_t start = matcher->start(status);
        const int32_t end = matcher->end(status);
        if (U_FAILURE(status)) {
            break;
        }
        spans.push_back({prepared.byteOffset(start), prepared.byteOffset(end)});
    }
    if (U_FAILURE(status)) {
        reportAbort(pattern_, status);
        return {};
    }
    return spans;
}

std::string Regex::replaceAll(std::string_view text, std::string_view replacement, bool* failed) const {
    const PreparedText prepared(text);
    const PreparedText preparedReplacement(replacement);
    if (!prepared.fitsIcu() || !preparedReplacement.fitsIcu()) {
        if (failed) {
            *failed = true;
        }
        return std::string(text);
    }
    const icu::UnicodeString input = prepared.alias();
    auto matcher = makeMatcher(*impl_->compiled, input);
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString result;
    // The matcher's own replaceAll does not report a time-out; this loop does.
    if (matcher) {
        const icu::UnicodeString replacementText = preparedReplacement.alias();
        while (matcher->find(status) && U_SUCCESS(status)) {
            matcher->appendReplacement(result, replacementText, status);
            if (U_FAILURE(status)) break;
        }
        if (U_SUCCESS(status)) matcher->appendTail(result);
    }
    if (!matcher || U_FAILURE(status)) {
        reportAbort(pattern_, status);
        if (failed) {
            *failed = true;
        }
        return std::string(text);
    }
    return unicode::fromUtf16(std::u16string_view(result.getBuffer(), static_cast<size_t>(result.length())));
}

std::vector<std::string> Regex::split(std::string_view text) const {
    std::vector<std::string> pieces;
    size_t cursor = 0;
    for (const Span& span : findAll(text)) {
        if (span.begin > cursor) {
            pieces.emplace_back(text.substr(cursor, span.begin - cursor));
        }
        cursor = std::max(cursor, span.end);
    }
    if (cursor < text.size()) {
        pieces.emplace_back(text.substr(cursor));
    }
    if (pieces.empty()) {
        pieces.emplace_back(text);
    }
    return pieces;
}

}  // namespace quillmark
