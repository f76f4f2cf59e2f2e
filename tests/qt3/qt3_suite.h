#pragma once
// A runner for the W3C XPath/XQuery test suite (QT3): reads the catalog and its test
// sets, decides which test cases apply to XPath 2.0 without optional features, runs
// them on the standard engine and checks their expected results.

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace quillmark::qt3 {

enum class Outcome { Passed, Failed, NotApplicable, Unsupported };

struct CaseResult {
    std::string testSet;
    std::string name;
    Outcome outcome = Outcome::NotApplicable;
    std::string detail;  // why it failed or was skipped
};

struct SetSummary {
    int passed = 0;
    int failed = 0;
    int unsupported = 0;
    int notApplicable = 0;
    int run() const { return passed + failed; }
};

class Suite {
public:
    // Reads `catalogPath` (qt3/catalog.xml); throws std::runtime_error when unreadable.
    explicit Suite(const std::string& catalogPath);
    ~Suite();

    std::vector<std::string> testSetNames() const;
    // Runs the test cases of one set (all when `caseFilter` is empty, else the case of
    // that name).
    std::vector<CaseResult> runTestSet(const std::string& name, const std::string& caseFilter = "");

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace quillmark::qt3
