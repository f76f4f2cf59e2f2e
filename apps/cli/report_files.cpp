// Writing one report file per document.

#include "report_files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace quillmark::cli {

std::string reportExtension(OutputFormat format) {
    switch (format) {
        case OutputFormat::Text:
            return ".txt";
        case OutputFormat::Json:
            return ".json";
        case OutputFormat::Svrl:
            return ".svrl";
    }
    return ".txt";
}

std::optional<std::string> writeReportFile(const std::string& directory, const std::string& name,
                                           const std::string& report) {
    const std::filesystem::path path = std::filesystem::path(directory) / name;
    const auto cannotWrite = [&](const std::string& reason) {
        return path.string() + ": cannot write the report: " + reason;
    };
    std::error_code code;
    std::filesystem::create_directories(path.parent_path(), code);
    if (code) return cannotWrite(code.message());
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), &std::fclose);
    if (!file) return cannotWrite(std::strerror(errno));
    if (std::fwrite(report.data(), 1, report.size(), file.get()) != report.size()) return cannotWrite(std::strerror(errno));
    if (std::fclose(file.release()) != 0) return cannotWrite(std::strerror(errno));
    return std::nullopt;
}

}  // namespace quillmark::cli
