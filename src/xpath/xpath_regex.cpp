#include "xpath/xpath_regex.h"

#include "xpath/error.h"
#include "xpath/regex_translation.h"

namespace quillmark::xpath {

struct XPathRegex::Impl {};

XPathRegex::XPathRegex(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
XPathRegex::~XPathRegex() = default;

std::shared_ptr<const XPathRegex> XPathRegex::compile(std::string_view pattern, std::string_view flags) {
    translateRegex(pattern, flags);
    return std::shared_ptr<const XPathRegex>(new XPathRegex(std::make_unique<Impl>()));
}

bool XPathRegex::matches(std::string_view, const RegexStopCheck&) const { return false; }
std::string XPathRegex::replace(std::string_view input, std::string_view, const RegexStopCheck&) const {
    return std::string(input);
}
std::vector<std::string> XPathRegex::tokenize(std::string_view, const RegexStopCheck&) const { return {}; }
bool XPathRegex::matchesEmptyString() const { return false; }

}  // namespace quillmark::xpath
