#pragma once
// Text forms of xs:hexBinary and xs:base64Binary: decoding their lexical forms to raw
// bytes and encoding bytes canonically.

#include <optional>
#include <string>
#include <string_view>

namespace quillmark::xpath {

// Pairs of hex digits of either case; nullopt for an odd count or another character.
std::optional<std::string> decodeHex(std::string_view text);
// Upper-case hex digits, two per byte.
std::string encodeHex(std::string_view bytes);

// The XML Schema base64Binary lexical form: groups of four characters of the base64
// alphabet, single spaces allowed between characters, '=' padding only at the end and
// only after a character whose unused bits are zero. nullopt when the text breaks a rule.
std::optional<std::string> decodeBase64(std::string_view text);
// Canonical base64: no spaces or line breaks, '=' padding.
std::string encodeBase64(std::string_view bytes);

}  // namespace quillmark::xpath
