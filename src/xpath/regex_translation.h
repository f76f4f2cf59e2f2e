#pragma once
// Translation of XPath 2.0 regular expressions (the XML Schema syntax plus the XPath
// additions) into ICU regular expressions.
//
// The translation checks the whole XPath grammar itself, so that nothing ICU would
// accept beyond it (\b, \Q, (?i), (?:, \x{41}, possessive quantifiers, ...) gets through,
// and writes out an ICU pattern that gives each construct its XPath meaning:
//   - "." is [^\n\r] ("s": every character), "\s" is [\t\n\r ], "\w" is [^\p{P}\p{Z}\p{C}];
//   - "$" without "m" is \z (ICU's "$" also matches before a final line break); with "m",
//     only \n ends a line, and "^" does not match after a \n that ends the text;
//   - "\i" and "\c" are the name characters of XML 1.0 fifth edition;
//   - "i" closes literal characters and ranges over simple case folding, but leaves
//     \p{..} and the other escapes alone (so \p{Lu} still matches upper case only);
//   - a back-reference to a group that took no part in the match matches "" (ICU's would
//     fail), through a marker group after each referenced group.
// Under "x", white space is removed from the pattern except inside character classes.
// Repetition counts above 16,777,215 (ICU's limit) are capped there.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::xpath {

// The translation alone (for tests and diagnostics): the ICU pattern text and ICU flags
// (UREGEX_* bits; none so far, as the pattern text expresses every XPath flag).
struct IcuRegex {
    std::u16string pattern;
    uint32_t flags = 0;
    // The ICU group number of each XPath capturing group, by XPath number; [0] is the whole
    // match. ICU numbers differ from XPath ones when marker groups were added.
    std::vector<int32_t> groupNumbers{0};
};

// Throws XPathError FORX0001 for bad flags and FORX0002 for a bad pattern.
IcuRegex translateRegex(std::string_view pattern, std::string_view flags);

}  // namespace quillmark::xpath
