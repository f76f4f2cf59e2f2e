#pragma once
// The system log: problems that do not end an operation are written as one line each
// to a replaceable sink (stderr by default). Tests capture the sink.

#include <functional>
#include <string>
#include <vector>

namespace quillmark {

using LogSink = std::function<void(const std::string& line)>;

// Writes one line through the current sink.
void log(const std::string& line);

// Replaces the sink and returns the previous one; an empty sink restores stderr.
LogSink setLogSink(LogSink sink);

// Collects every logged line while it lives (and keeps them off stderr).
class ScopedLogCapture {
public:
    ScopedLogCapture();
    ~ScopedLogCapture();
    ScopedLogCapture(const ScopedLogCapture&) = delete;
    ScopedLogCapture& operator=(const ScopedLogCapture&) = delete;
    const std::vector<std::string>& lines() const { return lines_; }

private:
    std::vector<std::string> lines_;
    LogSink previous_;
};

}  // namespace quillmark
