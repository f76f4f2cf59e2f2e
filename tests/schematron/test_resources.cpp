// Resource lookups: the library's resource directory and the recursive searches below
// it with which a host finds schema directories and string tables.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;

// Points the library at a resource tree of the test's own while it lives.
class ResourceTreeTest : public ::testing::Test {
protected:
    void SetUp() override {
        root_ = testing::makeTempDirectory("quillmark-resources");
        if (const char* previous = std::getenv("QUILLMARK_RESOURCE_DIR")) previous_ = previous;
        setenv("QUILLMARK_RESOURCE_DIR", root_.c_str(), 1);

        for (const char* file : {"a.txt", "lookup/first/x.sch", "lookup/second/x.sch", "schemas/dir.sch/inner.sch",
                                 "schemas/en16931/rules.sch", "schemas/en16931/rules.SCH", "schemas/readme",
                                 "schemas/top.sch"}) {
            testing::writeFile(path(file), "x");
        }
        fs::create_directory_symlink(path("schemas"), path("schemas/en16931/back"));
    }
    void TearDown() override {
        if (previous_) setenv("QUILLMARK_RESOURCE_DIR", previous_->c_str(), 1);
        if (!previous_) unsetenv("QUILLMARK_RESOURCE_DIR");
        fs::remove_all(root_);
    }
    std::string path(const std::string& relative) const { return root_ + "/" + relative; }

    std::string root_;
    std::optional<std::string> previous_;
};

TEST_F(ResourceTreeTest, PathForResourceFindsTheFirstItemInWalkOrder) {
    EXPECT_EQ(resourceDirectory(), root_);
    struct Case {
        std::string name;
        std::optional<std::string> type, subdirectory, expected;
    };
    const std::vector<Case> cases = {
        {"x", "sch", std::nullopt, path("lookup/first/x.sch")},
        {"x.sch", std::nullopt, std::nullopt, path("lookup/first/x.sch")},
        {"x", "sch", "lookup/second", path("lookup/second/x.sch")},
        {"rules", "SCH", "schemas", path("schemas/en16931/rules.SCH")},
        {"en16931", std::nullopt, "schemas", path("schemas/en16931")},  // directories count too
        {"readme", std::nullopt, "schemas", path("schemas/readme")},
        {"x", "xsd", std::nullopt, std::nullopt},
        {"x", "sch", "absent", std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(pathForResource(c.name, c.type, c.subdirectory), c.expected)
            << c.name << " " << c.type.value_or("-") << " " << c.subdirectory.value_or("-");
    }
}

TEST_F(ResourceTreeTest, PathsForResourcesOfTypeCollectsInWalkOrder) {
    // The link back up the tree is listed by name but not walked into.
    EXPECT_EQ(pathsForResourcesOfType("sch", "schemas"),
              (std::vector<std::string>{path("schemas/dir.sch"), path("schemas/dir.sch/inner.sch"),
                                        path("schemas/en16931/rules.sch"), path("schemas/top.sch")}));
    EXPECT_EQ(pathsForResourcesOfType("txt", std::nullopt), std::vector<std::string>{path("a.txt")});
    EXPECT_EQ(pathsForResourcesOfType("", "schemas"),
              (std::vector<std::string>{path("schemas/en16931"), path("schemas/en16931/back"), path("schemas/readme")}));
    EXPECT_TRUE(pathsForResourcesOfType(std::nullopt, std::nullopt).empty());
    EXPECT_TRUE(pathsForResourcesOfType("sch", "absent").empty());
}

TEST(ResourceDirectoryTest, DefaultsToTheRepositoryResources) {
    const char* overridden = std::getenv("QUILLMARK_RESOURCE_DIR");
    if (overridden && *overridden) GTEST_SKIP() << "QUILLMARK_RESOURCE_DIR is set";
    EXPECT_TRUE(fs::equivalent(resourceDirectory(), testing::sourcePath("resources")));
}

}  // namespace
}  // namespace quillmark
