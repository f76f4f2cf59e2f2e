#pragma once
// A progress line on stderr, "[12/915] invoices/2024/a.xml", redrawn in place while a
// batch runs, and only while stderr is a terminal: a log or a pipe never gets it.

#include <cstddef>
#include <string>

namespace quillmark::cli {

class ProgressLine {
public:
    ProgressLine();  // shown only when stderr is a terminal
    ~ProgressLine();  // leaves the line cleared

    // "[done/total] path", cut to the terminal's width.
    void show(size_t done, size_t total, const std::string& path);
    // Removes the line, so that other output starts at the beginning of an empty line.
    void clear();

private:
    bool enabled_ = false;
    bool visible_ = false;
};

}  // namespace quillmark::cli
