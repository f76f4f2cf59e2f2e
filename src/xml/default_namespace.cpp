// In a document whose root element declares a default namespace (every UBL invoice),
// an unprefixed name test in XPath 1.0 would match only elements in no namespace, so
// `/Invoice[1]/cbc:ID` — the form of the locations reported for issues — would select
// nothing. Unprefixed element name tests are matched by local name there instead.

#include <cctype>

#include "xml/xpath_rewrite.h"

namespace quillmark::xml::detail {
namespace {

bool isNameStart(unsigned char c) { return std::isalpha(c) || c == '_' || c >= 0x80; }
bool isNameCharacter(unsigned char c) { return isNameStart(c) || std::isdigit(c) || c == '-' || c == '.'; }
bool isOperatorName(const std::string& name) { return name == "and" || name == "or" || name == "div" || name == "mod"; }

class NameTestRewriter {
public:
    explicit NameTestRewriter(const std::string& text) : text_(text) {}

    std::string run() {
        while (at_ < text_.size()) step();
        return out_;
    }

private:
    unsigned char current() const { return static_cast<unsigned char>(text_[at_]); }
    bool startsWith(const char* token) const { return text_.compare(at_, std::char_traits<char>::length(token), token) == 0; }

    void step() {
        unsigned char c = current();
        if (c == '\'' || c == '"') return copyLiteral(static_cast<char>(c));
        if (std::isspace(c)) return copy(1, afterValue_);
        if (std::isdigit(c) || (c == '.' && at_ + 1 < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at_ + 1]))))
            return copyNumber();
        if (isNameStart(c)) return name();
        if (startsWith("..")) return copy(2, true);
        if (startsWith("::")) return copy(2, false);
        if (c == '.' || c == ')' || c == ']') return copy(1, true);
        if (c == '*') return copy(1, !afterValue_);  // a name test after an operator, else multiplication
        attributeNext_ = c == '@';
        copy(1, false);
        if (c != '@') attributeNext_ = false;
    }

    void copy(size_t length, bool afterValue) {
        out_.append(text_, at_, length);
        at_ += length;
        afterValue_ = afterValue;
    }

    void copyLiteral(char quote) {
        size_t close = text_.find(quote, at_ + 1);
        copy((close == std::string::npos ? text_.size() : close + 1) - at_, true);
    }

    void copyNumber() {
        size_t end = at_;
        while (end < text_.size() && (std::isdigit(static_cast<unsigned char>(text_[end])) || text_[end] == '.')) ++end;
        copy(end - at_, true);
    }

    size_t nameEnd(size_t from) const {
        while (from < text_.size() && isNameCharacter(static_cast<unsigned char>(text_[from]))) ++from;
        return from;
    }

    void name() {
        size_t end = nameEnd(at_);
        std::string word = text_.substr(at_, end - at_);
        bool attribute = attributeNext_;
        attributeNext_ = false;
        // A prefixed name (prefix:local or prefix:*) stays as it is.
        if (end < text_.size() && text_[end] == ':' && (end + 1 >= text_.size() || text_[end + 1] != ':')) {
            size_t localEnd = end + 1 < text_.size() && text_[end + 1] == '*' ? end + 2 : nameEnd(end + 1);
            return copy(localEnd - at_, true);
        }
        size_t next = end;
        while (next < text_.size() && std::isspace(static_cast<unsigned char>(text_[next]))) ++next;
        bool call = next < text_.size() && text_[next] == '(';
        bool axis = text_.compare(next, 2, "::") == 0;
        if (afterValue_ && isOperatorName(word)) return copy(end - at_, false);
        if (axis) {
            attributeNext_ = word == "attribute" || word == "namespace";
            out_ += word;
            at_ = end;
            afterValue_ = false;
            return;
        }
        if (call || attribute) return copy(end - at_, !call);
        out_ += "*[local-name()='" + word + "']";
        at_ = end;
        afterValue_ = true;
    }

    const std::string& text_;
    std::string out_;
    size_t at_ = 0;
    bool afterValue_ = false;     // the previous token ends an operand
    bool attributeNext_ = false;  // the next name is an attribute name
};

}  // namespace

std::string matchUnprefixedNamesByLocalName(const std::string& xpath) { return NameTestRewriter(xpath).run(); }

}  // namespace quillmark::xml::detail
