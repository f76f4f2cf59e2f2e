// The progress line of a batch: carriage return, the text, and "erase to the end of the
// line", so that a shorter text leaves nothing of a longer one behind.

#include "progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <fmt/format.h>

#include <cstdio>

#include "visible_text.h"

namespace quillmark::cli {

namespace {

constexpr const char* kEraseLine = "\r\x1b[K";

size_t terminalColumns() {
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
    return size.ws_col;
}

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// The end of the path, which tells files apart best, when the whole does not fit;
// never a part of a UTF-8 sequence.
std::string fitted(const std::string& prefix, const std::string& path, size_t columns) {
    const size_t room = columns > prefix.size() + 4 ? columns - prefix.size() - 1 : 0;
    if (path.size() <= room) return prefix + path;
    if (room < 4) return prefix;
    size_t start = path.size() - (room - 3);
    while (start < path.size() && continuesCharacter(path[start])) ++start;
    return prefix + "..." + path.substr(start);
}

void writeToStderr(const std::string& text) {
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

}  // namespace

ProgressLine::ProgressLine() : enabled_(::isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() { clear(); }

void ProgressLine::show(size_t done, size_t total, const std::string& path) {
    if (!enabled_) return;
    writeToStderr(kEraseLine + fitted(fmt::format("[{}/{}] ", done, total), visibleText(path), terminalColumns()));
    visible_ = true;
}

void ProgressLine::clear() {
    if (!visible_) return;
    writeToStderr(kEraseLine);
    visible_ = false;
}

}  // namespace quillmark::cli
