#pragma once
// Text from documents and rule sets may hold characters that a terminal acts on or
// that XML cannot carry (control characters, NUL, bytes that are not UTF-8). Output
// shows them as visible escapes instead.

#include <string>
#include <string_view>

namespace quillmark::cli {

enum class LineBreaks { Escape, Keep };

// Control characters (C0 and C1, DEL; tab, line feed and carriage return too unless
// kept), U+FFFE and U+FFFF become "\uXXXX"; malformed UTF-8 becomes U+FFFD. The result
// is valid UTF-8 that XML 1.0 can carry.
std::string visibleText(std::string_view text, LineBreaks lineBreaks = LineBreaks::Escape);

}  // namespace quillmark::cli
