// Fuzz target: parsing and validating an invoice. The input is the document's text;
// it is parsed and validated in the standard profile by the bundled EN 16931 rules
// for its syntax (CII for a CrossIndustryInvoice root, UBL for anything else), which
// are compiled once per process.

#include "fuzz_support.h"
#include "quillmark/schematron_validator.h"
#include "standard/compiled_rule_set.h"
#include "xpath/error.h"

using namespace quillmark;

namespace {

struct BundledRules {
    std::shared_ptr<const standard::CompiledRuleSet> ubl;
    std::shared_ptr<const standard::CompiledRuleSet> cii;
};

const BundledRules& bundledRules() {
    static const BundledRules rules{
        standard::CompiledRuleSet::loadFile(rulesDirectory() + "/en16931/ubl/EN16931-UBL-validation.sch"),
        standard::CompiledRuleSet::loadFile(rulesDirectory() + "/en16931/cii/EN16931-CII-validation.sch")};
    return rules;
}

const standard::CompiledRuleSet& rulesFor(const xml::Document& document) {
    const xml::Node root = document.rootElement();
    const bool cii = root && root.namespaceURI() == fuzz::invoicePrefixes().at("rsm");
    return cii ? *bundledRules().cii : *bundledRules().ubl;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The bundled rules are read before the input size limit shrinks.
    bundledRules();
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = fuzz::inputText(data, size);
    Error error;
    const std::shared_ptr<xml::Document> document = xml::Document::parse(text, &error);
    if (!document) return 0;
    try {
        rulesFor(*document).validate(*document, {fuzz::standardLimits(), &text});
    } catch (const xpath::XPathError&) {
        // The run's budget was spent.
    }
    return 0;
}
