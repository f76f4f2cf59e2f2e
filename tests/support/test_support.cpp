#include "support/test_support.h"

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace quillmark::testing {

std::string sourcePath(const std::string& relative) { return std::string(QUILLMARK_SOURCE_DIR) + "/" + relative; }

std::string corpusPath(const std::string& relative) { return std::string(QUILLMARK_CORPUS_DIR) + "/" + relative; }

bool corpusAvailable() { return std::filesystem::is_directory(QUILLMARK_CORPUS_DIR); }

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string makeTempDirectory(const std::string& stem) {
    std::random_device random;
    auto path = std::filesystem::temp_directory_path() / (stem + "-" + std::to_string(random()));
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
    return path.string();
}

static std::string shellQuote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    return quoted + "'";
}

CommandResult runCli(const std::vector<std::string>& arguments) {
    std::string errPath = makeTempDirectory("quillmark-cli") + "/stderr";
    std::string command = shellQuote(QUILLMARK_CLI_PATH);
    for (const auto& argument : arguments) command += " " + shellQuote(argument);
    command += " 2>" + shellQuote(errPath);
    CommandResult result;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return result;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) result.out.append(buffer, n);
    int status = pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.err = readFile(errPath);
    std::filesystem::remove_all(std::filesystem::path(errPath).parent_path());
    return result;
}

}  // namespace quillmark::testing
