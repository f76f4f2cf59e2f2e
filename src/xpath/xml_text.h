#pragma once
// Lexical rules of XML Schema shared by the casts to its string-derived types: the
// white-space facets and the name productions of XML 1.0 (fifth edition).

#include <string>
#include <string_view>

namespace quillmark::xpath {

// Space, tab, line feed and carriage return: the only white space of XML.
constexpr bool isXmlWhiteSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The text without XML white space at either end (a view into `text`).
std::string_view trimXmlWhiteSpace(std::string_view text);
// The whiteSpace facet "replace": each tab, line feed and carriage return becomes a space.
std::string replaceXmlWhiteSpace(std::string_view text);
// The whiteSpace facet "collapse": "replace", then runs of spaces become one and spaces at
// either end go.
std::string collapseXmlWhiteSpace(std::string_view text);

// NameStartChar and NameChar of XML 1.0 (fifth edition), the colon included.
bool isXmlNameStartChar(char32_t c);
bool isXmlNameChar(char32_t c);

// Name ::= NameStartChar NameChar*
bool isXmlName(std::string_view text);
// NCName ::= Name - (Char* ':' Char*)
bool isXmlNCName(std::string_view text);
// Nmtoken ::= NameChar+
bool isXmlNmtoken(std::string_view text);
// language ::= [a-zA-Z]{1,8} ('-' [a-zA-Z0-9]{1,8})*
bool isLanguageTag(std::string_view text);

}  // namespace quillmark::xpath
