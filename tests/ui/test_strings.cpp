// The string table: English texts, the German translation, the language choice and
// the filling of formats.

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <tuple>

#include "quillmark/ui/strings.h"
#include "ui_test_helpers.h"

namespace quillmark {
namespace {

using testing::LanguageScope;

TEST(StringTable, EnglishTextsOfTheResultWindowAndFallbacks) {
    LanguageScope english(ui::Language::English);
    const std::pair<const char*, const char*> texts[] = {
        {"button.close", "Close"},           {"validation.title", "Validation Results: %@"},
        {"validation.valid", "Document is valid - No issues found"},
        {"validation.invalid", "Found %lu error(s) and %lu warning(s)"},
        {"validation.schemas", "Schemas: %@"}, {"validation.validated_with", "Validated with: %@"},
        {"detail.location", "Location"},     {"detail.pattern", "Pattern"},
        {"detail.rule", "Rule"},             {"detail.assertion", "Assertion"},
        {"validation.no_schemas", "No validation schemas found for this document type"},
    };
    for (const auto& [key, text] : texts) EXPECT_EQ(ui::localizedString(key), text) << key;
    for (auto language : {ui::Language::English, ui::Language::German}) {
        LanguageScope scope(language);
        EXPECT_EQ(ui::localizedString("no.such.key", "Fallback"), "Fallback");
        EXPECT_EQ(ui::localizedString("no.such.key"), "no.such.key");
    }
}

// The placeholders of a format in order: "%@", "%lu", "%%".
std::vector<std::string> placeholdersOf(const std::string& format) {
    static const std::regex placeholder("%(@|lu|%)");
    std::vector<std::string> found;
    for (auto it = std::sregex_iterator(format.begin(), format.end(), placeholder); it != std::sregex_iterator(); ++it)
        found.push_back(it->str());
    return found;
}

TEST(StringTable, GermanTranslatesEveryKeyWithTheSamePlaceholders) {
    const auto& german = ui::translationTable(ui::Language::German);
    ASSERT_FALSE(german.empty()) << "resources/strings/de.json was not loaded";
    for (const auto& [key, english] : ui::defaultStrings()) {
        auto found = german.find(key);
        ASSERT_NE(found, german.end()) << key;
        EXPECT_FALSE(found->second.empty()) << key;
        EXPECT_EQ(placeholdersOf(found->second), placeholdersOf(english)) << key;
    }
    for (const auto& [key, text] : german) EXPECT_TRUE(ui::defaultStrings().contains(key)) << "stray key " << key;

    LanguageScope scope(ui::Language::German);
    EXPECT_EQ(ui::localizedString("validation.valid"), "Dokument ist gültig – keine Probleme gefunden");
}

// Restores the locale variables when it goes.
class EnvironmentScope {
public:
    EnvironmentScope() {
        for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
            const char* value = std::getenv(name);
            saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
        }
    }
    ~EnvironmentScope() {
        for (const auto& [name, value] : saved_) set(name, value ? value->c_str() : nullptr);
    }
    static void set(const char* name, const char* value) {  // null: unset
        if (value) setenv(name, value, 1);
        if (!value) unsetenv(name);
    }

private:
    std::vector<std::pair<const char*, std::optional<std::string>>> saved_;
};

TEST(StringTable, LanguageFollowsTheLocaleVariables) {
    const char* const unset = nullptr;
    const std::tuple<const char*, const char*, const char*, ui::Language> cases[] = {
        // LC_ALL, LC_MESSAGES, LANG
        {unset, unset, unset, ui::Language::English},
        {unset, unset, "de_DE.UTF-8", ui::Language::German},
        {unset, unset, "de", ui::Language::German},
        {unset, unset, "en_US.UTF-8", ui::Language::English},
        {unset, unset, "C", ui::Language::English},
        {unset, "de_AT.UTF-8", "en_US.UTF-8", ui::Language::German},
        {"en_GB.UTF-8", "de_DE.UTF-8", "de_DE.UTF-8", ui::Language::English},
        {"de_CH.UTF-8", unset, "en_US.UTF-8", ui::Language::German},
        {"", "", "de_DE.UTF-8", ui::Language::German},  // an empty variable is passed over
        {unset, unset, "DE_de", ui::Language::English},
    };
    EnvironmentScope restore;
    for (const auto& [all, messages, lang, expected] : cases) {
        EnvironmentScope::set("LC_ALL", all);
        EnvironmentScope::set("LC_MESSAGES", messages);
        EnvironmentScope::set("LANG", lang);
        EXPECT_EQ(ui::systemLanguage(), expected) << (all ? all : "-") << " " << (messages ? messages : "-") << " "
                                                   << (lang ? lang : "-");
    }
    // An override wins over the environment until it is lifted.
    EnvironmentScope::set("LC_ALL", "de_DE.UTF-8");
    {
        LanguageScope english(ui::Language::English);
        EXPECT_EQ(ui::currentLanguage(), ui::Language::English);
    }
    EXPECT_EQ(ui::currentLanguage(), ui::Language::German);
}

TEST(FormatString, FillsPlaceholdersInOrder) {
    struct Case {
        const char* format;
        std::vector<std::string> arguments;
        const char* text;
    };
    const Case cases[] = {
        {"%@ [%@]", {"text", "tag"}, "text [tag]"},
        {"Found %lu error(s) and %lu warning(s)", {"2", "0"}, "Found 2 error(s) and 0 warning(s)"},
        {"100%% of %@", {"rules"}, "100% of rules"},
        {"%@ and %@", {"one"}, "one and "},
        {"no placeholders", {"unused"}, "no placeholders"},
        {"odd %d and trailing %", {"x"}, "odd %d and trailing %"},
        {"%@", {"%@ stays as it is"}, "%@ stays as it is"},
        {"", {}, ""},
    };
    for (const auto& c : cases) EXPECT_EQ(ui::formatString(c.format, c.arguments), c.text) << c.format;
}

TEST(ParseTranslation, KeepsOnlyStringEntriesOfAnObject) {
    EXPECT_EQ(ui::parseTranslation(R"({"a": "A", "n": 1, "o": {"x": "y"}, "b": "B"})"),
              (std::map<std::string, std::string>{{"a", "A"}, {"b", "B"}}));
    for (const char* bad : {"", "[\"a\"]", "{\"a\": ", "not json", "\"text\""})
        EXPECT_TRUE(ui::parseTranslation(bad).empty()) << bad;
}

}  // namespace
}  // namespace quillmark
