// The official EN 16931 unit-test invoices, one per case, validated with the
// preprocessed EN 16931 rules of their syntax. Each case says which rule must fire
// (as an error or a warning) or must not fire. Every expectation is met, or listed
// with its reason in deviations.md beside this file; a case outside that list that
// stops meeting its expectation fails the test.

#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <regex>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "quillmark/schematron_validator.h"
#include "support/en16931_cases.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

using Expectation = testing::CaseExpectation;
using Fired = testing::FiredRules;
using testing::describe;
using testing::isMet;
using testing::corpusPath;
using testing::readFile;
using testing::sourcePath;

constexpr const char* kUBLRules = "en16931/ubl/schematron/preprocessed/EN16931-UBL-validation-preprocessed.sch";
constexpr const char* kCIIRules = "en16931/cii/schematron/preprocessed/EN16931-CII-validation-preprocessed.sch";

// Keys ("case rule") of the table rows of deviations.md whose first cell names a case.
std::set<std::string> listedDeviations() {
    static const std::regex row(R"(^\|\s*`?([^|`]*?\.xml)`?\s*\|\s*`?([^|`]*?)`?\s*\|)");
    std::set<std::string> keys;
    std::istringstream in(readFile(sourcePath("tests/conformance/deviations.md")));
    std::smatch cells;
    for (std::string line; std::getline(in, line);) {
        if (std::regex_search(line, cells, row)) keys.insert(cells.str(1) + " " + cells.str(2));
    }
    return keys;
}

class EN16931CasesTest : public ::testing::Test {
protected:
    // Each rule set is loaded once and serves every case of its syntax.
    const SchematronSchema& rulesFor(const std::string& caseName) {
        const bool cii = caseName.rfind("cii/", 0) == 0;
        auto& slot = cii ? cii_ : ubl_;
        if (!slot) {
            Error error;
            slot = validator_.loadSchemaFile(corpusPath(cii ? kCIIRules : kUBLRules), &error);
            if (!slot) throw std::runtime_error("cannot load rules: " + error.message());
        }
        return *slot;
    }

    Fired validate(const std::string& caseName) {
        Error error;
        auto document = xml::Document::parseFile(corpusPath("en16931/cases/" + caseName), &error);
        if (!document) throw std::runtime_error(caseName + ": " + error.message());
        QMValidationResult result = validator_.validateDocument(*document, rulesFor(caseName), nullptr);
        Fired fired;
        for (const auto& issue : result.errors) fired.errors.insert(issue.assertionId);
        for (const auto& issue : result.warnings) fired.warnings.insert(issue.assertionId);
        return fired;
    }

    QMSchematronValidator validator_;
    std::shared_ptr<SchematronSchema> ubl_;
    std::shared_ptr<SchematronSchema> cii_;
};

TEST_F(EN16931CasesTest, EveryExpectationIsMetOrAListedDeviation) {
    const std::set<std::string> deviations = listedDeviations();
    std::map<std::string, Fired> firedByCase;
    size_t met = 0;
    size_t total = 0;
    std::vector<std::string> nowMet;
    for (const Expectation& expectation : testing::loadCaseExpectations()) {
        auto found = firedByCase.find(expectation.caseName);
        if (found == firedByCase.end()) found = firedByCase.emplace(expectation.caseName, validate(expectation.caseName)).first;
        ++total;
        const bool listed = deviations.count(expectation.key()) > 0;
        if (isMet(expectation, found->second)) {
            ++met;
            if (listed) nowMet.push_back(expectation.key());
            continue;
        }
        EXPECT_TRUE(listed) << expectation.caseName << ": expected " << expectation.kind << " " << expectation.rule
                            << "; fired " << describe(found->second);
    }
    std::cout << "EN 16931 conformance: " << met << " of " << total << " expectations met in "
              << firedByCase.size() << " cases; " << deviations.size() << " listed deviations\n";
    for (const auto& key : nowMet) std::cout << "listed deviation now met (remove it from deviations.md): " << key << '\n';
    RecordProperty("expectations_met", static_cast<int>(met));
    RecordProperty("expectations_total", static_cast<int>(total));
}

// A typo in the list would hide a regression of the case it meant.
TEST_F(EN16931CasesTest, ListedDeviationsNameRealExpectations) {
    std::set<std::string> known;
    for (const Expectation& expectation : testing::loadCaseExpectations()) known.insert(expectation.key());
    for (const auto& key : listedDeviations()) EXPECT_TRUE(known.count(key)) << "unknown case or rule: " << key;
}

}  // namespace
}  // namespace quillmark
