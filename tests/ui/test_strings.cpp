// The string table: English texts, the German translation, the language choice and
// the filling of formats.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "quillmark/ui/strings.h"
#include "ui_test_helpers.h"

namespace quillmark {
namespace {

using testing::LanguageScope;

TEST(StringTable, EnglishTextsOfTheResultWindow) {
    LanguageScope english(ui::Language::English);
    const std::pair<const char*, const char*> texts[] = {
        {"button.close", "Close"},
        {"validation.title", "Validation Results: %@"},
        {"validation.valid", "Document is valid - No issues found"},
        {"validation.invalid", "Found %lu error(s) and %lu warning(s)"},
        {"validation.schemas", "Schemas: %@"},
        {"validation.validated_with", "Validated with: %@"},
        {"detail.location", "Location"},
        {"detail.pattern", "Pattern"},
        {"detail.rule", "Rule"},
        {"detail.assertion", "Assertion"},
        {"validation.no_schemas", "No validation schemas found for this document type"},
    };
    for (const auto& [key, text] : texts) EXPECT_EQ(ui::localizedString(key), text) << key;
}

TEST(StringTable, MissingKeysFallBackToTheGivenDefault) {
    for (auto language : {ui::Language::English, ui::Language::German}) {
        LanguageScope scope(language);
        EXPECT_EQ(ui::localizedString("no.such.key", "Fallback"), "Fallback");
        EXPECT_EQ(ui::localizedString("no.such.key"), "no.such.key");
    }
}

// The placeholders of a format in order: "%@", "%lu", "%%".
std::vector<std::string> placeholdersOf(const std::string& format) {
    std::vector<std::string> found;
    for (size_t at = format.find('%'); at != std::string::npos; at = format.find('%', at + 1)) {
        for (const char* placeholder : {"%@", "%lu", "%%"}) {
            if (format.compare(at, std::strlen(placeholder), placeholder) == 0) {
                found.emplace_back(placeholder);
                at += std::strlen(placeholder) - 1;
                break;
            }
        }
    }
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
}

TEST(StringTable, GermanLookups) {
    LanguageScope german(ui::Language::German);
    EXPECT_EQ(ui::localizedString("button.close"), "Schließen");
    EXPECT_EQ(ui::localizedFormat("validation.invalid", {"3", "1"}), "3 Fehler und 1 Warnung(en) gefunden");
    EXPECT_EQ(ui::localizedString("validation.valid"), "Dokument ist gültig – keine Probleme gefunden");
}

class EnvironmentScope {
public:
    EnvironmentScope() {
        for (const char* name : kNames) {
            const char* value = std::getenv(name);
            saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
        }
    }
    ~EnvironmentScope() {
        for (const auto& [name, value] : saved_) set(name, value);
    }
    static void set(const char* name, const std::optional<std::string>& value) {
        if (value)
            setenv(name, value->c_str(), 1);
        else
            unsetenv(name);
    }
    static constexpr const char* kNames[] = {"LC_ALL", "LC_MESSAGES", "LANG"};

private:
    std::vector<std::pair<const char*, std::optional<std::string>>> saved_;
};

TEST(StringTable, LanguageFollowsTheLocaleVariables) {
    struct Case {
        std::optional<std::string> lcAll, lcMessages, lang;
        ui::Language expected;
    };
    const Case cases[] = {
        {std::nullopt, std::nullopt, std::nullopt, ui::Language::English},
        {std::nullopt, std::nullopt, "de_DE.UTF-8", ui::Language::German},
        {std::nullopt, std::nullopt, "de", ui::Language::German},
        {std::nullopt, std::nullopt, "en_US.UTF-8", ui::Language::English},
        {std::nullopt, std::nullopt, "C", ui::Language::English},
        {std::nullopt, "de_AT.UTF-8", "en_US.UTF-8", ui::Language::German},
        {"en_GB.UTF-8", "de_DE.UTF-8", "de_DE.UTF-8", ui::Language::English},
        {"de_CH.UTF-8", std::nullopt, "en_US.UTF-8", ui::Language::German},
        // An empty variable is passed over.
        {"", "", "de_DE.UTF-8", ui::Language::German},
        {std::nullopt, std::nullopt, "DE_de", ui::Language::English},
    };
    EnvironmentScope restore;
    for (const auto& c : cases) {
        EnvironmentScope::set("LC_ALL", c.lcAll);
        EnvironmentScope::set("LC_MESSAGES", c.lcMessages);
        EnvironmentScope::set("LANG", c.lang);
        EXPECT_EQ(ui::systemLanguage(), c.expected) << c.lcAll.value_or("-") << " " << c.lcMessages.value_or("-")
                                                    << " " << c.lang.value_or("-");
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
