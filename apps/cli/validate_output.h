#pragma once
// Output of `quillmark validate`: one line per issue and a summary line per file, one
// JSON object per file (JSON Lines), or one SVRL document per file. Every input file
// is reported once, in the order given, in every format, including the files that
// could not be validated.

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/schematron_model.h"

namespace quillmark::cli {

enum class OutputFormat { Text, Json, Svrl };

// What is reported for one input file.
struct FileReport {
    std::string file;
    QMValidationResult result;          // the findings, possibly partial, possibly none
    std::vector<std::string> failures;  // why the file is not validated; empty: it is
    std::string scenario;               // the scenario that chose the rule sets, if any
    bool validated() const { return failures.empty(); }
};

// Line breaks and runs of blanks become single spaces; none at either end.
std::string collapseWhiteSpace(std::string_view text);

// "invoice.xml:12:5: error: [BR-CO-10] message (at /Invoice[1]/...)" per issue (the
// line and column of the offending start tag where known, as compilers write them, so
// that editors and CI annotators can jump there), then "invoice.xml: 2 errors, 1
// warning" or "invoice.xml: valid" (with ", scenario NAME" when a scenario chose the
// rule sets); a file that is not validated ends with "invoice.xml: not validated" (and
// the counts of what was found).
void writeTextReport(std::ostream& out, const FileReport& report);

// {"file", "valid", "status", "schemaFiles", "errors", "warnings"} on one line; a file
// that is not validated has valid false, status 0 and "error" (the reasons).
void writeJsonReport(std::ostream& out, const FileReport& report);

// One SVRL document (Schematron Validation Report Language) per file: a failed-assert
// or successful-report element per issue, with id, flag, role, location and text; a
// file that is not validated starts with an svrl:text saying why.
void writeSvrlReport(std::ostream& out, const FileReport& report);

inline void writeReport(OutputFormat format, std::ostream& out, const FileReport& report) {
    switch (format) {
        case OutputFormat::Text:
            writeTextReport(out, report);
            return;
        case OutputFormat::Json:
            writeJsonReport(out, report);
            return;
        case OutputFormat::Svrl:
            writeSvrlReport(out, report);
            return;
    }
}

}  // namespace quillmark::cli
