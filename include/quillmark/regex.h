#pragma once
// Regular expressions of rule sets (the functions matches, replace, tokenize and
// normalize-space): ICU syntax, compiled without flags, so matching is case-sensitive,
// "." does not match line breaks and "^"/"$" anchor at the ends of the whole text.
//
// Every match operation runs under a time limit, so that a pattern with catastrophic
// backtracking cannot hang a validation: when the limit is hit the operation behaves as
// if nothing matched and one line is logged.
//
// While an evaluation budget is current on the calling thread (EvaluationBudget::Scope),
// matching is charged to it and stops when it runs out, and an operation that is cut
// short (by the budget, its own time limit or the backtracking stack) stops the budget
// instead of logging: the evaluator then ends with an error, never with "no match".
// The value such an operation returns means nothing.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark {

class Regex {
public:
    // A match as UTF-8 byte offsets into the text that was searched: [begin, end).
    struct Span {
        size_t begin = 0;
        size_t end = 0;
        friend bool operator==(const Span&, const Span&) = default;
    };

    // Compiles `pattern`; null when it does not compile. Compiled patterns (and
    // failures) are cached per thread, so calling this for every node is cheap.
    static std::shared_ptr<const Regex> compile(std::string_view pattern);

    ~Regex();
    Regex(const Regex&) = delete;
    Regex& operator=(const Regex&) = delete;

    const std::string& pattern() const { return pattern_; }

    // True when the pattern matches somewhere in the text.
    bool find(std::string_view text) const;
    // True when the pattern matches the whole text.
    bool matchesEntire(std::string_view text) const;
    // All non-overlapping matches, left to right (empty matches included).
    std::vector<Span> findAll(std::string_view text) const;
    // The text with every match replaced by `replacement`, a template in which "$n"
    // stands for group n and a backslash escapes the next character. The text comes
    // back unchanged (and *failed is set when given) when the template is malformed or
    // the time limit is hit.
    std::string replaceAll(std::string_view text, std::string_view replacement, bool* failed = nullptr) const;
    // The pieces of the text between matches, in order, leaving out empty pieces; the
    // whole text as the only piece when that leaves nothing.
    std::vector<std::string> split(std::string_view text) const;

    // Limit of one match operation, in ICU match-engine steps (roughly milliseconds):
    // kTimeLimitSteps, and one more per kCodeUnitsPerExtraStep of the text searched, so
    // that a long text can be scanned to its end while a short one cannot keep a
    // backtracking pattern busy for long.
    static constexpr int kTimeLimitSteps = 300;
    static constexpr int kCodeUnitsPerExtraStep = 256;
    static int32_t timeLimitFor(int32_t textCodeUnits) {
        return kTimeLimitSteps + textCodeUnits / kCodeUnitsPerExtraStep;
    }

private:
    struct Impl;
    Regex(std::string pattern, std::unique_ptr<Impl> impl);
    std::string pattern_;
    std::unique_ptr<Impl> impl_;
};

}  // namespace quillmark
