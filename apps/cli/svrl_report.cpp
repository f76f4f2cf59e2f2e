// SVRL output of `quillmark validate`: one Schematron Validation Report Language
// document per input file.

#include "quillmark/xml.h"
#include "validate_output.h"
#include "visible_text.h"

namespace quillmark::cli {

namespace {

constexpr const char* kSvrlNamespace = "http://purl.oclc.org/dsdl/svrl";

// Text as XML can carry it: line breaks stay, other control characters are escaped.
std::string xmlText(const std::string& text) { return visibleText(text, LineBreaks::Keep); }

void appendSvrlText(xml::Document& svrl, xml::Node parent, const std::string& text) {
    xml::Node element = svrl.appendElement(parent, "svrl:text", kSvrlNamespace);
    svrl.appendText(element, xmlText(text));
}

void appendSvrlIssue(xml::Document& svrl, xml::Node root, const QMValidationError& issue) {
    const char* element = issue.type == "report" ? "svrl:successful-report" : "svrl:failed-assert";
    xml::Node entry = svrl.appendElement(root, element, kSvrlNamespace);
    if (!issue.assertionId.empty()) svrl.setAttribute(entry, "id", xmlText(issue.assertionId));
    if (!issue.flag.empty()) svrl.setAttribute(entry, "flag", xmlText(issue.flag));
    if (!issue.role.empty()) svrl.setAttribute(entry, "role", xmlText(issue.role));
    svrl.setAttribute(entry, "location", xmlText(issue.location));
    appendSvrlText(svrl, entry, issue.message);
}

}  // namespace

void writeSvrlReport(std::ostream& out, const FileReport& report) {
    auto svrl = xml::Document::create();
    xml::Node root = svrl->createRootElement("svrl:schematron-output", kSvrlNamespace);
    for (const auto& failure : report.failures) appendSvrlText(*svrl, root, "not validated: " + failure);
    for (const auto& issue : report.result.errors) appendSvrlIssue(*svrl, root, issue);
    for (const auto& issue : report.result.warnings) appendSvrlIssue(*svrl, root, issue);
    out << svrl->xmlString(true);
}

}  // namespace quillmark::cli
