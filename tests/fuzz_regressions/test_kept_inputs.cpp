// Feeds the inputs kept for one fuzz target through its entry points, as libFuzzer
// would, in an ordinary build: the inputs that once made it fail (fuzz/regressions/
// TARGET) and the hand-written seeds (fuzz/seeds/TARGET). An input passes when it runs
// to its end: no crash, no sanitizer report, no exception escaping the engines.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> keptInputs() {
    std::vector<fs::path> inputs;
    for (const char* folder : {"regressions", "seeds"}) {
        const fs::path directory = fs::path(QUILLMARK_FUZZ_DIR) / folder / QUILLMARK_FUZZ_TARGET;
        if (!fs::is_directory(directory)) continue;
        for (const auto& entry : fs::directory_iterator(directory)) {
            if (entry.is_regular_file()) inputs.push_back(entry.path());
        }
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

// "regressions_crash_1f2e" for fuzz/regressions/TARGET/crash-1f2e.
std::string testName(const fs::path& input) {
    std::string name = input.parent_path().parent_path().filename().string() + "_" + input.filename().string();
    std::replace_if(name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

class KeptInput : public ::testing::TestWithParam<fs::path> {
protected:
    static void SetUpTestSuite() {
        static const bool initialized = [] {
            int argc = 0;
            char** argv = nullptr;
            return LLVMFuzzerInitialize(&argc, &argv) == 0;
        }();
        ASSERT_TRUE(initialized);
    }
};

TEST_P(KeptInput, RunsToItsEnd) {
    std::ifstream file(GetParam(), std::ios::binary);
    ASSERT_TRUE(file) << GetParam();
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_EQ(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()), 0);
}

INSTANTIATE_TEST_SUITE_P(Fuzz, KeptInput, ::testing::ValuesIn(keptInputs()),
                         [](const ::testing::TestParamInfo<fs::path>& info) { return testName(info.param); });

// Without inputs the suite above would pass by testing nothing.
TEST(KeptInputs, AreFound) { EXPECT_FALSE(keptInputs().empty()) << "no inputs under " << QUILLMARK_FUZZ_DIR; }

}  // namespace
