#pragma once
// Reports of `quillmark validate --output-dir DIR`: one file per document below DIR.

#include <optional>
#include <string>

#include "validate_output.h"

namespace quillmark::cli {

// ".txt", ".json" or ".svrl".
std::string reportExtension(OutputFormat format);

// Writes the report to DIRECTORY/NAME, creating the directories on the way (NAME may
// hold folders). nullopt on success, else "PATH: cannot write the report: REASON".
std::optional<std::string> writeReportFile(const std::string& directory, const std::string& name,
                                           const std::string& report);

}  // namespace quillmark::cli
