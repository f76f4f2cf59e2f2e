#pragma once
// Helpers shared by the test suites: paths of test data and the corpus, file reading,
// and running the command-line tool.

#include <string>
#include <vector>

namespace quillmark::testing {

// Path below the repository ("examples/invoice-valid.xml").
std::string sourcePath(const std::string& relative);
// Path below the shared corpus ("en16931/cases/expectations.json").
std::string corpusPath(const std::string& relative);
bool corpusAvailable();
std::string readFile(const std::string& path);
// A fresh, empty directory under the system's temporary directory.
std::string makeTempDirectory(const std::string& stem);

struct CommandResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};
// Runs the quillmark tool with the arguments (each quoted for the shell).
CommandResult runCli(const std::vector<std::string>& arguments);

}  // namespace quillmark::testing
