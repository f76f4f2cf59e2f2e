// Reading a whole file as UTF-8 text.

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "quillmark/xml.h"

namespace quillmark::xml {
namespace {

// Well-formed UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isValidUtf8(const std::string& text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const size_t length = text.size();
    size_t i = 0;
    while (i < length) {
        const unsigned char lead = bytes[i];
        if (lead < 0x80) {
            ++i;
            continue;
        }
        size_t trailing = 0;
        unsigned char low = 0x80, high = 0xBF;  // allowed range of the first trailing byte
        if (lead >= 0xC2 && lead <= 0xDF) {
            trailing = 1;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            trailing = 2;
            if (lead == 0xE0) low = 0xA0;
            if (lead == 0xED) high = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            trailing = 3;
            if (lead == 0xF0) low = 0x90;
            if (lead == 0xF4) high = 0x8F;
        } else {
            return false;
        }
        if (length - i <= trailing) return false;
        if (bytes[i + 1] < low || bytes[i + 1] > high) return false;
        for (size_t k = 2; k <= trailing; ++k) {
            if ((bytes[i + k] & 0xC0) != 0x80) return false;
        }
        i += trailing + 1;
    }
    return true;
}

bool fail(Error* error, const std::string& path, int code, const std::string& reason) {
    setError(error, kFileDomain, code, "cannot read " + path + ": " + reason);
    return false;
}

}  // namespace

std::optional<std::string> readTextFile(const std::string& path, Error* error) {
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) {
        fail(error, path, EISDIR, std::strerror(EISDIR));
        return std::nullopt;
    }
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        const int code = errno ? errno : ENOENT;
        fail(error, path, code, std::strerror(code));
        return std::nullopt;
    }
    std::ostringstream content;
    content << in.rdbuf();
    if (in.bad()) {
        fail(error, path, EIO, std::strerror(EIO));
        return std::nullopt;
    }
    std::string text = std::move(content).str();
    if (!isValidUtf8(text)) {
        fail(error, path, EILSEQ, "the file is not valid UTF-8 text");
        return std::nullopt;
    }
    return text;
}

}  // namespace quillmark::xml
