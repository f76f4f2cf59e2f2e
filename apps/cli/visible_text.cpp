#include "visible_text.h"

#include <unicode/utf8.h>

#include <fmt/format.h>

namespace quillmark::cli {
namespace {

bool isLineBreakOrTab(UChar32 c) { return c == '\t' || c == '\n' || c == '\r'; }

bool needsEscape(UChar32 c, LineBreaks lineBreaks) {
    if (c < 0x20) return !(lineBreaks == LineBreaks::Keep && isLineBreakOrTab(c));
    return (c >= 0x7F && c <= 0x9F) || c == 0xFFFE || c == 0xFFFF;
}

}  // namespace

std::string visibleText(std::string_view text, LineBreaks lineBreaks) {
    std::string visible;
    visible.reserve(text.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    int32_t offset = 0;
    while (offset < length) {
        const int32_t start = offset;
        UChar32 c;
        U8_NEXT(bytes, offset, length, c);
        if (c < 0) {
            visible += "\xEF\xBF\xBD";
        } else if (needsEscape(c, lineBreaks)) {
            visible += fmt::format("\\u{:04X}", static_cast<uint32_t>(c));
        } else {
            visible.append(text.substr(static_cast<size_t>(start), static_cast<size_t>(offset - start)));
        }
    }
    return visible;
}

}  // namespace quillmark::cli
