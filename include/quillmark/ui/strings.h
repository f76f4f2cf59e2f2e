#pragma once
// The presentation's string table: every user-visible text is looked up by key. The
// English texts are compiled in and double as the defaults; a translation is read
// from resources/strings/<language>.json and consulted first. The language follows
// the system locale (LC_ALL, then LC_MESSAGES, then LANG) unless a caller overrides it.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::ui {

enum class Language { English, German };

// The compiled-in table: key to English text.
const std::map<std::string, std::string>& defaultStrings();

// The language named by the environment: German when the first non-empty variable of
// LC_ALL, LC_MESSAGES and LANG starts with "de", English otherwise.
Language systemLanguage();

// The language used by lookups: the override when one is set, else the system's.
Language currentLanguage();
// Forces a language (tests, the viewer's command line); nullopt returns to the system's.
void setLanguageOverride(std::optional<Language> language);

// The translation table of a language as loaded from the resource directory; empty for
// English and when the file is missing or unreadable.
const std::map<std::string, std::string>& translationTable(Language language);
// Parses a translation file's text (a JSON object of key to text); anything else and
// every non-string value are ignored.
std::map<std::string, std::string> parseTranslation(std::string_view json);

// The text for `key` in the current language; the English text when the translation
// lacks it; `defaultText` when neither table has it.
std::string localizedString(const std::string& key, const std::string& defaultText);
// As above with the compiled-in English text as default (the key itself when unknown).
std::string localizedString(const std::string& key);

// Fills a format that uses the placeholders "%@" (text) and "%lu" (count) in order;
// "%%" is a literal percent sign. Missing arguments fill as empty text.
std::string formatString(std::string_view format, const std::vector<std::string>& arguments);

// localizedString(key) filled with the arguments.
std::string localizedFormat(const std::string& key, const std::vector<std::string>& arguments);

}  // namespace quillmark::ui
