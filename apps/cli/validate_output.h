#pragma once
// Output of `quillmark validate`: one line per issue and a summary line per file, one
// JSON object per file (JSON Lines), or one SVRL document per file.

#include <ostream>
#include <string>
#include <string_view>

#include "quillmark/schematron_model.h"

namespace quillmark::cli {

enum class OutputFormat { Text, Json, Svrl };

// Line breaks and runs of blanks become single spaces; none at either end.
std::string collapseWhiteSpace(std::string_view text);

// "invoice.xml: error: [BR-CO-10] message (at /Invoice[1]/...)" per issue, then
// "invoice.xml: 2 errors, 1 warning" or "invoice.xml: valid".
void writeTextReport(std::ostream& out, const std::string& file, const QMValidationResult& result);

// {"file", "valid", "status", "schemaFiles", "errors", "warnings"} on one line.
void writeJsonReport(std::ostream& out, const std::string& file, const QMValidationResult& result);

// One SVRL document (Schematron Validation Report Language) per file: a failed-assert
// or successful-report element per issue, with id, flag, role, location and text.
void writeSvrlReport(std::ostream& out, const QMValidationResult& result);

inline void writeReport(OutputFormat format, std::ostream& out, const std::string& file,
                        const QMValidationResult& result) {
    switch (format) {
        case OutputFormat::Text:
            writeTextReport(out, file, result);
            return;
        case OutputFormat::Json:
            writeJsonReport(out, file, result);
            return;
        case OutputFormat::Svrl:
            writeSvrlReport(out, result);
            return;
    }
}

}  // namespace quillmark::cli
