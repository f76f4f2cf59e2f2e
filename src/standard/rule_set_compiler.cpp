// Compiles an assembled rule set: namespaces, the active phase's patterns, global
// variables (schema, pattern and phase lets, visible everywhere and computed on first
// use), functions, rules with their lets and assertions, messages and diagnostics.

#include <algorithm>
#include <map>
#include <sstream>

#include "standard/compiled_rule_set.h"
#include "standard/rule_set_assembly.h"
#include "standard/rule_set_error.h"
#include "standard/schematron_names.h"
#include "xpath/error.h"
#include "xpath/xml_text.h"
#include "xpath/xslt_functions.h"

namespace quillmark::standard {
namespace {

std::vector<const xmlNode*> schematronChildren(const xmlNode* parent, std::string_view localName) {
    std::vector<const xmlNode*> children;
    for (const xmlNode* child = parent->children; child; child = child->next) {
        if (isSchematron(child, localName)) children.push_back(child);
    }
    return children;
}

std::string normalizedText(const xmlNode* node) {
    xmlChar* content = xmlNodeGetContent(node);
    std::string text = content ? reinterpret_cast<const char*>(content) : "";
    xmlFree(content);
    return xpath::collapseXmlWhiteSpace(text);
}

}  // namespace

class RuleSetCompiler {
public:
    RuleSetCompiler(std::shared_ptr<xml::Document> document, std::string path, const LoadOptions& options)
        : ruleSet_(new CompiledRuleSet()), options_(options) {
        ruleSet_->document_ = std::move(document);
        ruleSet_->path_ = std::move(path);
    }

    std::shared_ptr<const CompiledRuleSet> compile() {
        const xmlNode* root = ruleSet_->document_->rootElement().raw();
        checkQueryBinding(root);
        for (const xmlNode* title : schematronChildren(root, "title")) {
            ruleSet_->title_ = normalizedText(title);
            break;
        }
        ruleSet_->functions_ = std::make_unique<xpath::FunctionLibrary>(&xpath::FunctionLibrary::builtins());
        ruleSet_->statics_ = std::make_unique<xpath::StaticContext>(ruleSet_->functions_.get());
        for (const xmlNode* ns : schematronChildren(root, "ns")) {
            ruleSet_->statics_->declareNamespace(attributeOf(ns, "prefix").value_or(""), attributeOf(ns, "uri").value_or(""));
        }
        const std::vector<const xmlNode*> patterns = activePatterns(root);
        std::vector<const xmlNode*> globalLets = schematronChildren(root, "let");
        if (activePhase_) {
            for (const xmlNode* let : schematronChildren(activePhase_, "let")) globalLets.push_back(let);
        }
        for (const xmlNode* pattern : patterns) {
            for (const xmlNode* let : schematronChildren(pattern, "let")) globalLets.push_back(let);
        }
        declareGlobals(globalLets);
        compileFunctions(root);
        compileGlobals(globalLets);
        for (const xmlNode* pattern : patterns) ruleSet_->patterns_.push_back(compilePattern(pattern));
        return std::shared_ptr<const CompiledRuleSet>(ruleSet_.release());
    }

private:
    [[noreturn]] void fail(const std::string& what) const { throw RuleSetError(ruleSet_->path_ + ": " + what); }

    void checkQueryBinding(const xmlNode* root) const {
        const std::optional<std::string> binding = attributeOf(root, "queryBinding");
        if (!binding || *binding == "xslt2" || *binding == "xslt" || *binding == "xslt1") return;
        fail("the query binding '" + *binding + "' is not supported (use xslt2)");
    }

    // The patterns of the phase to run, in document order.
    std::vector<const xmlNode*> activePatterns(const xmlNode* root) {
        std::string phase = options_.phase.value_or(attributeOf(root, "defaultPhase").value_or("#ALL"));
        if (phase == "#DEFAULT") phase = attributeOf(root, "defaultPhase").value_or("#ALL");
        std::vector<const xmlNode*> patterns = schematronChildren(root, "pattern");
        if (phase == "#ALL") return patterns;
        for (const xmlNode* candidate : schematronChildren(root, "phase")) {
            if (attributeOf(candidate, "id") == phase) activePhase_ = candidate;
        }
        if (!activePhase_) fail("the rule set has no phase '" + phase + "'");
        std::vector<std::string> active;
        for (const xmlNode* entry : schematronChildren(activePhase_, "active")) {
            active.push_back(attributeOf(entry, "pattern").value_or(""));
        }
        std::erase_if(patterns, [&](const xmlNode* pattern) {
            const std::string id = attributeOf(pattern, "id").value_or("");
            return std::find(active.begin(), active.end(), id) == active.end();
        });
        return patterns;
    }

    void declareGlobals(const std::vector<const xmlNode*>& lets) {
        for (const xmlNode* let : lets) {
            const std::string name = attributeOf(let, "name").value_or("");
            const size_t slot = ruleSet_->statics_->declareVariable(xpath::ExpandedName{"", name});
            ruleSet_->globals_.push_back(CompiledLet{name, slot, nullptr});
        }
    }

    void compileFunctions(const xmlNode* root) {
        std::vector<const xmlNode*> functions;
        for (const xmlNode* child = root->children; child; child = child->next) {
            if (child->type == XML_ELEMENT_NODE && child->ns && viewOf(child->ns->href) == xpath::kXsltNamespace &&
                viewOf(child->name) == "function") {
                functions.push_back(child);
            }
        }
        try {
            xpath::compileXsltFunctions(functions, *ruleSet_->functions_, *ruleSet_->statics_);
        } catch (const xpath::XPathError& error) {
            fail(error.what());
        }
    }

    void compileGlobals(const std::vector<const xmlNode*>& lets) {
        for (size_t index = 0; index < lets.size(); ++index) {
            CompiledLet& let = ruleSet_->globals_[index];
            let.value = expression(lets[index], "value", *ruleSet_->statics_, "let $" + let.name);
        }
    }

    // An attribute's expression, compiled; a static error names what it belongs to.
    std::shared_ptr<xpath::CompiledExpression> expression(const xmlNode* element, const char* attribute,
                                                          const xpath::StaticContext& statics, const std::string& owner) {
        const std::optional<std::string> text = attributeOf(element, attribute);
        if (!text) fail(owner + ": the '" + attribute + "' attribute is missing");
        try {
            return std::make_shared<xpath::CompiledExpression>(*text, statics);
        } catch (const xpath::XPathError& error) {
            fail(owner + ": expression '" + *text + "': " + error.what());
        }
    }

    CompiledPattern compilePattern(const xmlNode* element) {
        CompiledPattern pattern;
        pattern.id = attributeOf(element, "id").value_or("");
        pattern.name = attributeOf(element, "name").value_or("");
        for (const xmlNode* rule : schematronChildren(element, "rule")) {
            if (attributeOf(rule, "abstract") == "true") continue;
            pattern.rules.push_back(compileRule(rule));
        }
        for (size_t index = 0; index < pattern.rules.size(); ++index) {
            pattern.index.add(static_cast<uint32_t>(index), pattern.rules[index].context->keys());
        }
        return pattern;
    }

    CompiledRule compileRule(const xmlNode* element) {
        CompiledRule rule;
        rule.id = attributeOf(element, "id").value_or("");
        const std::string owner = "rule '" + rule.id + "'";
        const std::optional<std::string> context = attributeOf(element, "context");
        if (!context) fail(owner + ": the 'context' attribute is missing");
        try {
            rule.context = std::make_unique<xpath::MatchPattern>(*context, *ruleSet_->statics_);
        } catch (const xpath::XPathError& error) {
            fail(owner + ": context '" + *context + "': " + error.what());
        }
        const std::string ruleFlag = attributeOf(element, "flag").value_or("");
        const std::string ruleRole = attributeOf(element, "role").value_or("");
        rule.flag = ruleFlag;
        rule.role = ruleRole;
        // Lets are visible to what follows them in the rule.
        xpath::StaticContext statics = *ruleSet_->statics_;
        for (const xmlNode* child = element->children; child; child = child->next) {
            if (isSchematron(child, "let")) {
                const std::string name = attributeOf(child, "name").value_or("");
                auto value = expression(child, "value", statics, owner + " let $" + name);
                rule.lets.push_back(CompiledLet{name, statics.declareVariable(xpath::ExpandedName{"", name}), value});
            } else if (isSchematron(child, "assert") || isSchematron(child, "report")) {
                rule.assertions.push_back(compileAssertion(child, statics, owner, ruleFlag, ruleRole));
            }
        }
        return rule;
    }

    CompiledAssertion compileAssertion(const xmlNode* element, const xpath::StaticContext& statics,
                                       const std::string& ruleOwner, const std::string& ruleFlag,
                                       const std::string& ruleRole) {
        CompiledAssertion assertion;
        assertion.id = attributeOf(element, "id").value_or("");
        assertion.report = isSchematron(element, "report");
        assertion.flag = attributeOf(element, "flag").value_or(ruleFlag);
        assertion.role = attributeOf(element, "role").value_or(ruleRole);
        const std::string owner = ruleOwner + " " + (assertion.report ? "report" : "assertion") + " '" + assertion.id + "'";
        assertion.test = expression(element, "test", statics, owner);
        compileMessage(element, statics, owner, assertion.message);
        std::istringstream names(attributeOf(element, "diagnostics").value_or(""));
        for (std::string name; names >> name;) {
            const xmlNode* diagnostic = findDiagnostic(name);
            if (!diagnostic) fail(owner + ": unknown diagnostic '" + name + "'");
            assertion.diagnostics.emplace_back();
            compileMessage(diagnostic, statics, owner + " diagnostic '" + name + "'", assertion.diagnostics.back());
        }
        return assertion;
    }

    const xmlNode* findDiagnostic(const std::string& id) {
        const xmlNode* root = ruleSet_->document_->rootElement().raw();
        for (const xmlNode* container : schematronChildren(root, "diagnostics")) {
            for (const xmlNode* diagnostic : schematronChildren(container, "diagnostic")) {
                if (attributeOf(diagnostic, "id") == id) return diagnostic;
            }
        }
        return nullptr;
    }

    void compileMessage(const xmlNode* element, const xpath::StaticContext& statics, const std::string& owner,
                        CompiledMessage& message) {
        using Part = CompiledMessage::Part;
        using Kind = CompiledMessage::PartKind;
        for (const xmlNode* child = element->children; child; child = child->next) {
            if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) {
                message.parts.push_back(Part{Kind::Text, std::string(viewOf(child->content)), nullptr});
            } else if (isSchematron(child, "value-of")) {
                message.parts.push_back(Part{Kind::ValueOf, attributeOf(child, "select").value_or(""),
                                             expression(child, "select", statics, owner + " value-of")});
            } else if (isSchematron(child, "name")) {
                const bool hasPath = attributeOf(child, "path").has_value();
                message.parts.push_back(Part{Kind::Name, attributeOf(child, "path").value_or(""),
                                             hasPath ? expression(child, "path", statics, owner + " name") : nullptr});
            } else if (child->type == XML_ELEMENT_NODE) {
                compileMessage(child, statics, owner, message);  // emph, dir, span and foreign markup: their text
            }
        }
    }

    std::unique_ptr<CompiledRuleSet> ruleSet_;
    LoadOptions options_;
    const xmlNode* activePhase_ = nullptr;
};

std::shared_ptr<const CompiledRuleSet> CompiledRuleSet::loadFile(const std::string& path, const LoadOptions& options) {
    return RuleSetCompiler(assembleRuleSet(path), path, options).compile();
}

std::shared_ptr<const CompiledRuleSet> CompiledRuleSet::loadText(const std::string& text, const std::string& baseDirectory,
                                                                 const LoadOptions& options) {
    return RuleSetCompiler(assembleRuleSetText(text, baseDirectory), "rule set", options).compile();
}

CompiledRuleSet::~CompiledRuleSet() = default;

}  // namespace quillmark::standard
