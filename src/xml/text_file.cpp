// Reading whole files: regular files only, no larger than the input limit, and for
// text, well-formed UTF-8.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "quillmark/xml.h"

namespace quillmark::xml {
namespace {

std::atomic<uint64_t> inputSizeLimit{kDefaultMaxInputSize};

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

std::nullopt_t fail(Error* error, const std::string& path, int code, const std::string& reason) {
    setError(error, kFileDomain, code, "cannot read " + path + ": " + reason);
    return std::nullopt;
}

const char* fileKind(mode_t mode) {
    if (S_ISFIFO(mode)) return "a FIFO";
    if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
    if (S_ISSOCK(mode)) return "a socket";
    return "a special file";
}

std::nullopt_t tooLarge(Error* error, const std::string& path, uint64_t limit) {
    return fail(error, path, EFBIG, fmt::format("the file is larger than the input size limit of {} bytes", limit));
}

// Closes the descriptor however reading ends.
struct FileDescriptor {
    int fd;
    ~FileDescriptor() {
        if (fd >= 0) ::close(fd);
    }
};

}  // namespace

void setMaxInputSize(uint64_t bytes) { inputSizeLimit.store(bytes); }

uint64_t maxInputSize() { return inputSizeLimit.load(); }

std::optional<std::string> readFileBytes(const std::string& path, Error* error) {
    // Non-blocking, so that opening a FIFO without a writer returns at once; the type
    // check below then refuses it.
    FileDescriptor file{::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)};
    if (file.fd < 0) return fail(error, path, errno, std::strerror(errno));
    struct stat status {};
    if (::fstat(file.fd, &status) != 0) return fail(error, path, errno, std::strerror(errno));
    if (S_ISDIR(status.st_mode)) return fail(error, path, EISDIR, std::strerror(EISDIR));
    if (!S_ISREG(status.st_mode))
        return fail(error, path, EINVAL, fmt::format("not a regular file but {}", fileKind(status.st_mode)));
    const uint64_t limit = maxInputSize();
    if (static_cast<uint64_t>(status.st_size) > limit) return tooLarge(error, path, limit);

    std::string bytes;
    bytes.reserve(static_cast<size_t>(status.st_size));
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(file.fd, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return fail(error, path, errno, std::strerror(errno));
        if (count == 0) break;
        // The file may have grown since it was measured.
        if (bytes.size() + static_cast<uint64_t>(count) > limit) return tooLarge(error, path, limit);
        bytes.append(buffer, static_cast<size_t>(count));
    }
    return bytes;
}

std::optional<std::string> readTextFile(const std::string& path, Error* error) {
    std::optional<std::string> text = readFileBytes(path, error);
    if (!text) return std::nullopt;
    if (!isValidUtf8(*text)) return fail(error, path, EILSEQ, "the file is not valid UTF-8 text");
    return text;
}

}  // namespace quillmark::xml
