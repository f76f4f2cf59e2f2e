// The standard run of a compiled rule set over one document, as an XSLT 2.0 processor
// runs a compiled Schematron rule set: patterns in document order; within a pattern,
// each node goes to the first rule whose context matches it; global variables are
// computed once per document on first use, rule variables once per node handled on
// first use. One walk of the document serves every pattern.

#include <filesystem>
#include <unordered_set>

#include "quillmark/log.h"
#include "standard/compiled_rule_set.h"
#include "standard/explanation.h"
#include "standard/node_location.h"
#include "standard/run_trace.h"
#include "xpath/axes.h"
#include "xpath/error.h"
#include "xpath/sequence_operations.h"
#include "xpath/xml_text.h"

namespace quillmark::standard {
namespace {

using xpath::DynamicContext;
using xpath::FocusScope;
using xpath::Item;
using xpath::NodeKind;
using xpath::Sequence;
using xpath::XPathError;

Item itemOf(const xmlNode* node) { return Item(xml::Node(const_cast<xmlNode*>(node))); }

// A computation of a variable's value from a fixed node, for DynamicContext::defineGlobal.
std::function<Sequence(DynamicContext&)> valueFrom(const xpath::CompiledExpression* expression, const xmlNode* node) {
    return [expression, item = itemOf(node)](DynamicContext& context) {
        FocusScope focus(context, &item, 1, 1);
        return expression->evaluate(context);
    };
}

}  // namespace

class StandardRun {
public:
    StandardRun(const CompiledRuleSet& rules, const xml::Document& document, const RunOptions& options)
        : rules_(rules),
          document_(document),
          source_(options.source),
          explain_(options.explain),
          context_(options.limits),
          findings_(rules.patterns_.size()) {
        if (options.trace) trace_.emplace(rules.patterns_.size());
    }

    QMValidationResult run() {
        const xmlNode* root = document_.node().raw();
        const Item rootItem = itemOf(root);
        context_.setContextItem(rootItem);
        for (const CompiledLet& let : rules_.globals_) context_.defineGlobal(let.slot, valueFrom(let.value.get(), root));
        try {
            walk(root);
        } catch (const XPathError& error) {
            // Only a spent budget ends the run; everything else was handled where it arose.
            aborted_.push_back(abortIssue(error));
        }
        return result();
    }

private:
    bool wants(NodeKind kind) const {
        for (const CompiledPattern& pattern : rules_.patterns_) {
            if (pattern.index.wantsKind(kind)) return true;
        }
        return false;
    }

    void walk(const xmlNode* root) {
        const bool attributes = wants(NodeKind::Attribute);
        const bool texts = wants(NodeKind::Text);
        const bool others = wants(NodeKind::Comment) || wants(NodeKind::ProcessingInstruction);
        visit(root);
        xpath::axes::descendants(root, [&](const xmlNode* node) {
            const NodeKind kind = xpath::nodeKind(node);
            if (kind == NodeKind::Element) {
                visit(node);
                if (attributes) xpath::axes::attributes(node, [&](const xmlNode* attribute) { visit(attribute); });
            } else if ((kind == NodeKind::Text && texts) || (kind != NodeKind::Text && others)) {
                visit(node);
            }
        });
    }

    // Gives the node to the first matching rule of each pattern.
    void visit(const xmlNode* node) {
        const NodeKind kind = xpath::nodeKind(node);
        const std::string_view name = xpath::localNameOf(node);
        for (size_t index = 0; index < rules_.patterns_.size(); ++index) {
            const CompiledPattern& pattern = rules_.patterns_[index];
            for (uint32_t candidate : pattern.index.candidates(kind, name)) {
                const CompiledRule& rule = pattern.rules[candidate];
                if (!contextMatches(rule, node)) continue;
                if (trace_) trace_->fired(index, rule, findings_[index].size());
                runRule(pattern, rule, node, findings_[index]);
                break;
            }
        }
    }

    // An error while matching a context is no match, as the reference processor has it.
    bool contextMatches(const CompiledRule& rule, const xmlNode* node) {
        try {
            return rule.context->matches(node, context_);
        } catch (const XPathError& error) {
            if (error.code() == xpath::ErrorCode::QMXP0001) throw;
            if (reportedContexts_.insert(&rule).second) {
                log("Rule context '" + rule.context->text() + "' could not be matched at " + locationPath(node) +
                    ", treated as no match: " + error.what());
            }
            return false;
        }
    }

    void runRule(const CompiledPattern& pattern, const CompiledRule& rule, const xmlNode* node,
                 std::vector<QMValidationError>& into) {
        for (const CompiledLet& let : rule.lets) context_.defineGlobal(let.slot, valueFrom(let.value.get(), node));
        const Item item = itemOf(node);
        for (const CompiledAssertion& assertion : rule.assertions) {
            FocusScope focus(context_, &item, 1, 1);
            try {
                const bool holds = assertion.test->effectiveBooleanValue(context_);
                if (holds != assertion.report) continue;
                into.push_back(issue(pattern, rule, assertion, node, renderMessage(assertion, node)));
                if (explain_) {
                    into.back().explanation =
                        explainTest(*assertion.test, context_, holds, LetsInScope{rule.lets, rules_.globals_});
                }
            } catch (const XPathError& error) {
                if (error.code() == xpath::ErrorCode::QMXP0001) throw;
                into.push_back(dynamicErrorIssue(pattern, rule, assertion, node, error, "the test " + assertion.test->text()));
            } catch (const MessageEvaluationError& failure) {
                into.push_back(dynamicErrorIssue(pattern, rule, assertion, node, failure.error,
                                                 "the message expression " + failure.expression));
            }
        }
    }

    std::string renderMessage(const CompiledAssertion& assertion, const xmlNode* node) {
        std::string text = render(assertion.message, node);
        for (const CompiledMessage& diagnostic : assertion.diagnostics) {
            const std::string extra = render(diagnostic, node);
            if (!extra.empty()) text += (text.empty() ? "" : " ") + extra;
        }
        return text;
    }

    std::string render(const CompiledMessage& message, const xmlNode* node) {
        std::string text;
        for (const CompiledMessage::Part& part : message.parts) {
            switch (part.kind) {
            case CompiledMessage::PartKind::Text: text += part.text; break;
            case CompiledMessage::PartKind::ValueOf: {
                const Sequence value = evaluateInMessage(*part.expression);
                for (size_t index = 0; index < value.size(); ++index) {
                    if (index > 0) text += ' ';
                    text += xpath::stringValueOfItem(value[index]);
                }
                break;
            }
            case CompiledMessage::PartKind::Name: text += nameFor(part, node); break;
            }
        }
        return xpath::collapseXmlWhiteSpace(text);
    }

    // An error in a message's expression, told apart from one in the test.
    struct MessageEvaluationError {
        XPathError error;
        std::string expression;
    };

    Sequence evaluateInMessage(const xpath::CompiledExpression& expression) {
        try {
            return expression.evaluate(context_);
        } catch (const XPathError& error) {
            if (error.code() == xpath::ErrorCode::QMXP0001) throw;
            throw MessageEvaluationError{error, expression.text()};
        }
    }

    std::string nameFor(const CompiledMessage::Part& part, const xmlNode* node) {
        if (!part.expression) return xpath::qualifiedNameOf(node);
        const Sequence value = evaluateInMessage(*part.expression);
        if (value.empty() || !value.front().isNode()) return "";
        return xpath::qualifiedNameOf(value.front().node().raw());
    }

    QMValidationError baseIssue(const CompiledPattern& pattern, const CompiledRule& rule,
                                const CompiledAssertion& assertion, const xmlNode* node) const {
        QMValidationError issue;
        issue.semantics = Semantics::Standard;
        issue.pattern = pattern.id;
        issue.rule = rule.id.empty() ? rule.context->text() : rule.id;
        issue.assertion = assertion.id;
        issue.assertionId = assertion.id;
        issue.test = assertion.test->text();
        issue.location = locationPath(node);
        issue.schemaTitle = rules_.title_;
        issue.ruleSet = ruleSetName();
        const SourcePosition position = sourcePosition(node, source_);
        issue.line = position.line;
        issue.column = position.column;
        return issue;
    }

    QMValidationError issue(const CompiledPattern& pattern, const CompiledRule& rule, const CompiledAssertion& assertion,
                            const xmlNode* node, std::string message) const {
        QMValidationError issue = baseIssue(pattern, rule, assertion, node);
        issue.type = assertion.report ? "report" : "assert";
        issue.flag = assertion.flag;
        issue.role = assertion.role;
        issue.message = std::move(message);
        return issue;
    }

    // A test, variable or message that failed to evaluate: an error, whatever the
    // assertion declares, so that the document is never taken for valid.
    QMValidationError dynamicErrorIssue(const CompiledPattern& pattern, const CompiledRule& rule,
                                        const CompiledAssertion& assertion, const xmlNode* node,
                                        const XPathError& error, const std::string& where) const {
        QMValidationError issue = baseIssue(pattern, rule, assertion, node);
        issue.type = kDynamicErrorType;
        issue.flag = "error";
        issue.role = "error";
        issue.message = "The rule could not be evaluated (" + std::string(error.what()) + ") in " + where;
        return issue;
    }

    QMValidationError abortIssue(const XPathError& error) const {
        QMValidationError issue;
        issue.semantics = Semantics::Standard;
        issue.type = kDynamicErrorType;
        issue.flag = "error";
        issue.role = "error";
        issue.location = "/";
        issue.schemaTitle = rules_.title_;
        issue.ruleSet = ruleSetName();
        issue.message = "Validation stopped: " + std::string(error.what());
        return issue;
    }

    // The rule set's title, or its file name when it has none.
    std::string ruleSetName() const {
        if (!rules_.title_.empty()) return rules_.title_;
        return std::filesystem::path(rules_.path_).filename().string();
    }

    QMValidationResult result() {
        QMValidationResult result;
        if (trace_) {
            result.traces.emplace(1, trace_->finish(rules_.patterns_, findings_, rules_.title_, *rules_.document_));
        }
        findings_.push_back(std::move(aborted_));
        for (std::vector<QMValidationError>& issues : findings_) {
            for (QMValidationError& issue : issues) {
                (issue.severity() == "Error" ? result.errors : result.warnings).push_back(std::move(issue));
            }
        }
        result.valid = result.errors.empty();
        return result;
    }

    const CompiledRuleSet& rules_;
    const xml::Document& document_;
    const std::string* source_;
    bool explain_;
    DynamicContext context_;
    std::vector<std::vector<QMValidationError>> findings_;  // per pattern
    std::vector<QMValidationError> aborted_;  // the issue of a run that ran out of budget
    std::unordered_set<const CompiledRule*> reportedContexts_;
    std::optional<RunTrace> trace_;  // only when asked for
};

QMValidationResult CompiledRuleSet::validate(const xml::Document& document, const RunOptions& options) const {
    return StandardRun(*this, document, options).run();
}

}  // namespace quillmark::standard
