// Every official rule set of ../shared/corpus/reference, run in the standard profile
// over every invoice the reference processor ran it on: per invoice, the fired
// assertion and report ids with their flags and counts must equal the reference's, and
// where the reference stopped with a dynamic error the run must report one.
//
// For investigation: REFERENCE_VERBOSE=1 prints each difference.

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "standard/compiled_rule_set.h"
#include "support/test_support.h"

namespace quillmark::standard {
namespace {

using testing::corpusPath;
using testing::readFile;

// (id, flag) -> how often it fired.
using Firings = std::map<std::pair<std::string, std::string>, int>;

struct Outcome {
    Firings fired;
    bool dynamicError = false;
};

std::string describe(const Firings& fired) {
    std::string text;
    for (const auto& [key, count] : fired) {
        text += " " + key.first + "(" + key.second + ")" + (count > 1 ? "x" + std::to_string(count) : "");
    }
    return text.empty() ? " nothing" : text;
}

Outcome referenceOutcome(const nlohmann::json& entry) {
    Outcome outcome;
    outcome.dynamicError = entry.contains("error");
    for (const auto& fired : entry["fired"]) {
        outcome.fired[{fired["id"].get<std::string>(), fired.value("flag", "")}] += fired.value("count", 1);
    }
    return outcome;
}

Outcome ourOutcome(const CompiledRuleSet& rules, const std::string& invoice) {
    Error error;
    auto document = xml::Document::parseFile(corpusPath(invoice), &error);
    if (!document) throw std::runtime_error(invoice + ": " + error.message());
    const QMValidationResult result = rules.validate(*document);
    Outcome outcome;
    for (const auto* issues : {&result.errors, &result.warnings}) {
        for (const QMValidationError& issue : *issues) {
            if (issue.type == kDynamicErrorType) {
                outcome.dynamicError = true;
                continue;
            }
            outcome.fired[{issue.assertionId, issue.flag}] += 1;
        }
    }
    return outcome;
}

// A run the reference stopped with a dynamic error agrees when ours reports one too
// (what fired before the stop depends on the order of evaluation).
bool agrees(const Outcome& reference, const Outcome& ours) {
    if (reference.dynamicError) return ours.dynamicError;
    return !ours.dynamicError && reference.fired == ours.fired;
}

class ReferenceOutcomes : public ::testing::TestWithParam<std::string> {};

TEST_P(ReferenceOutcomes, EveryInvoiceFiresWhatTheReferenceFires) {
    const auto reference = nlohmann::json::parse(readFile(corpusPath("reference/" + GetParam() + ".json")));
    const std::string ruleSet = reference["ruleset"].get<std::string>();
    const auto rules = CompiledRuleSet::loadFile(corpusPath(ruleSet));
    const bool verbose = std::getenv("REFERENCE_VERBOSE") != nullptr;
    int equal = 0;
    int total = 0;
    for (const auto& [invoice, entry] : reference["invoices"].items()) {
        ++total;
        const Outcome expected = referenceOutcome(entry);
        const Outcome actual = ourOutcome(*rules, invoice);
        if (agrees(expected, actual)) {
            ++equal;
            continue;
        }
        ADD_FAILURE() << GetParam() << " " << invoice << ": reference" << describe(expected.fired)
                      << (expected.dynamicError ? " + dynamic error" : "") << "; standard run" << describe(actual.fired)
                      << (actual.dynamicError ? " + dynamic error" : "");
        if (verbose) std::cout << invoice << '\n';
    }
    std::cout << ruleSet << ": " << equal << " of " << total << " invoices fire what the reference fires\n";
    RecordProperty("invoices_equal", equal);
    RecordProperty("invoices_total", total);
}

INSTANTIATE_TEST_SUITE_P(OfficialRuleSets, ReferenceOutcomes,
                         ::testing::Values("en16931-ubl", "en16931-cii", "peppol-cen-ubl", "peppol-cen-cii", "peppol-ubl",
                                           "peppol-cii", "xrechnung-ubl", "xrechnung-cii"),
                         [](const auto& info) {
                             std::string name = info.param;
                             std::erase(name, '-');
                             return name;
                         });

}  // namespace
}  // namespace quillmark::standard
