#pragma once
// Regular expressions of rule sets (the functions matches, replace, tokenize and
// normalize-space): ICU syntax, compiled without flags, so matching is case-sensitive,
// "." does not match line breaks and "^"/"$" anchor at the ends of the whole text.
//
// Every match operation runs under a time limit, so that a pattern with catastrophic
// backtracking cannot hang a validation: when the limit is hit the operation behaves as
// if nothing matched and one line is logged.

#include <cstddef>
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

    // Limit of one match operation, in ICU match-engine steps (roughly milliseconds).
    static constexpr int kTimeLimitSteps = 300;

private:
    struct Impl;
    Regex(std::string pattern, std::unique_ptr<Impl> impl);
    std::string pattern_;
    std::unique_ptr<Impl> impl_;
};

}  // namespace quillmark
