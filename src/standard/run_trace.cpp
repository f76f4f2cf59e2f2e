#include "standard/run_trace.h"

#include <unordered_map>

#include "standard/schematron_names.h"

namespace quillmark::standard {
namespace {

QMTracedRule tracedRule(const CompiledRule& rule) {
    return QMTracedRule{rule.id, rule.context->text(), rule.role, rule.flag};
}

// The schema element's schemaVersion and sch:ns children (includes are resolved by then).
void describeRuleSet(const xml::Document& ruleSet, QMRuleSetTrace& trace) {
    const xmlNode* root = ruleSet.rootElement().raw();
    if (!root) return;
    trace.schemaVersion = attributeOf(root, "schemaVersion").value_or("");
    for (const xmlNode* child = root->children; child; child = child->next) {
        if (!isSchematron(child, "ns")) continue;
        trace.namespaces.emplace_back(attributeOf(child, "prefix").value_or(""),
                                      attributeOf(child, "uri").value_or(""));
    }
}

}  // namespace

QMRuleSetTrace RunTrace::finish(const std::vector<CompiledPattern>& patterns,
                                const std::vector<std::vector<QMValidationError>>& findings, const std::string& title,
                                const xml::Document& ruleSet) const {
    QMRuleSetTrace trace;
    trace.title = title;
    describeRuleSet(ruleSet, trace);
    std::unordered_map<const CompiledRule*, size_t> ruleNumbers;
    const auto add = [&trace](QMRunEvent::Kind kind, size_t index) { trace.events.push_back(QMRunEvent{kind, index}); };
    for (size_t index = 0; index < patterns.size(); ++index) {
        add(QMRunEvent::Kind::ActivePattern, trace.patterns.size());
        trace.patterns.push_back(QMTracedPattern{patterns[index].id, patterns[index].name});
        const std::vector<Firing>& firings = firings_[index];
        const std::vector<QMValidationError>& issues = findings[index];
        for (size_t firing = 0; firing < firings.size(); ++firing) {
            const CompiledRule* rule = firings[firing].rule;
            const auto [number, added] = ruleNumbers.try_emplace(rule, trace.rules.size());
            if (added) trace.rules.push_back(tracedRule(*rule));
            add(QMRunEvent::Kind::FiredRule, number->second);
            const size_t end = firing + 1 < firings.size() ? firings[firing + 1].firstIssue : issues.size();
            for (size_t issue = firings[firing].firstIssue; issue < end; ++issue) {
                add(QMRunEvent::Kind::Issue, trace.issues.size());
                trace.issues.push_back(issues[issue]);
            }
        }
    }
    return trace;
}

}  // namespace quillmark::standard
