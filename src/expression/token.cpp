// Token names and descriptions, and the spelling of operator codes in tree dumps.

#include <array>
#include <string>

#include <fmt/format.h>

#include "quillmark/token.h"

namespace quillmark {

namespace {

// Printed names by token type. The keywords every, some, for, return, in and
// satisfies print as "UNKNOWN": tree dumps and token listings show them so.
constexpr std::array<const char*, 38> kTokenTypeNames = {
    "NUMBER", "STRING",  "IDENT",   "(",       ")",       "[",       "]",       "/",
    "//",     "@",       ":",       ",",       ".",       "..",      "$",       "|",
    "<=",     ">=",      "!=",      "<",       ">",       "=",       "+",       "-",
    "*",      "OR",      "AND",     "DIV",     "IF",      "THEN",    "ELSE",    "UNKNOWN",
    "UNKNOWN", "UNKNOWN", "UNKNOWN", "UNKNOWN", "UNKNOWN", "EOF"};

// Operator spellings for the codes 15 (union) to 27 (div).
constexpr std::array<const char*, 13> kOperatorSpellings = {"|", "<=", ">=", "!=", "<",   ">",  "=",
                                                            "+", "-",  "*",  "or", "and", "div"};

}  // namespace

std::string QMXPToken::tokenTypeName(int64_t type) {
    // Compared unsigned, so negative types fall outside the table as well.
    if (static_cast<uint64_t>(type) >= kTokenTypeNames.size()) return "UNKNOWN";
    return kTokenTypeNames[static_cast<size_t>(type)];
}

std::string QMXPToken::description() const { return "<" + tokenTypeName(type) + ": " + value.value_or("") + ">"; }

std::string tokenTypeToString(int64_t type) {
    if (type >= QMXPTokenPipe && type <= QMXPTokenDiv)
        return kOperatorSpellings[static_cast<size_t>(type - QMXPTokenPipe)];
    return fmt::format("Token({})", type);
}

}  // namespace quillmark
