#include "xpath/regex_translation.h"

#include <fmt/format.h>
#include <unicode/uchar.h>
#include <unicode/uniset.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include "xpath/error.h"

namespace quillmark::xpath {
namespace {

struct RegexFlags {
    bool dotAll = false;
    bool multiLine = false;
    bool caseInsensitive = false;
    bool stripWhiteSpace = false;
};

RegexFlags parseFlags(std::string_view flags) {
    RegexFlags result;
    for (const char letter : flags) {
        switch (letter) {
        case 's': result.dotAll = true; break;
        case 'm': result.multiLine = true; break;
        case 'i': result.caseInsensitive = true; break;
        case 'x': result.stripWhiteSpace = true; break;
        default:
            throw XPathError(ErrorCode::FORX0001, fmt::format("invalid regular expression flags \"{}\": only s, m, i "
                                                              "and x are allowed", flags));
        }
    }
    return result;
}

bool isXmlWhiteSpace(char32_t c) { return c == 0x9 || c == 0xA || c == 0xD || c == 0x20; }
bool isDigit(char32_t c) { return c >= '0' && c <= '9'; }
bool isAsciiLetterOrDigit(char32_t c) { return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// The code points of the pattern; malformed UTF-8 becomes U+FFFD.
std::u32string codePoints(std::string_view utf8) {
    std::u32string result;
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
    const auto length = static_cast<int32_t>(utf8.size());
    int32_t index = 0;
    while (index < length) {
        UChar32 c = 0;
        U8_NEXT(bytes, index, length, c);
        result.push_back(c < 0 ? U'\uFFFD' : static_cast<char32_t>(c));
    }
    return result;
}

// The pattern without the white space that the "x" flag removes: all of it except inside
// character classes. An escaped character stays escaped, also when white space stood
// between the backslash and it.
std::u32string withoutWhiteSpace(const std::u32string& pattern) {
    std::u32string result;
    int classDepth = 0;
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char32_t c = pattern[i];
        if (c == '\\') {
            result.push_back(c);
            if (classDepth == 0) {
                while (i + 1 < pattern.size() && isXmlWhiteSpace(pattern[i + 1])) ++i;
            }
            if (i + 1 < pattern.size()) result.push_back(pattern[++i]);
            continue;
        }
        if (c == '[') ++classDepth;
        if (c == ']' && classDepth > 0) --classDepth;
        if (classDepth == 0 && isXmlWhiteSpace(c)) continue;
        result.push_back(c);
    }
    return result;
}

void appendAscii(std::u16string& out, std::string_view text) {
    for (const char c : text) out.push_back(static_cast<char16_t>(c));
}

// One character as ICU pattern text that stands for itself, inside a class or outside.
void appendLiteral(std::u16string& out, char32_t c) {
    if (isAsciiLetterOrDigit(c)) {
        out.push_back(static_cast<char16_t>(c));
        return;
    }
    if (c > 0x20 && c < 0x7F) {
        out.push_back(u'\\');
        out.push_back(static_cast<char16_t>(c));
        return;
    }
    appendAscii(out, fmt::format("\\x{{{:X}}}", static_cast<uint32_t>(c)));
}

void appendRange(std::u16string& out, char32_t first, char32_t last) {
    appendLiteral(out, first);
    if (last == first) return;
    out.push_back(u'-');
    appendLiteral(out, last);
}

// The range with every character that has the same simple case folding as one of its own.
void appendCaseClosure(std::u16string& out, char32_t first, char32_t last) {
    icu::UnicodeSet set(static_cast<UChar32>(first), static_cast<UChar32>(last));
    set.closeOver(USET_CASE_INSENSITIVE);
    set.removeAllStrings();
    for (int32_t i = 0; i < set.getRangeCount(); ++i) {
        appendRange(out, static_cast<char32_t>(set.getRangeStart(i)), static_cast<char32_t>(set.getRangeEnd(i)));
    }
}

struct CodePointRange {
    char32_t first;
    char32_t last;
};

// NameStartChar of XML 1.0 fifth edition (which is what "\i" matches besides ':').
constexpr std::array<CodePointRange, 16> kNameStartRanges{{
    {':', ':'}, {'A', 'Z'}, {'_', '_'}, {'a', 'z'}, {0xC0, 0xD6}, {0xD8, 0xF6}, {0xF8, 0x2FF}, {0x370, 0x37D},
    {0x37F, 0x1FFF}, {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF},
    {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
}};
// What NameChar adds to NameStartChar.
constexpr std::array<CodePointRange, 6> kNameCharExtraRanges{{
    {'-', '-'}, {'.', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
}};

std::u16string nameCharacterSet(bool complemented, bool includeNameChars) {
    std::u16string set = complemented ? u"[^" : u"[";
    for (const CodePointRange& range : kNameStartRanges) appendRange(set, range.first, range.last);
    if (includeNameChars) {
        for (const CodePointRange& range : kNameCharExtraRanges) appendRange(set, range.first, range.last);
    }
    set += u']';
    return set;
}

// The general categories XML Schema names in \p{..}.
constexpr std::array<std::string_view, 36> kCategories{
    "L",  "Lu", "Ll", "Lt", "Lm", "Lo", "M",  "Mn", "Mc", "Me", "N",  "Nd", "Nl", "No", "P",  "Pc", "Pd", "Ps",
    "Pe", "Pi", "Pf", "Po", "Z",  "Zs", "Zl", "Zp", "S",  "Sm", "Sc", "Sk", "So", "C",  "Cc", "Cf", "Co", "Cn",
};

std::u16string toAsciiUtf16(std::string_view text) {
    std::u16string result;
    appendAscii(result, text);
    return result;
}

constexpr char32_t kEnd = std::numeric_limits<char32_t>::max();

// One pass over the pattern, parsing the XPath grammar and writing the ICU pattern.
class Translator {
public:
    Translator(std::string_view pattern, RegexFlags flags, std::vector<bool> referenced)
        : original_(pattern),
          source_(flags.stripWhiteSpace ? withoutWhiteSpace(codePoints(pattern)) : codePoints(pattern)),
          flags_(flags),
          referenced_(std::move(referenced)) {}

    IcuRegex translate() {
        regExp();
        if (!atEnd()) fail("unmatched ')'");
        IcuRegex result;
        result.pattern = std::move(output_);
        result.flags = 0;  // every flag is expressed in the pattern itself
        result.groupNumbers = std::move(groupNumbers_);
        return result;
    }

    // The XPath groups that back-references point to (known after translate()).
    const std::vector<bool>& referencedGroups() const { return referencedNow_; }

private:
    char32_t peek(size_t ahead = 0) const {
        return position_ + ahead < source_.size() ? source_[position_ + ahead] : kEnd;
    }
    bool atEnd() const { return position_ >= source_.size(); }

    [[noreturn]] void fail(std::string_view reason) const {
        throw XPathError(ErrorCode::FORX0002, fmt::format("invalid regular expression \"{}\": {} (at character {})",
                                                          original_, reason, position_ + 1));
    }

    // regExp ::= branch ( '|' branch )*
    void regExp() {
        branch();
        while (peek() == '|') {
            ++position_;
            output_ += u'|';
            branch();
        }
    }

    // branch ::= piece*
    void branch() {
        while (!atEnd() && peek() != '|' && peek() != ')') piece();
    }

    static bool startsQuantifier(char32_t c) { return c == '?' || c == '*' || c == '+' || c == '{'; }

    // piece ::= atom quantifier?
    void piece() {
        const size_t atomStart = output_.size();
        const bool isAnchor = atom();
        if (!startsQuantifier(peek())) return;
        // ICU does not repeat an anchor by itself; a group around it is the same.
        if (isAnchor) {
            output_.insert(atomStart, u"(?:");
            output_ += u')';
        }
        quantifier();
    }

    // quantifier ::= ( [?*+] | '{' quantity '}' ) '?'?
    void quantifier() {
        const char32_t c = source_[position_++];
        if (c == '{') {
            quantity();
        } else {
            output_ += static_cast<char16_t>(c);
        }
        if (peek() == '?') {
            ++position_;
            output_ += u'?';
        }
        if (startsQuantifier(peek())) fail("a quantifier cannot follow another quantifier");
    }

    // quantity ::= QuantExact ( ',' QuantExact? )?      (the '{' already read)
    void quantity() {
        const uint32_t min = quantExact();
        appendAscii(output_, fmt::format("{{{}", icuCount(min)));
        if (peek() == ',') {
            ++position_;
            output_ += u',';
            if (isDigit(peek())) {
                const uint32_t max = quantExact();
                if (max < min) fail("quantifier {n,m} with m less than n");
                appendAscii(output_, fmt::format("{}", icuCount(max)));
            }
        }
        if (peek() != '}') fail("quantifier is not closed by '}'");
        ++position_;
        output_ += u'}';
    }

    // QuantExact ::= [0-9]+
    uint32_t quantExact() {
        if (!isDigit(peek())) fail("'{' must start a quantifier {n}, {n,} or {n,m}");
        uint64_t value = 0;
        while (isDigit(peek())) {
            value = value * 10 + (source_[position_++] - '0');
            if (value > static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) fail("quantifier is too large");
        }
        return static_cast<uint32_t>(value);
    }

    // ICU counts repetitions up to 2^24 - 1; a larger count only makes a difference for
    // texts of more than 16 million characters, so it is capped there.
    static uint32_t icuCount(uint32_t count) { return std::min<uint32_t>(count, kMaxIcuCount); }
    static constexpr uint32_t kMaxIcuCount = 0xFFFFFF;

    // atom ::= Char | charClass | '(' regExp ')' | backReference | '^' | '$'
    // Returns true for the anchors.
    bool atom() {
        const char32_t c = peek();
        switch (c) {
        case '(': group(); return false;
        case '[': output_ += charClassExpr(); return false;
        case '\\': escapeAtom(); return false;
        case '.':
            ++position_;
            output_ += flags_.dotAll ? u"[\\x{0}-\\x{10FFFF}]" : u"[^\\n\\r]";
            return false;
        case '^':
            // With "m", a line starts after each \n except one that ends the input.
            ++position_;
            output_ += flags_.multiLine ? u"(?:\\A|(?<=\\n)(?!\\z))" : u"\\A";
            return true;
        case '$':
            ++position_;
            output_ += flags_.multiLine ? u"(?=\\n|\\z)" : u"\\z";
            return true;
        case '?':
        case '*':
        case '+':
        case '{': fail("quantifier without anything to repeat");
        case ']': fail("']' outside a character class must be escaped");
        default:
            ++position_;
            appendCharacter(c);
            return false;
        }
    }

    void appendCharacter(char32_t c) {
        if (!flags_.caseInsensitive) {
            appendLiteral(output_, c);
            return;
        }
        output_ += u'[';
        appendCaseClosure(output_, c, c);
        output_ += u']';
    }

    // '(' regExp ')'
    void group() {
        ++position_;
        if (peek() == '?') fail("'(?' constructs are not part of XPath regular expressions");
        const size_t number = groupNumbers_.size();
        groupNumbers_.push_back(++icuGroups_);
        closed_.push_back(false);
        markerNumbers_.push_back(0);
        output_ += u'(';
        regExp();
        if (peek() != ')') fail("missing ')'");
        ++position_;
        if (number < referenced_.size() && referenced_[number]) {
            // Set exactly when the group is: tells a back-reference whether the group took part.
            markerNumbers_[number] = ++icuGroups_;
            output_ += u"()";
        }
        output_ += u')';
        closed_[number] = true;
    }

    // SingleCharEsc ::= '\' [nrt\|.?*+(){}#x2D#x5B#x5D#x5E$]   (the character it stands for)
    static std::optional<char32_t> singleCharEscape(char32_t c) {
        switch (c) {
        case 'n': return U'\n';
        case 'r': return U'\r';
        case 't': return U'\t';
        case '\\':
        case '|':
        case '.':
        case '?':
        case '*':
        case '+':
        case '(':
        case ')':
        case '{':
        case '}':
        case '-':
        case '[':
        case ']':
        case '^':
        case '$': return c;
        default: return std::nullopt;
        }
    }

    // An escape outside a class: SingleCharEsc | charClassEsc | backReference
    void escapeAtom() {
        const char32_t next = peek(1);
        if (isDigit(next)) {
            backReference();
            return;
        }
        if (const auto single = singleCharEscape(next)) {
            position_ += 2;
            appendCharacter(*single);
            return;
        }
        output_ += classEscape();
    }

    // charClassEsc without SingleCharEsc: MultiCharEsc | catEsc | complEsc
    std::u16string classEscape() {
        const char32_t letter = peek(1);
        if (letter == kEnd) fail("'\\' at the end of the pattern");
        position_ += 2;
        switch (letter) {
        case 's': return u"[\\t\\n\\r\\x{20}]";
        case 'S': return u"[^\\t\\n\\r\\x{20}]";
        case 'd': return u"\\p{Nd}";
        case 'D': return u"\\P{Nd}";
        case 'w': return u"[^\\p{P}\\p{Z}\\p{C}]";
        case 'W': return u"[\\p{P}\\p{Z}\\p{C}]";
        case 'i': return nameCharacterSet(false, false);
        case 'I': return nameCharacterSet(true, false);
        case 'c': return nameCharacterSet(false, true);
        case 'C': return nameCharacterSet(true, true);
        case 'p': return propertyEscape(false);
        case 'P': return propertyEscape(true);
        default:
            position_ -= 2;
            fail(letter < 0x80 ? fmt::format("unknown escape \\{}", static_cast<char>(letter)) : "unknown escape");
        }
    }

    // catEsc ::= '\p{' charProp '}'   complEsc ::= '\P{' charProp '}'   charProp ::= IsCategory | IsBlock
    std::u16string propertyEscape(bool complemented) {
        if (peek() != '{') fail("\\p and \\P must be followed by {name}");
        ++position_;
        std::string name;
        while (peek() != '}') {
            if (atEnd()) fail("\\p{ is not closed by '}'");
            const char32_t c = source_[position_++];
            name += c < 0x80 ? static_cast<char>(c) : '?';
        }
        ++position_;
        const std::u16string set = name.starts_with("Is") ? blockSet(name.substr(2)) : categorySet(name);
        return complemented ? u"[^" + set + u"]" : set;
    }

    std::u16string categorySet(const std::string& name) const {
        if (std::find(kCategories.begin(), kCategories.end(), name) == kCategories.end()) {
            fail(fmt::format("unknown character category \"{}\"", name));
        }
        return toAsciiUtf16("\\p{" + name + "}");
    }

    // IsBlock ::= 'Is' [a-zA-Z0-9#x2D]+ ; block names as ICU knows them (loosely: case,
    // hyphens and underscores do not matter), plus the two blocks XML Schema defines its own
    // way: PrivateUse includes the private-use planes, Specials includes U+FEFF.
    std::u16string blockSet(const std::string& name) const {
        const bool wellFormed = !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
            return isAsciiLetterOrDigit(static_cast<unsigned char>(c)) || c == '-';
        });
        if (!wellFormed) fail(fmt::format("invalid block name \"{}\"", name));
        if (name == "PrivateUse") return u"[\\p{blk=PUA}\\p{blk=Sup_PUA_A}\\p{blk=Sup_PUA_B}]";
        if (name == "Specials") return u"[\\x{FEFF}\\p{blk=Specials}]";
        const int32_t block = u_getPropertyValueEnum(UCHAR_BLOCK, name.c_str());
        const char* icuName = u_getPropertyValueName(UCHAR_BLOCK, block, U_LONG_PROPERTY_NAME);
        if (block == UCHAR_INVALID_CODE || icuName == nullptr) fail(fmt::format("unknown block \"{}\"", name));
        return toAsciiUtf16(fmt::format("\\p{{blk={}}}", icuName));
    }

    // backReference ::= '\' [1-9][0-9]*  (a further digit belongs to it only while the number
    // stays within the groups opened so far)
    void backReference() {
        ++position_;
        size_t number = source_[position_] - '0';
        if (number == 0) fail("\\0 is not a back-reference");
        ++position_;
        const size_t opened = groupNumbers_.size() - 1;
        while (isDigit(peek()) && number * 10 + (peek() - '0') <= opened) {
            number = number * 10 + (source_[position_++] - '0');
        }
        if (number > opened || !closed_[number]) {
            fail(fmt::format("back-reference \\{} to a group that does not end before it", number));
        }
        if (referencedNow_.size() <= number) referencedNow_.resize(number + 1);
        referencedNow_[number] = true;
        const std::string reference = fmt::format("\\{}", groupNumbers_[number]);
        appendAscii(output_, flags_.caseInsensitive ? "(?:(?i:" + reference + ")" : "(?:" + reference);
        if (markerNumbers_[number] != 0) {
            // The group took no part in the match: the reference matches "".
            appendAscii(output_, fmt::format("|(?!\\{})", markerNumbers_[number]));
        }
        output_ += u')';
    }

    // charClassExpr ::= '[' charGroup ']'
    // charGroup ::= posCharGroup | negCharGroup | charClassSub
    // charClassSub ::= ( posCharGroup | negCharGroup ) '-' charClassExpr
    std::u16string charClassExpr() {
        ++position_;
        const bool negated = peek() == '^';
        if (negated) ++position_;
        std::u16string set = negated ? u"[^" : u"[";
        set += posCharGroup();
        set += u']';
        if (peek() == '-') {
            ++position_;
            set = u"[" + set + u"--" + charClassExpr() + u"]";
        }
        if (peek() != ']') fail(atEnd() ? "character class is not closed by ']'" : "a subtraction must end its class");
        ++position_;
        return set;
    }

    // posCharGroup ::= ( charRange | charClassEsc )+     (stops before ']' and before "-[")
    std::u16string posCharGroup() {
        std::u16string items;
        while (!atEnd() && peek() != ']' && !(peek() == '-' && peek(1) == '[')) charGroupPart(items);
        if (items.empty()) fail("empty character class");
        return items;
    }

    // charRange ::= seRange | XmlCharIncDash    seRange ::= charOrEsc '-' charOrEsc
    void charGroupPart(std::u16string& items) {
        const char32_t c = peek();
        if (c == '[') fail("'[' inside a character class must be escaped");
        if (c == '-') {
            hyphen(items);
            return;
        }
        if (c == '\\' && !singleCharEscape(peek(1))) {
            items += classEscape();
            return;
        }
        const char32_t first = charOrEscape();
        const char32_t afterHyphen = peek(1);
        if (peek() != '-' || afterHyphen == '[' || afterHyphen == ']' || afterHyphen == '-' || afterHyphen == kEnd) {
            appendClassRange(items, first, first);
            return;
        }
        ++position_;
        if (peek() == '\\' && !singleCharEscape(peek(1))) fail("a range cannot end with a multi-character escape");
        const char32_t last = charOrEscape();
        if (last < first) fail("character range in reverse order");
        appendClassRange(items, first, last);
    }

    // A '-' that does not make a range stands for itself (at either end of a group, after a
    // range or a multi-character escape, before a subtraction); "--" elsewhere is an error.
    void hyphen(std::u16string& items) {
        if (peek(1) == '-' && peek(2) != '[') fail("'--' inside a character class");
        ++position_;
        appendClassRange(items, '-', '-');
    }

    // charOrEsc ::= XmlChar | SingleCharEsc
    char32_t charOrEscape() {
        if (peek() != '\\') return source_[position_++];
        const char32_t escaped = *singleCharEscape(peek(1));
        position_ += 2;
        return escaped;
    }

    void appendClassRange(std::u16string& items, char32_t first, char32_t last) const {
        if (flags_.caseInsensitive) {
            appendCaseClosure(items, first, last);
        } else {
            appendRange(items, first, last);
        }
    }

    std::string_view original_;
    std::u32string source_;
    size_t position_ = 0;
    RegexFlags flags_;
    std::u16string output_;
    int32_t icuGroups_ = 0;
    std::vector<int32_t> groupNumbers_{0};  // ICU number of each XPath group
    std::vector<bool> closed_{true};         // per XPath group: its ')' has been read
    std::vector<int32_t> markerNumbers_{0};  // per XPath group: ICU number of its marker, or 0
    std::vector<bool> referenced_;           // groups with back-references, from a first pass
    std::vector<bool> referencedNow_;        // groups with back-references, found by this pass
};

}  // namespace

IcuRegex translateRegex(std::string_view pattern, std::string_view flags) {
    const RegexFlags parsedFlags = parseFlags(flags);
    if (pattern.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max() / 4)) {
        throw XPathError(ErrorCode::FORX0002, "regular expression is too long");
    }
    Translator first(pattern, parsedFlags, {});
    IcuRegex result = first.translate();
    const std::vector<bool>& referenced = first.referencedGroups();
    if (std::find(referenced.begin(), referenced.end(), true) == referenced.end()) return result;
    // Back-references need marker groups after the groups they point to; now that those
    // are known, translate again.
    Translator second(pattern, parsedFlags, referenced);
    return second.translate();
}

}  // namespace quillmark::xpath
