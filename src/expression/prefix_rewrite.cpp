// Namespace prefixes in path text are resolved by local name only: a prefix the rule
// set declares becomes a local-name() test, so `cbc:ID` matches an ID element in any
// namespace. String literals are copied untouched; predicates are rewritten too.

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "quillmark/evaluator.h"

namespace quillmark {
namespace {

class PrefixRewriter {
public:
    PrefixRewriter(std::string_view text, const QMXPath2Evaluator::NamespaceMap& namespaces)
        : text_(text), namespaces_(namespaces) {}

    std::string run() {
        std::string out;
        out.reserve(text_.size() + 16);
        while (at_ < text_.size()) step(out);
        return out;
    }

private:
    UChar32 codePointAt(size_t at, size_t* next) const {
        int32_t i = static_cast<int32_t>(at);
        UChar32 c;
        U8_NEXT(reinterpret_cast<const uint8_t*>(text_.data()), i, static_cast<int32_t>(text_.size()), c);
        *next = static_cast<size_t>(i);
        return c;
    }

    static bool isLetter(UChar32 c) { return c >= 0 && (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_M_MASK)) != 0; }
    static bool isNameCharacter(UChar32 c) {
        return c == '-' || c == '_' || (c >= 0 && (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0);
    }

    void step(std::string& out) {
        char c = text_[at_];
        if (c == '[') return copyPredicate(out);
        size_t next;
        UChar32 codePoint = codePointAt(at_, &next);
        if (isLetter(codePoint)) return copyName(out);
        if (c == '\'' || c == '"') return copyLiteral(out, c);
        out.append(text_.substr(at_, next - at_));
        at_ = next;
    }

    // "[...]" with nested brackets counted (quotes are not looked at while counting).
    void copyPredicate(std::string& out) {
        size_t start = ++at_;
        int depth = 1;
        while (at_ < text_.size()) {
            if (text_[at_] == '[') ++depth;
            if (text_[at_] == ']' && --depth == 0) break;
            ++at_;
        }
        out += '[';
        out += PrefixRewriter(text_.substr(start, at_ - start), namespaces_).run();
        out += ']';
        if (at_ < text_.size()) ++at_;  // past the closing bracket
    }

    void copyLiteral(std::string& out, char quote) {
        size_t close = text_.find(quote, at_ + 1);
        size_t end = close == std::string_view::npos ? text_.size() : close + 1;
        out.append(text_.substr(at_, end - at_));
        at_ = end;
    }

    std::string_view nameRun() {
        size_t start = at_;
        while (at_ < text_.size()) {
            size_t next;
            if (!isNameCharacter(codePointAt(at_, &next))) break;
            at_ = next;
        }
        return text_.substr(start, at_ - start);
    }

    void copyName(std::string& out) {
        std::string_view prefix = nameRun();
        if (at_ >= text_.size() || text_[at_] != ':') {
            out.append(prefix);
            return;
        }
        ++at_;
        std::string_view local = nameRun();
        if (namespaces_.count(std::string(prefix))) {
            out += "*[local-name()='";
            out.append(local);
            out += "']";
            return;
        }
        out.append(prefix);
        out += ':';
        out.append(local);
    }

    std::string_view text_;
    const QMXPath2Evaluator::NamespaceMap& namespaces_;
    size_t at_ = 0;
};

}  // namespace

std::string QMXPath2Evaluator::rewriteNamespacePrefixes(const std::string& text) const {
    if (auto cached = _rewriteCache.find(text); cached != _rewriteCache.end()) return cached->second;
    std::string rewritten = PrefixRewriter(text, _namespaces).run();
    _rewriteCache.emplace(text, rewritten);
    return rewritten;
}

}  // namespace quillmark
