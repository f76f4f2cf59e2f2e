// The validator's standard profile: rule-set files compiled once per validator and run
// by the standard Schematron run.

#include "quillmark/schematron_validator.h"
#include "standard/compiled_rule_set.h"
#include "standard/rule_set_error.h"

namespace quillmark {

QMSchematronValidator::~QMSchematronValidator() = default;
QMSchematronValidator::QMSchematronValidator(QMSchematronValidator&&) noexcept = default;
QMSchematronValidator& QMSchematronValidator::operator=(QMSchematronValidator&&) noexcept = default;

void QMSchematronValidator::setPhase(std::optional<std::string> phase) {
    if (phase != _phase) _compiledRuleSets.clear();
    _phase = std::move(phase);
}

std::shared_ptr<const standard::CompiledRuleSet> QMSchematronValidator::compiledRuleSet(const std::string& path,
                                                                                         Error* error) {
    if (auto found = _compiledRuleSets.find(path); found != _compiledRuleSets.end()) return found->second;
    try {
        auto compiled = standard::CompiledRuleSet::loadFile(path, standard::LoadOptions{_phase});
        _compiledRuleSets.emplace(path, compiled);
        return compiled;
    } catch (const standard::RuleSetError& failure) {
        setError(error, kRuleSetDomain, 1, failure.what());
        return nullptr;
    }
}

std::optional<QMValidationResult> QMSchematronValidator::validateDocumentWithSchemaFile(const xml::Document& document,
                                                                                        const std::string& schemaPath,
                                                                                        Error* error) {
    if (_semantics == Semantics::Compatible) {
        std::shared_ptr<SchematronSchema> schema = loadSchemaFile(schemaPath, error);
        if (!schema) return std::nullopt;
        return validateDocument(document, *schema, error);
    }
    std::shared_ptr<const standard::CompiledRuleSet> rules = compiledRuleSet(schemaPath, error);
    if (!rules) return std::nullopt;
    return rules->validate(document);
}

std::optional<QMValidationResult> QMSchematronValidator::validateXMLWithStandardSchemaText(const std::string& xml,
                                                                                          const std::string& schemaText,
                                                                                          Error* error) {
    std::shared_ptr<const standard::CompiledRuleSet> rules;
    try {
        rules = standard::CompiledRuleSet::loadText(schemaText, ".", standard::LoadOptions{_phase});
    } catch (const standard::RuleSetError& failure) {
        setError(error, kRuleSetDomain, 1, failure.what());
        return std::nullopt;
    }
    auto document = xml::Document::parse(xml, error);
    if (!document) return std::nullopt;
    return rules->validate(*document);
}

}  // namespace quillmark
