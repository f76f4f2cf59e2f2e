#pragma once
// Regular expressions of XPath 2.0 (fn:matches, fn:replace, fn:tokenize): the XML
// Schema dialect with the XPath additions (anchors, back-references, reluctant
// quantifiers, the flags "s", "m", "i" and "x"), translated to ICU and run on code
// points.
//
// Every match operation runs under a time limit, and optionally under a caller's stop
// check; a match that is cut short throws XPathError(QMXP0001), it never counts as
// "no match".

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "xpath/regex_translation.h"

namespace quillmark::xpath {

// Called periodically while a match runs; returning true aborts the match (the operation
// then throws XPathError(QMXP0001)). Lets a caller share one evaluation budget across all
// regex work of a validation. May be empty: then only the per-operation time limit applies.
using RegexStopCheck = std::function<bool()>;

class XPathRegex {
public:
    // Translates an XPath 2.0 regular expression with its flags ("s", "m", "i", "x" in any
    // combination, else FORX0001) into ICU and compiles it; FORX0002 when the pattern is not
    // a valid XPath regular expression. Compiled patterns are cached (per thread, bounded),
    // failures too.
    static std::shared_ptr<const XPathRegex> compile(std::string_view pattern, std::string_view flags);

    ~XPathRegex();
    XPathRegex(const XPathRegex&) = delete;
    XPathRegex& operator=(const XPathRegex&) = delete;

    // fn:matches: true when the pattern matches some substring (unanchored search).
    bool matches(std::string_view input, const RegexStopCheck& stop = {}) const;
    // fn:replace: FORX0003 when the pattern matches "", FORX0004 when the replacement is
    // invalid ("$" not followed by a digit, "\" not followed by "$" or "\"). "$n" beyond the
    // group count is ""; "$12" takes group 12 only when it exists, else group 1 then "2".
    std::string replace(std::string_view input, std::string_view replacement, const RegexStopCheck& stop = {}) const;
    // fn:tokenize: "" input gives no tokens (whatever the pattern); otherwise FORX0003 when
    // the pattern matches "", and a match at the start gives a leading "" token.
    std::vector<std::string> tokenize(std::string_view input, const RegexStopCheck& stop = {}) const;
    // True when the pattern matches the empty string.
    bool matchesEmptyString() const;

    // Limit of one match operation, in ICU match-engine steps (about a second: a step is
    // roughly 0.1 ms of matching on current hardware).
    static constexpr int32_t kTimeLimitSteps = 10000;

private:
    struct Impl;
    explicit XPathRegex(std::unique_ptr<Impl> impl);
    // Translation and ICU compilation, without the cache.
    static std::shared_ptr<const XPathRegex> build(std::string_view pattern, std::string_view flags);
    // FORX0003 for a pattern that matches "", which fn:replace and fn:tokenize refuse.
    void rejectEmptyMatch(std::string_view function) const;
    std::unique_ptr<Impl> impl_;
};

}  // namespace quillmark::xpath
