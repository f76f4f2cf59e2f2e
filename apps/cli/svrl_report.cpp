// SVRL output of `quillmark validate`: one Schematron Validation Report Language
// document per input file, valid against the report grammar of ISO Schematron
// (tests/data/svrl/svrl.rng).
//
// With the standard profile's trace (QMValidationResult::traces) the report is whole:
// the rule sets' sch:ns bindings, then pattern by pattern the active pattern, each rule
// that fired on a node (in document order) and the failed asserts and successful reports
// found there. Without a trace (the compatible profile) it lists the issues alone.

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <string_view>
#include <tuple>
#include <vector>

#include "quillmark/xml.h"
#include "validate_output.h"
#include "visible_text.h"

namespace quillmark::cli {

namespace {

constexpr const char* kSvrlNamespace = "http://purl.oclc.org/dsdl/svrl";

// Text as XML can carry it: line breaks stay, other control characters are escaped.
std::string xmlText(const std::string& text) { return visibleText(text, LineBreaks::Keep); }

bool isNameStart(unsigned char c) { return std::isalpha(c) || c == '_' || c >= 0x80; }
bool isNameCharacter(unsigned char c) { return isNameStart(c) || std::isdigit(c) || c == '-' || c == '.'; }

// An XML name without colon, as ids must be (every non-ASCII character is taken for a
// name character, which is all a Schematron id holds in practice).
bool isNCName(std::string_view text) {
    if (text.empty() || !isNameStart(static_cast<unsigned char>(text.front()))) return false;
    return std::all_of(text.begin(), text.end(), [](char c) { return isNameCharacter(static_cast<unsigned char>(c)); });
}

class SvrlWriter {
public:
    explicit SvrlWriter(const FileReport& report)
        : report_(report),
          svrl_(xml::Document::create()),
          root_(svrl_->createRootElement("svrl:schematron-output", kSvrlNamespace)) {}

    std::string write() {
        const auto& traces = report_.result.traces;
        if (traces) describeRuleSets(*traces);
        for (const auto& failure : report_.failures) appendText("not validated: " + failure);
        if (traces) {
            appendTracedReport(*traces);
        } else {
            appendIssuesAlone();
        }
        // The report language wants at least one active pattern. A file that no rule set
        // ran on (not validated, or checked by XML Schemas alone) gets an empty one; the
        // texts before it say what happened.
        if (!hasPatternOrIssue_) svrl_->appendElement(root_, "svrl:active-pattern", kSvrlNamespace);
        return svrl_->xmlString(true);
    }

private:
    void setAttribute(xml::Node element, const char* name, const std::string& value) {
        if (!value.empty()) svrl_->setAttribute(element, name, xmlText(value));
    }

    // Ids that are not names are left out: the report grammar types them as names.
    void setId(xml::Node element, const std::string& id) {
        if (isNCName(id)) svrl_->setAttribute(element, "id", id);
    }

    void appendText(const std::string& text) { appendTextTo(root_, text); }

    void appendTextTo(xml::Node parent, const std::string& text) {
        xml::Node element = svrl_->appendElement(parent, "svrl:text", kSvrlNamespace);
        svrl_->appendText(element, xmlText(text));
    }

    // title and schemaVersion: the rule set's, or those of several joined by "; ".
    void describeRuleSets(const std::vector<QMRuleSetTrace>& traces) {
        std::vector<std::string> titles;
        std::vector<std::string> versions;
        for (const QMRuleSetTrace& trace : traces) {
            addDistinct(titles, trace.title);
            addDistinct(versions, trace.schemaVersion);
        }
        setAttribute(root_, "title", fmt::format("{}", fmt::join(titles, "; ")));
        setAttribute(root_, "schemaVersion", fmt::format("{}", fmt::join(versions, "; ")));
    }

    static void addDistinct(std::vector<std::string>& values, const std::string& value) {
        if (!value.empty() && std::find(values.begin(), values.end(), value) == values.end()) values.push_back(value);
    }

    // Issues found outside the rule sets' patterns (XML Schema findings, a run stopped by
    // its budget) become texts before the patterns: a failed-assert belongs to a fired
    // rule and needs a test, and these have neither.
    void appendTracedReport(const std::vector<QMRuleSetTrace>& traces) {
        for (const QMValidationError* issue : untracedIssues(traces)) appendText(describeUntraced(*issue));
        appendNamespaces(traces);
        for (const QMRuleSetTrace& trace : traces) {
            for (const QMRunEvent& event : trace.events) appendEvent(trace, event);
        }
    }

    void appendNamespaces(const std::vector<QMRuleSetTrace>& traces) {
        std::vector<std::pair<std::string, std::string>> written;
        for (const QMRuleSetTrace& trace : traces) {
            for (const auto& binding : trace.namespaces) {
                if (!isNCName(binding.first)) continue;
                if (std::find(written.begin(), written.end(), binding) != written.end()) continue;
                written.push_back(binding);
                xml::Node element = svrl_->appendElement(root_, "svrl:ns-prefix-in-attribute-values", kSvrlNamespace);
                svrl_->setAttribute(element, "prefix", binding.first);
                svrl_->setAttribute(element, "uri", xmlText(binding.second));
            }
        }
    }

    void appendEvent(const QMRuleSetTrace& trace, const QMRunEvent& event) {
        switch (event.kind) {
        case QMRunEvent::Kind::ActivePattern: appendPattern(trace.patterns.at(event.index)); return;
        case QMRunEvent::Kind::FiredRule: appendRule(trace.rules.at(event.index)); return;
        case QMRunEvent::Kind::Issue: appendIssue(trace.issues.at(event.index)); return;
        }
    }

    void appendPattern(const QMTracedPattern& pattern) {
        xml::Node element = svrl_->appendElement(root_, "svrl:active-pattern", kSvrlNamespace);
        setId(element, pattern.id);
        setAttribute(element, "name", pattern.name);
        setAttribute(element, "documents", report_.file);
        hasPatternOrIssue_ = true;
    }

    void appendRule(const QMTracedRule& rule) {
        xml::Node element = svrl_->appendElement(root_, "svrl:fired-rule", kSvrlNamespace);
        setId(element, rule.id);
        svrl_->setAttribute(element, "context", xmlText(rule.context));
        setAttribute(element, "role", rule.role);
        setAttribute(element, "flag", rule.flag);
    }

    // A failed assert or successful report. Diagnostics are part of the text: the rule
    // sets' diagnostics are rendered into the message, not kept apart.
    void appendIssue(const QMValidationError& issue) {
        const char* name = issue.type == "report" ? "svrl:successful-report" : "svrl:failed-assert";
        xml::Node element = svrl_->appendElement(root_, name, kSvrlNamespace);
        setId(element, issue.assertionId);
        svrl_->setAttribute(element, "test", xmlText(issue.test));
        svrl_->setAttribute(element, "location", xmlText(issue.location));
        setAttribute(element, "flag", issue.flag);
        setAttribute(element, "role", issue.role);
        appendTextTo(element, issue.message);
        hasPatternOrIssue_ = true;
    }

    // The compatible profile's report: its issues in the order found, without patterns
    // or fired rules (its run does not record them).
    void appendIssuesAlone() {
        for (const auto& issue : report_.result.errors) appendIssue(issue);
        for (const auto& issue : report_.result.warnings) appendIssue(issue);
    }

    using IssueKey = std::tuple<const std::string&, const std::string&, const std::string&, const std::string&,
                                const std::string&, const std::string&, const std::string&, int64_t, int64_t>;

    static IssueKey keyOf(const QMValidationError& issue) {
        return IssueKey(issue.schemaTitle, issue.pattern, issue.rule, issue.assertionId, issue.type, issue.location,
                        issue.message, issue.line, issue.column);
    }

    // The result's issues that no trace holds, errors first, each in the order found.
    std::vector<const QMValidationError*> untracedIssues(const std::vector<QMRuleSetTrace>& traces) const {
        std::map<IssueKey, size_t> traced;
        for (const QMRuleSetTrace& trace : traces) {
            for (const QMValidationError& issue : trace.issues) ++traced[keyOf(issue)];
        }
        std::vector<const QMValidationError*> untraced;
        for (const auto* issues : {&report_.result.errors, &report_.result.warnings}) {
            for (const QMValidationError& issue : *issues) {
                const auto found = traced.find(keyOf(issue));
                if (found == traced.end() || found->second == 0) {
                    untraced.push_back(&issue);
                } else {
                    --found->second;
                }
            }
        }
        return untraced;
    }

    // "UBL-Invoice-2.1.xsd:12:5: error: MESSAGE (at /Invoice[1]/cbc:ID[1])", as far as known.
    static std::string describeUntraced(const QMValidationError& issue) {
        std::string text = issue.schemaTitle;
        if (issue.line > 0) text += fmt::format(":{}", issue.line);
        if (issue.line > 0 && issue.column > 0) text += fmt::format(":{}", issue.column);
        if (!text.empty()) text += ": ";
        std::string severity = issue.severity();
        std::transform(severity.begin(), severity.end(), severity.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        text += severity + ": " + collapseWhiteSpace(issue.message);
        if (!issue.location.empty()) text += " (at " + issue.location + ")";
        return text;
    }

    const FileReport& report_;
    std::shared_ptr<xml::Document> svrl_;
    xml::Node root_;
    bool hasPatternOrIssue_ = false;
};

}  // namespace

void writeSvrlReport(std::ostream& out, const FileReport& report) { out << SvrlWriter(report).write(); }

}  // namespace quillmark::cli
