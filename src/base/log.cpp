#include "quillmark/log.h"

#include <cstdio>
#include <mutex>

namespace quillmark {
namespace {

std::mutex& sinkMutex() {
    static std::mutex mutex;
    return mutex;
}

LogSink& currentSink() {
    static LogSink sink;
    return sink;
}

}  // namespace

void log(const std::string& line) {
    std::lock_guard lock(sinkMutex());
    if (currentSink()) {
        currentSink()(line);
        return;
    }
    std::fprintf(stderr, "%s\n", line.c_str());
}

LogSink setLogSink(LogSink sink) {
    std::lock_guard lock(sinkMutex());
    LogSink previous = std::move(currentSink());
    currentSink() = std::move(sink);
    return previous;
}

ScopedLogCapture::ScopedLogCapture() {
    previous_ = setLogSink([this](const std::string& line) { lines_.push_back(line); });
}

ScopedLogCapture::~ScopedLogCapture() { setLogSink(std::move(previous_)); }

}  // namespace quillmark
