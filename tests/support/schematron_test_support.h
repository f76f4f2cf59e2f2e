#pragma once
// Helpers shared by the Schematron, XSD, presentation, tool and conformance suites:
// rule-set text, files in a fresh directory, parsed documents, issue summaries and
// runs of the command-line tool.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "quillmark/schematron_model.h"
#include "quillmark/xml.h"
#include "support/test_support.h"

namespace quillmark::testing {

inline constexpr const char* kSchematronNamespace = "http://purl.oclc.org/dsdl/schematron";

// A rule set in the Schematron namespace around the given body.
inline std::string schematronText(const std::string& body) {
    return std::string("<schema xmlns=\"") + kSchematronNamespace + "\">" + body + "</schema>";
}

// Writes the text, creating missing parent directories; gives the path back.
inline std::string writeFile(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

inline std::shared_ptr<xml::Document> parseXML(const std::string& text) {
    Error error;
    auto document = xml::Document::parse(text, &error);
    EXPECT_TRUE(document) << error.message();
    return document;
}

inline std::vector<std::string> textLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// One line per issue, made of the fields the caller picks.
template <typename Describe>
std::vector<std::string> issueLines(const std::vector<QMValidationError>& issues, Describe describe) {
    std::vector<std::string> lines;
    for (const auto& issue : issues) lines.push_back(describe(issue));
    return lines;
}

inline std::vector<std::string> ids(const std::vector<QMValidationError>& issues) {
    return issueLines(issues, [](const QMValidationError& issue) { return issue.assertionId; });
}

// Every field of an issue, "|"-separated, so that issues are compared completely.
inline std::string allFields(const QMValidationError& i) {
    return i.pattern + "|" + i.rule + "|" + i.assertion + "|" + i.assertionId + "|" + i.test + "|" + i.type + "|" +
           i.role + "|" + i.flag + "|" + i.message + "|" + i.location + "|" + i.schemaTitle;
}

// "ID LOCATION MESSAGE" per issue.
inline std::vector<std::string> idLocationMessage(const std::vector<QMValidationError>& issues) {
    return issueLines(issues,
                      [](const QMValidationError& i) { return i.assertionId + " " + i.location + " " + i.message; });
}

// A fresh directory for each test, removed afterwards.
class TempDirectoryTest : public ::testing::Test {
protected:
    void SetUp() override { directory_ = makeTempDirectory("quillmark-test"); }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }
    std::string path(const std::string& relative) const { return directory_ + "/" + relative; }
    std::string write(const std::string& relative, const std::string& text) const {
        return writeFile(path(relative), text);
    }

    std::string directory_;
};

// A run of the tool with its stdout, stderr and exit status, checked together.
struct CliCase {
    std::vector<std::string> arguments;
    std::string out;
    std::string err;
    int exitCode;
};

inline std::string commandLine(const std::vector<std::string>& arguments) {
    std::string command = "quillmark";
    for (const auto& argument : arguments) command += " " + argument;
    return command;
}

inline void expectCliRuns(const std::vector<CliCase>& cases) {
    for (const auto& c : cases) {
        SCOPED_TRACE(commandLine(c.arguments));
        CommandResult result = runCli(c.arguments);
        EXPECT_EQ(result.out, c.out);
        EXPECT_EQ(result.err, c.err);
        EXPECT_EQ(result.exitCode, c.exitCode);
    }
}

// Bad usage: nothing on stdout, a reason on stderr, exit status 2.
inline void expectUsageErrors(const std::vector<std::vector<std::string>>& calls) {
    for (const auto& arguments : calls) {
        SCOPED_TRACE(commandLine(arguments));
        CommandResult result = runCli(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err, "");
    }
}

}  // namespace quillmark::testing
