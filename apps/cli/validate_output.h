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
    QMValidationResult result;          // the findings, possibly partial, possibly none; traces for SVRL
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

// One SVRL document (Schematron Validation Report Language) per file, valid against
// the report grammar of ISO Schematron. A file that is not validated starts with an
// svrl:text per reason. With the standard run's traces (result.traces, recorded when
// the run options ask for them) the report is whole: title and schemaVersion of the
// rule sets, their sch:ns bindings, and pattern by pattern the active pattern, the
// rules that fired on its nodes in document order, each followed by its failed-assert
// and successful-report elements (id, test, location, flag, role, text); findings of
// XML Schemas come first, as svrl:text. Without traces (the compatible profile) the
// report lists failed-assert and successful-report elements alone.
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
