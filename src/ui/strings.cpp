#include "quillmark/ui/strings.h"

#include "quillmark/schematron_validator.h"

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace quillmark::ui {

namespace {

std::optional<Language>& languageOverride() {
    static std::optional<Language> language;
    return language;
}

std::string environmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::map<std::string, std::string> loadTranslation(const std::string& fileName) {
    std::ifstream in(resourceDirectory() + "/strings/" + fileName, std::ios::binary);
    if (!in) return {};
    std::ostringstream text;
    text << in.rdbuf();
    return parseTranslation(text.str());
}

}  // namespace

const std::map<std::string, std::string>& defaultStrings() {
    static const std::map<std::string, std::string> table = {
        // Result window and outline.
        {"button.close", "Close"},
        {"validation.title", "Validation Results: %@"},
        {"validation.valid", "Document is valid - No issues found"},
        {"validation.invalid", "Found %lu error(s) and %lu warning(s)"},
        {"validation.schemas", "Schemas: %@"},
        {"validation.validated_with", "Validated with: %@"},
        {"validation.no_schemas", "No validation schemas found for this document type"},
        {"detail.location", "Location"},
        {"detail.pattern", "Pattern"},
        {"detail.rule", "Rule"},
        {"detail.assertion", "Assertion"},
        // The viewer's menus, dialogs and messages.
        {"viewer.app.name", "Quillmark Viewer"},
        {"viewer.menu.file", "&File"},
        {"viewer.action.open", "&Open…"},
        {"viewer.menu.open_recent", "Open &Recent"},
        {"viewer.action.clear_recent", "&Clear Menu"},
        {"viewer.action.revalidate", "&Validate Again"},
        {"viewer.action.close", "Close &Window"},
        {"viewer.action.quit", "&Quit"},
        {"viewer.menu.edit", "&Edit"},
        {"viewer.action.copy", "&Copy"},
        {"viewer.action.preferences", "&Preferences…"},
        {"viewer.menu.view", "&View"},
        {"viewer.action.show_results", "Show Validation &Results"},
        {"viewer.menu.help", "&Help"},
        {"viewer.action.about", "&About Quillmark Viewer"},
        {"viewer.about.text", "Validates XML e-invoices against Schematron rule sets and XML Schemas."},
        {"viewer.status.tooltip", "Show validation results"},
        {"viewer.open.title", "Open XML Document"},
        {"viewer.open.filter", "XML documents (*.xml);;All files (*)"},
        {"viewer.error.open_title", "Cannot Open Document"},
        {"viewer.error.open", "The document %@ could not be read: %@"},
        {"viewer.empty.text", "Open an XML document with File > Open or drop it here."},
        {"viewer.prefs.title", "Preferences"},
        {"viewer.prefs.schemas", "Schema folders"},
        {"viewer.prefs.hint",
         "Folders with Schematron (.sch) and XML Schema (.xsd) files. Each document is validated with the "
         "schemas that fit it."},
        {"viewer.prefs.add", "&Add…"},
        {"viewer.prefs.remove", "&Remove"},
        {"viewer.prefs.choose", "Choose Schema Folder"},
        {"viewer.prefs.semantics", "Rule evaluation"},
        {"viewer.prefs.semantics.hint",
         "Standard reads rule sets as XPath 2.0 and ISO Schematron, as the official validation tool chain "
         "does. Compatible keeps the library's own documented dialect, which misses many EN 16931 rules."},
        {"viewer.prefs.semantics.standard", "Standard (XPath 2.0, ISO Schematron)"},
        {"viewer.prefs.semantics.compatible", "Compatible (the library's documented dialect)"},
    };
    return table;
}

Language systemLanguage() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        std::string value = environmentValue(name);
        if (value.empty()) continue;
        return value.starts_with("de") ? Language::German : Language::English;
    }
    return Language::English;
}

Language currentLanguage() { return languageOverride().value_or(systemLanguage()); }

void setLanguageOverride(std::optional<Language> language) { languageOverride() = language; }

std::map<std::string, std::string> parseTranslation(std::string_view json) {
    nlohmann::json document = nlohmann::json::parse(json, nullptr, /*allow_exceptions=*/false);
    std::map<std::string, std::string> table;
    if (!document.is_object()) return table;
    for (const auto& [key, value] : document.items()) {
        if (value.is_string()) table[key] = value.get<std::string>();
    }
    return table;
}

const std::map<std::string, std::string>& translationTable(Language language) {
    static const std::map<std::string, std::string> none;
    static const std::map<std::string, std::string> german = loadTranslation("de.json");
    switch (language) {
        case Language::English:
            return none;
        case Language::German:
            return german;
    }
    return none;
}

std::string localizedString(const std::string& key, const std::string& defaultText) {
    const auto& translated = translationTable(currentLanguage());
    if (auto found = translated.find(key); found != translated.end()) return found->second;
    const auto& english = defaultStrings();
    if (auto found = english.find(key); found != english.end()) return found->second;
    return defaultText;
}

std::string localizedString(const std::string& key) { return localizedString(key, key); }

std::string formatString(std::string_view format, const std::vector<std::string>& arguments) {
    std::string text;
    size_t next = 0;
    auto takeArgument = [&] { return next < arguments.size() ? arguments[next++] : std::string(); };
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%' || i + 1 == format.size()) {
            text += format[i];
            continue;
        }
        std::string_view rest = format.substr(i + 1);
        if (rest.starts_with('%')) {
            text += '%';
            i += 1;
        } else if (rest.starts_with('@')) {
            text += takeArgument();
            i += 1;
        } else if (rest.starts_with("lu")) {
            text += takeArgument();
            i += 2;
        } else {
            text += '%';
        }
    }
    return text;
}

std::string localizedFormat(const std::string& key, const std::vector<std::string>& arguments) {
    return formatString(localizedString(key), arguments);
}

}  // namespace quillmark::ui
