// Fuzz target: loading and running a Schematron rule set in both profiles. The input
// is the rule set's text; it is loaded as the compatible loader reads it and compiled
// for the standard run, and whichever loads runs over the small invoice. Includes are
// resolved from fuzz/includes, a folder of small rule-set parts.

#include "fuzz_support.h"
#include "quillmark/schematron_validator.h"
#include "standard/compiled_rule_set.h"
#include "standard/rule_set_error.h"
#include "xpath/error.h"

using namespace quillmark;

namespace {

const std::string kIncludeDirectory = QUILLMARK_FUZZ_DIR "/includes";

void runCompatible(const std::string& ruleSet) {
    QMSchematronValidator validator;
    Error error;
    const std::shared_ptr<SchematronSchema> schema = validator.parseSchema(ruleSet, kIncludeDirectory, &error);
    if (!schema) return;
    validator.validateDocument(fuzz::smallInvoice(), *schema, &error);
}

void runStandard(const std::string& ruleSet) {
    try {
        const auto compiled = standard::CompiledRuleSet::loadText(ruleSet, kIncludeDirectory);
        const std::string source = fuzz::kSmallInvoice;
        compiled->validate(fuzz::smallInvoice(), {fuzz::standardLimits(), &source});
    } catch (const standard::RuleSetError&) {
        // A rule set that is refused, with its reason: an answer, not a failure.
    } catch (const xpath::XPathError&) {
        // The run's budget was spent.
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string ruleSet = fuzz::inputText(data, size);
    runCompatible(ruleSet);
    runStandard(ruleSet);
    return 0;
}
