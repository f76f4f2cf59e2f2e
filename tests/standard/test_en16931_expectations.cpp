// The official EN 16931 unit-test invoices, one per case, validated in the standard
// profile with the preprocessed EN 16931 rules of their syntax: every expectation of
// the official unit tests (a rule must fire as an error or a warning, or must not fire)
// is met.

#include <gtest/gtest.h>

#include <iostream>
#include <map>

#include "standard/compiled_rule_set.h"
#include "support/en16931_cases.h"

namespace quillmark::standard {
namespace {

using testing::CaseExpectation;
using testing::corpusPath;
using testing::FiredRules;

constexpr const char* kUBLRules = "en16931/ubl/schematron/preprocessed/EN16931-UBL-validation-preprocessed.sch";
constexpr const char* kCIIRules = "en16931/cii/schematron/preprocessed/EN16931-CII-validation-preprocessed.sch";

class StandardEN16931Cases : public ::testing::Test {
protected:
    const CompiledRuleSet& rulesFor(const std::string& caseName) {
        const bool cii = caseName.starts_with("cii/");
        auto& slot = cii ? cii_ : ubl_;
        if (!slot) slot = CompiledRuleSet::loadFile(corpusPath(cii ? kCIIRules : kUBLRules));
        return *slot;
    }

    FiredRules validate(const std::string& caseName) {
        Error error;
        auto document = xml::Document::parseFile(corpusPath("en16931/cases/" + caseName), &error);
        if (!document) throw std::runtime_error(caseName + ": " + error.message());
        const QMValidationResult result = rulesFor(caseName).validate(*document);
        FiredRules fired;
        for (const auto& issue : result.errors) fired.errors.insert(issue.assertionId);
        for (const auto& issue : result.warnings) fired.warnings.insert(issue.assertionId);
        return fired;
    }

    std::shared_ptr<const CompiledRuleSet> ubl_;
    std::shared_ptr<const CompiledRuleSet> cii_;
};

TEST_F(StandardEN16931Cases, EveryExpectationIsMet) {
    std::map<std::string, FiredRules> firedByCase;
    size_t met = 0;
    size_t total = 0;
    for (const CaseExpectation& expectation : testing::loadCaseExpectations()) {
        auto found = firedByCase.find(expectation.caseName);
        if (found == firedByCase.end()) found = firedByCase.emplace(expectation.caseName, validate(expectation.caseName)).first;
        ++total;
        if (testing::isMet(expectation, found->second)) {
            ++met;
            continue;
        }
        ADD_FAILURE() << expectation.caseName << ": expected " << expectation.kind << " " << expectation.rule
                      << "; fired " << testing::describe(found->second);
    }
    std::cout << "EN 16931 conformance (standard profile): " << met << " of " << total << " expectations met in "
              << firedByCase.size() << " cases\n";
    RecordProperty("expectations_met", static_cast<int>(met));
    RecordProperty("expectations_total", static_cast<int>(total));
}

}  // namespace
}  // namespace quillmark::standard
