// Group steps and function steps are XPath 2.0; libxml2 reads XPath 1.0 only. Both are
// rewritten as text: the scan works on path shapes (steps, predicates, calls) and never
// looks inside string literals.

#include "xml/xpath_rewrite.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "quillmark/xml.h"

namespace quillmark::xml {
namespace {

constexpr size_t npos = std::string::npos;
// Unions multiply with every group; texts that grow past this are left as they were.
constexpr size_t kMaxRewrittenLength = 1 << 16;
constexpr int kMaxRewrites = 256;

class Scan {
public:
    explicit Scan(const std::string& text) : text_(text), literal_(text.size(), false) {
        for (size_t i = 0; i < text.size(); ++i) {
            const char quote = text[i];
            if (quote != '\'' && quote != '"') continue;
            size_t end = text.find(quote, i + 1);
            if (end == npos) end = text.size() - 1;  // an unterminated literal runs to the end
            std::fill(literal_.begin() + static_cast<std::ptrdiff_t>(i),
                      literal_.begin() + static_cast<std::ptrdiff_t>(end) + 1, true);
            i = end;
        }
    }

    size_t size() const { return text_.size(); }
    char at(size_t i) const { return text_[i]; }
    std::string_view text() const { return text_; }
    bool inLiteral(size_t i) const { return literal_[i]; }
    // A character of the expression itself: not part of a literal.
    bool isCode(size_t i, char c) const { return !literal_[i] && text_[i] == c; }

    static bool isOpen(char c) { return c == '(' || c == '['; }
    static bool isClose(char c) { return c == ')' || c == ']'; }
    static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
    static bool isLetter(char c) {
        const auto u = static_cast<unsigned char>(c);
        return u >= 0x80 || (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || c == '_';
    }
    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
    static bool isNameChar(char c) { return isLetter(c) || isDigit(c) || c == '-' || c == '.'; }
    // Characters of steps: names, wildcards, axes, attributes, variables, separators.
    static bool isPathChar(char c) { return isNameChar(c) || (c != '\0' && std::strchr(":*@/$", c)); }

    // The bracket closing the one at `open`, npos when it is missing.
    size_t matchingClose(size_t open) const {
        int depth = 0;
        for (size_t i = open; i < size(); ++i) {
            if (literal_[i]) continue;
            if (isOpen(text_[i])) ++depth;
            if (isClose(text_[i]) && --depth == 0) return i;
        }
        return npos;
    }

    size_t matchingOpen(size_t close) const {
        int depth = 0;
        for (size_t i = close + 1; i-- > 0;) {
            if (literal_[i]) continue;
            if (isClose(text_[i])) ++depth;
            if (isOpen(text_[i]) && --depth == 0) return i;
        }
        return npos;
    }

    // Start of the path that ends just before `end`: back over steps, predicates and
    // calls to the first character that cannot belong to a path.
    size_t pathStart(size_t end) const {
        size_t start = end;
        while (start > 0) {
            const size_t i = start - 1;
            if (literal_[i]) break;
            if (isClose(text_[i])) {
                // A name right after a bracket is an operator keyword ("...)and b"),
                // never a continuation of the path before the bracket.
                if (start < size() && isLetter(text_[start])) break;
                const size_t open = matchingOpen(i);
                if (open == npos) break;
                start = open;
                continue;
            }
            if (isBlank(text_[i])) {
                const size_t before = skipBlanksBackward(i);
                if (!blanksJoinSteps(before, start)) break;
                start = before;
                continue;
            }
            if (!isPathChar(text_[i])) break;
            start = i;
        }
        return start;
    }

    // End (exclusive) of the path that goes on at `begin`.
    size_t pathEnd(size_t begin) const {
        size_t end = begin;
        while (end < size() && !literal_[end]) {
            if (isOpen(text_[end])) {
                const size_t close = matchingClose(end);
                if (close == npos) return size();
                end = close + 1;
                continue;
            }
            if (isBlank(text_[end])) {
                const size_t after = skipBlanksForward(end);
                if (!blanksJoinSteps(end, after)) break;
                end = after;
                continue;
            }
            if (!isPathChar(text_[end])) break;
            ++end;
        }
        return end;
    }

    size_t skipBlanksForward(size_t i) const {
        while (i < size() && isBlank(text_[i])) ++i;
        return i;
    }
    // Index just after the last non-blank before `end`.
    size_t skipBlanksBackward(size_t end) const {
        while (end > 0 && isBlank(text_[end - 1])) --end;
        return end;
    }

private:
    // Blanks in [from, to) belong to a path when they stand beside a step separator
    // ("X / (a|b)"), unless an operator keyword precedes them ("x and /a").
    bool blanksJoinSteps(size_t from, size_t to) const {
        if (from == 0 || to >= size() || literal_[from - 1] || literal_[to]) return false;
        if (text_[from - 1] != '/' && text_[to] != '/') return false;
        size_t wordStart = from;
        while (wordStart > 0 && isNameChar(text_[wordStart - 1])) --wordStart;
        const std::string word = text_.substr(wordStart, from - wordStart);
        const bool keyword = word == "and" || word == "or" || word == "div" || word == "mod";
        return !(keyword && (wordStart == 0 || !isPathChar(text_[wordStart - 1])));
    }

    const std::string& text_;
    std::vector<bool> literal_;
};

// ---- group steps ------------------------------------------------------------------

// The "(" of the first group step: a parenthesis whose step separator "/" precedes it.
std::optional<size_t> findGroupStep(const Scan& scan, size_t& slash) {
    for (size_t i = 0; i < scan.size(); ++i) {
        if (!scan.isCode(i, '(')) continue;
        const size_t before = scan.skipBlanksBackward(i);
        if (before > 0 && scan.isCode(before - 1, '/')) {
            slash = before - 1;
            return i;
        }
    }
    return std::nullopt;
}

std::string trimmed(const std::string& text) {
    size_t begin = 0, end = text.size();
    while (begin < end && Scan::isBlank(text[begin])) ++begin;
    while (end > begin && Scan::isBlank(text[end - 1])) --end;
    return text.substr(begin, end - begin);
}

// The alternatives between `open` and `close`, split at "|" outside brackets.
std::vector<std::string> alternatives(const std::string& text, const Scan& scan, size_t open, size_t close) {
    std::vector<std::string> result;
    int depth = 0;
    size_t pieceStart = open + 1;
    for (size_t i = open + 1; i < close; ++i) {
        if (scan.inLiteral(i)) continue;
        const char c = text[i];
        if (Scan::isOpen(c)) ++depth;
        if (Scan::isClose(c)) --depth;
        if (c == '|' && depth == 0) {
            result.push_back(trimmed(text.substr(pieceStart, i - pieceStart)));
            pieceStart = i + 1;
        }
    }
    result.push_back(trimmed(text.substr(pieceStart, close - pieceStart)));
    return result;
}

// Rewrites the first group step; false when there is none left (or it is unbalanced).
bool rewriteFirstGroupStep(std::string& text) {
    const Scan scan(text);
    size_t slash = 0;
    const std::optional<size_t> open = findGroupStep(scan, slash);
    if (!open) return false;
    const size_t close = scan.matchingClose(*open);
    if (close == npos) return false;
    const size_t start = scan.pathStart(slash + 1);
    const size_t end = scan.pathEnd(close + 1);
    const std::string before = text.substr(start, slash + 1 - start);
    const std::string after = text.substr(close + 1, end - close - 1);
    std::string unionText;
    for (const std::string& alternative : alternatives(text, scan, *open, close)) {
        if (!unionText.empty()) unionText += '|';
        unionText += before + alternative + after;
    }
    text = text.substr(0, start) + unionText + text.substr(end);
    return true;
}

// ---- function steps ---------------------------------------------------------------

bool isNodeTypeTest(const std::string& name) {
    return name == "node" || name == "text" || name == "comment" || name == "processing-instruction";
}

// End of a (possibly prefixed) function name starting at `begin`, npos when none.
size_t functionNameEnd(const Scan& scan, size_t begin) {
    if (begin >= scan.size() || !Scan::isLetter(scan.at(begin))) return npos;
    size_t end = begin;
    while (end < scan.size() && Scan::isNameChar(scan.at(end))) ++end;
    const bool prefixed = end + 1 < scan.size() && scan.at(end) == ':' && Scan::isLetter(scan.at(end + 1));
    if (prefixed) {
        end += 1;
        while (end < scan.size() && Scan::isNameChar(scan.at(end))) ++end;
    }
    return end;
}

// Where a comparison operand may begin or end without an operator that binds tighter
// next to it: the edges of the text, brackets, argument commas, and the keywords
// "and"/"or" (which rule-set text may join to a literal without a blank).
bool isComparisonBoundary(const Scan& scan, size_t i, bool lookingBack) {
    if (lookingBack ? i == 0 : i >= scan.size()) return true;
    const size_t at = lookingBack ? i - 1 : i;
    const char c = scan.at(at);
    if (scan.inLiteral(at)) return lookingBack;
    if (lookingBack) return c == '[' || c == '(' || c == ',' || Scan::isNameChar(c);
    return c == ']' || c == ')' || c == ',' || Scan::isLetter(c);
}

// Rule-set text may join an operator keyword to the operand after it ("'x'andb"),
// which libxml2 reads as the keyword and the operand; the operand starts after it.
size_t skipOperatorKeyword(const Scan& scan, size_t start, size_t end) {
    if (start == 0) return start;
    const bool afterOperand = scan.inLiteral(start - 1) || Scan::isClose(scan.at(start - 1));
    if (!afterOperand) return start;
    for (const std::string_view keyword : {"and", "or"}) {
        if (end - start > keyword.size() && scan.text().substr(start, keyword.size()) == keyword) {
            return start + keyword.size();
        }
    }
    return start;
}

// A literal or number operand starting at `begin`: its end, npos when there is none.
size_t operandEnd(const Scan& scan, size_t begin) {
    if (begin >= scan.size()) return npos;
    if (scan.inLiteral(begin)) {
        size_t end = begin + 1;
        while (end < scan.size() && scan.inLiteral(end) && scan.at(end) != scan.at(begin)) ++end;
        return end < scan.size() ? end + 1 : npos;
    }
    size_t end = begin;
    if (scan.at(end) == '-') ++end;
    const size_t digits = end;
    while (end < scan.size() && (Scan::isDigit(scan.at(end)) || scan.at(end) == '.')) ++end;
    return end > digits && Scan::isDigit(scan.at(end - 1)) ? end : npos;
}

// A literal or number operand ending at `end`: its start, npos when there is none.
size_t operandStart(const Scan& scan, size_t end) {
    if (end == 0) return npos;
    if (scan.inLiteral(end - 1)) {
        const char quote = scan.at(end - 1);
        if (quote != '\'' && quote != '"') return npos;
        for (size_t i = end - 1; i-- > 0;) {
            if (scan.at(i) == quote) return scan.inLiteral(i) ? i : npos;
        }
        return npos;
    }
    size_t start = end;
    while (start > 0 && (Scan::isDigit(scan.at(start - 1)) || scan.at(start - 1) == '.')) --start;
    if (start == end) return npos;
    if (start > 0 && scan.at(start - 1) == '-') --start;
    return start;
}

// Comparison operator at `begin` ("=", "!=", "<", "<=", ">", ">="): its length or 0.
size_t operatorLength(const Scan& scan, size_t begin) {
    if (begin >= scan.size() || scan.inLiteral(begin)) return 0;
    const char c = scan.at(begin);
    const bool equalsFollows = begin + 1 < scan.size() && scan.at(begin + 1) == '=';
    if (c == '=') return 1;
    if (c == '!') return equalsFollows ? 2 : 0;
    if (c == '<' || c == '>') return equalsFollows ? 2 : 1;
    return 0;
}

std::string mirrored(const std::string& op) {
    if (op == "<") return ">";
    if (op == ">") return "<";
    if (op == "<=") return ">=";
    if (op == ">=") return "<=";
    return op;
}

struct FunctionStep {
    size_t start;  // first character of the path before the step
    size_t slash;  // the "/" before the function name
    size_t close;  // the ")" closing the call
};

// "path/f(...) op operand": the replacement and the end of the replaced span.
std::optional<std::pair<std::string, size_t>> comparisonAfter(const std::string& text, const Scan& scan,
                                                              const FunctionStep& step) {
    const size_t opBegin = scan.skipBlanksForward(step.close + 1);
    const size_t opLength = operatorLength(scan, opBegin);
    if (opLength == 0) return std::nullopt;
    const size_t operandBegin = scan.skipBlanksForward(opBegin + opLength);
    const size_t end = operandEnd(scan, operandBegin);
    if (end == npos || !isComparisonBoundary(scan, scan.skipBlanksForward(end), false)) return std::nullopt;
    if (!isComparisonBoundary(scan, scan.skipBlanksBackward(step.start), true)) return std::nullopt;
    std::string replacement = text.substr(step.start, step.slash - step.start) + "[" +
                              text.substr(step.slash + 1, step.close - step.slash) +
                              text.substr(opBegin, opLength) + text.substr(operandBegin, end - operandBegin) + "]";
    return std::make_pair(std::move(replacement), end);
}

// "operand op path/f(...)": the replacement and the start of the replaced span.
std::optional<std::pair<std::string, size_t>> comparisonBefore(const std::string& text, const Scan& scan,
                                                               const FunctionStep& step) {
    if (!isComparisonBoundary(scan, scan.skipBlanksForward(step.close + 1), false)) return std::nullopt;
    const size_t opEnd = scan.skipBlanksBackward(step.start);
    size_t opBegin = opEnd;
    while (opBegin > 0 && opEnd - opBegin < 2 && std::strchr("=!<>", scan.at(opBegin - 1))) --opBegin;
    if (opBegin == opEnd || operatorLength(scan, opBegin) != opEnd - opBegin) return std::nullopt;
    const size_t start = operandStart(scan, scan.skipBlanksBackward(opBegin));
    if (start == npos || !isComparisonBoundary(scan, scan.skipBlanksBackward(start), true)) return std::nullopt;
    const std::string op = mirrored(text.substr(opBegin, opEnd - opBegin));
    const size_t operandEndIndex = scan.skipBlanksBackward(opBegin);
    std::string replacement = text.substr(step.start, step.slash - step.start) + "[" +
                              text.substr(step.slash + 1, step.close - step.slash) + op +
                              text.substr(start, operandEndIndex - start) + "]";
    return std::make_pair(std::move(replacement), start);
}

// A cast to a number whose argument is one relative path: "xs:decimal(cbc:Amount)".
bool isNumericCastOfPath(const std::string& text, const Scan& scan, size_t nameBegin, size_t open, size_t close) {
    const std::string name = text.substr(nameBegin, open - nameBegin);
    if (name != "xs:decimal" && name != "xs:double" && name != "number") return false;
    const size_t argument = scan.skipBlanksForward(open + 1);
    if (argument >= close || scan.at(argument) == '/' || !Scan::isPathChar(scan.at(argument))) return false;
    return scan.skipBlanksForward(scan.pathEnd(argument)) == close;
}

// ---- comparisons with a sequence of literals -----------------------------------------

// "L = ('a', 'b')" becomes "(L='a' or L='b')": a general comparison with a sequence holds
// when it holds for one of its items. Only sequences of literals and numbers qualify.
size_t rewriteNextSequenceComparison(std::string& text, size_t from) {
    const Scan scan(text);
    for (size_t open = from; open < scan.size(); ++open) {
        if (!scan.isCode(open, '(')) continue;
        const size_t opEnd = scan.skipBlanksBackward(open);
        size_t opBegin = opEnd;
        while (opBegin > 0 && opEnd - opBegin < 2 && std::strchr("=!<>", scan.at(opBegin - 1))) --opBegin;
        if (opBegin == opEnd || operatorLength(scan, opBegin) != opEnd - opBegin) continue;
        const size_t close = scan.matchingClose(open);
        if (close == npos) return npos;
        std::vector<std::string> items;
        bool literalsOnly = true;
        for (size_t itemBegin = open + 1; literalsOnly && itemBegin <= close;) {
            const size_t begin = scan.skipBlanksForward(itemBegin);
            const size_t end = operandEnd(scan, begin);
            const size_t next = end == npos ? npos : scan.skipBlanksForward(end);
            literalsOnly = next != npos && (next == close || scan.isCode(next, ','));
            if (literalsOnly) items.push_back(text.substr(begin, end - begin));
            itemBegin = next == npos ? npos : next + 1;
        }
        if (!literalsOnly || items.empty()) continue;
        const size_t lhsEnd = scan.skipBlanksBackward(opBegin);
        const size_t lhsStart = skipOperatorKeyword(scan, scan.pathStart(lhsEnd), lhsEnd);
        if (lhsStart == lhsEnd || !isComparisonBoundary(scan, scan.skipBlanksBackward(lhsStart), true)) continue;
        if (!isComparisonBoundary(scan, scan.skipBlanksForward(close + 1), false)) continue;
        const std::string lhs = text.substr(lhsStart, lhsEnd - lhsStart);
        const std::string op = text.substr(opBegin, opEnd - opBegin);
        std::string replacement = "(";
        for (size_t i = 0; i < items.size(); ++i) replacement += (i ? " or " : "") + lhs + op + items[i];
        replacement += ")";
        text = text.substr(0, lhsStart) + replacement + text.substr(close + 1);
        return lhsStart + replacement.size();
    }
    return npos;
}

// Rewrites the first rewritable function step at or after `from`; returns the index to
// go on from, npos when there is nothing left.
size_t rewriteNextFunctionStep(std::string& text, size_t from) {
    const Scan scan(text);
    for (size_t slash = from; slash < scan.size(); ++slash) {
        if (!scan.isCode(slash, '/')) continue;
        const size_t nameEnd = functionNameEnd(scan, slash + 1);
        if (nameEnd == npos || nameEnd >= scan.size() || scan.at(nameEnd) != '(') continue;
        if (isNodeTypeTest(text.substr(slash + 1, nameEnd - slash - 1))) continue;
        const size_t close = scan.matchingClose(nameEnd);
        if (close == npos) return npos;
        const FunctionStep step{scan.pathStart(slash), slash, close};
        if (step.start == slash) continue;  // nothing before the step to filter
        if (auto after = comparisonAfter(text, scan, step)) {
            text = text.substr(0, step.start) + after->first + text.substr(after->second);
            return slash + 1;  // the call's own arguments may hold further steps
        }
        if (auto before = comparisonBefore(text, scan, step)) {
            text = text.substr(0, before->second) + before->first + text.substr(close + 1);
            return before->second;
        }
        if (isNumericCastOfPath(text, scan, slash + 1, nameEnd, close)) {
            // "sum(P/xs:decimal(Q))": XPath 1.0 reads the numbers from the nodes of P/Q.
            text = text.substr(0, slash + 1) + text.substr(nameEnd + 1, close - nameEnd - 1) + text.substr(close + 1);
            return slash + 1;
        }
    }
    return npos;
}

}  // namespace

std::string rewriteGroupSteps(const std::string& xpath) {
    std::string text = xpath;
    for (int round = 0; round < kMaxRewrites; ++round) {
        if (!rewriteFirstGroupStep(text)) return text;
        if (text.size() > kMaxRewrittenLength) return xpath;
    }
    return xpath;
}

namespace detail {

std::string rewriteFunctionSteps(const std::string& xpath) {
    std::string text = xpath;
    size_t from = 0;
    for (int round = 0; round < kMaxRewrites && from != npos; ++round) from = rewriteNextFunctionStep(text, from);
    return text;
}

std::string rewriteSequenceComparisons(const std::string& xpath) {
    std::string text = xpath;
    size_t from = 0;
    for (int round = 0; round < kMaxRewrites && from != npos; ++round) from = rewriteNextSequenceComparison(text, from);
    return text;
}

// A group may hold a whole comparison ("A/(f(b) = 'v')"), which becomes a function step
// only once the group is gone; function steps are therefore looked for on both sides.
std::string rewriteXPath2Forms(const std::string& xpath) {
    if (xpath.find('(') == std::string::npos) return xpath;  // none of the forms is possible
    return rewriteFunctionSteps(rewriteGroupSteps(rewriteFunctionSteps(rewriteSequenceComparisons(xpath))));
}

}  // namespace detail
}  // namespace quillmark::xml
