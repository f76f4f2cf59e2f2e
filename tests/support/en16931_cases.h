#pragma once
// The official EN 16931 unit-test cases of the corpus: which rule each case expects to
// fire as an error or a warning, or not to fire.

#include <nlohmann/json.hpp>

#include <set>
#include <string>
#include <vector>

#include "support/test_support.h"

namespace quillmark::testing {

struct CaseExpectation {
    std::string caseName;  // "ubl-invoice/BR-01-1.xml", relative to en16931/cases
    std::string kind;      // "error", "warning" or "success"
    std::string rule;
    std::string key() const { return caseName + " " + rule; }
};

// The ids of the rules that fired on a case, by severity.
struct FiredRules {
    std::set<std::string> errors, warnings;
};

inline std::vector<CaseExpectation> loadCaseExpectations() {
    std::vector<CaseExpectation> expectations;
    const auto cases = nlohmann::json::parse(readFile(corpusPath("en16931/cases/expectations.json")));
    for (const auto& [caseName, entry] : cases.items()) {
        for (const auto& expect : entry["expect"]) {
            expectations.push_back({caseName, expect["kind"].get<std::string>(), expect["rule"].get<std::string>()});
        }
    }
    return expectations;
}

inline bool isMet(const CaseExpectation& expectation, const FiredRules& fired) {
    if (expectation.kind == "error") return fired.errors.contains(expectation.rule);
    if (expectation.kind == "warning") return fired.warnings.contains(expectation.rule);
    return !fired.errors.contains(expectation.rule) && !fired.warnings.contains(expectation.rule);
}

inline std::string describe(const FiredRules& fired) {
    std::string text = "errors:";
    for (const auto& id : fired.errors) text += " " + id;
    text += "; warnings:";
    for (const auto& id : fired.warnings) text += " " + id;
    return text;
}

}  // namespace quillmark::testing
