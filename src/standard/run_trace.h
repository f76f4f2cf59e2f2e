#pragma once
// The record of a standard run that an SVRL report is written from: which rule of each
// pattern handled which node, in the order of the walk. The run notes each firing with
// the number of issues its pattern had found before it, so that the issues that follow
// belong to that firing, however the rule ended (even by a spent budget).

#include <cstddef>
#include <string>
#include <vector>

#include "quillmark/schematron_model.h"
#include "quillmark/xml.h"
#include "standard/compiled_rule_set.h"

namespace quillmark::standard {

class RunTrace {
public:
    explicit RunTrace(size_t patterns) : firings_(patterns) {}

    // `rule` of pattern `pattern` handles a node; the pattern has found `issuesSoFar`.
    void fired(size_t pattern, const CompiledRule& rule, size_t issuesSoFar) {
        firings_[pattern].push_back(Firing{&rule, issuesSoFar});
    }

    // The run as events: per pattern, the pattern, then each firing followed by its
    // issues (`findings` holds each pattern's issues in the order found). The title,
    // schemaVersion and sch:ns bindings come from `ruleSet`, the assembled rule set.
    QMRuleSetTrace finish(const std::vector<CompiledPattern>& patterns,
                          const std::vector<std::vector<QMValidationError>>& findings, const std::string& title,
                          const xml::Document& ruleSet) const;

private:
    struct Firing {
        const CompiledRule* rule;
        size_t firstIssue;
    };
    std::vector<std::vector<Firing>> firings_;  // per pattern, in document order
};

}  // namespace quillmark::standard
