// The raw EN 16931 editions (a main file with includes, abstract patterns and their
// syntax bindings) assembled by the standard run must be the rule sets the official
// preprocessed files are: on every EN 16931 unit-test case of their syntax both give
// the same findings, issue for issue.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "standard/compiled_rule_set.h"
#include "support/test_support.h"

namespace quillmark::standard {
namespace {

using testing::corpusPath;

struct Edition {
    const char* name;
    const char* raw;
    const char* preprocessed;
    std::vector<const char*> caseFolders;  // below en16931/cases
};

void PrintTo(const Edition& edition, std::ostream* out) { *out << edition.name; }

const Edition kEditions[] = {
    {"UBL", "en16931/ubl/schematron/EN16931-UBL-validation.sch",
     "en16931/ubl/schematron/preprocessed/EN16931-UBL-validation-preprocessed.sch", {"ubl-invoice", "ubl-creditnote"}},
    {"CII", "en16931/cii/schematron/EN16931-CII-validation.sch",
     "en16931/cii/schematron/preprocessed/EN16931-CII-validation-preprocessed.sch", {"cii"}},
};

// Every case file of the folders, sorted so that failures read in a stable order.
std::vector<std::string> caseFiles(const Edition& edition) {
    std::vector<std::string> files;
    for (const char* folder : edition.caseFolders) {
        const std::string directory = corpusPath(std::string("en16931/cases/") + folder);
        if (!std::filesystem::is_directory(directory)) {
            ADD_FAILURE() << "missing corpus folder " << directory;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            if (entry.path().extension() == ".xml") files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The test as written, without the white space around it: the preprocessed files trim
// the parameter values that the raw editions spread over several lines.
std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// What a finding says to a user: which assertion fired where, how severe, with which
// text and test. Pattern and rule ids are left out: the preprocessed files may name
// instances differently.
std::vector<std::string> findings(const CompiledRuleSet& rules, const xml::Document& document) {
    const QMValidationResult result = rules.validate(document);
    std::vector<std::string> lines;
    for (const auto* issues : {&result.errors, &result.warnings}) {
        for (const QMValidationError& i : *issues) {
            lines.push_back(i.assertionId + "|" + i.type + "|" + i.flag + "|" + i.role + "|" + i.severity() + "|" +
                            i.location + "|" + std::to_string(i.line) + "|" + trimmed(i.test) + "|" + i.message);
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

class StandardRawEditions : public ::testing::TestWithParam<Edition> {};

TEST_P(StandardRawEditions, GiveTheFindingsOfThePreprocessedFile) {
    const Edition& edition = GetParam();
    ASSERT_TRUE(testing::corpusAvailable()) << "the corpus is missing: " << corpusPath("");
    const auto raw = CompiledRuleSet::loadFile(corpusPath(edition.raw));
    const auto preprocessed = CompiledRuleSet::loadFile(corpusPath(edition.preprocessed));
    const std::vector<std::string> files = caseFiles(edition);
    ASSERT_FALSE(files.empty()) << "no EN 16931 cases for " << edition.name;
    size_t equal = 0;
    size_t findingCount = 0;
    for (const std::string& file : files) {
        Error error;
        const auto document = xml::Document::parseFile(file, &error);
        ASSERT_TRUE(document) << file << ": " << error.message();
        const std::vector<std::string> expected = findings(*preprocessed, *document);
        const std::vector<std::string> actual = findings(*raw, *document);
        findingCount += expected.size();
        if (actual == expected) {
            ++equal;
            continue;
        }
        std::vector<std::string> missing, extra;
        std::set_difference(expected.begin(), expected.end(), actual.begin(), actual.end(), std::back_inserter(missing));
        std::set_difference(actual.begin(), actual.end(), expected.begin(), expected.end(), std::back_inserter(extra));
        ADD_FAILURE() << std::filesystem::path(file).filename().string() << ": "
                      << "only preprocessed: " << ::testing::PrintToString(missing)
                      << "; only raw: " << ::testing::PrintToString(extra);
    }
    std::cout << "EN 16931 " << edition.name << " raw edition: " << equal << " of " << files.size()
              << " cases give the preprocessed findings (" << findingCount << " findings)\n";
    EXPECT_EQ(equal, files.size());
}

INSTANTIATE_TEST_SUITE_P(EN16931, StandardRawEditions, ::testing::ValuesIn(kEditions),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace quillmark::standard
