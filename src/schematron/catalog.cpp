// The schema catalog: every Schematron (.sch) and XSD (.xsd) file below the registered
// directories gets a small entry (title, namespaces, required customization identifier)
// read once, so that documents can be matched against rule sets without opening them
// again.

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;

// Catalog keys are the directory path joined with the file name, not standardized.
std::string joinPath(const std::string& directory, const std::string& name) {
    if (directory.empty()) return name;
    if (directory.back() == '/') return directory + name;
    return directory + "/" + name;
}

// The names in a directory, sorted so that registration (and with it the order of
// catalog replacement and of log lines) does not depend on the file system.
std::optional<std::vector<std::string>> listDirectory(const std::string& directory, std::error_code& error) {
    fs::directory_iterator entry(directory, error);
    if (error) return std::nullopt;
    std::vector<std::string> names;
    while (entry != fs::directory_iterator()) {
        names.push_back(entry->path().filename().string());
        entry.increment(error);
        if (error) return std::nullopt;
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool hasExtension(const std::string& name, const char* extension) {
    return fs::path(name).extension().string() == extension;
}

std::string lastPathComponent(const std::string& path) { return fs::path(path).filename().string(); }

// ---- Customization identifier requirement ----

// A compiled pattern shared by all calls (ICU patterns are immutable once compiled).
std::shared_ptr<const icu::RegexPattern> compilePattern(const char* pattern) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    std::shared_ptr<const icu::RegexPattern> compiled(
        icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern), 0, parseError, status));
    if (U_FAILURE(status)) return nullptr;
    return compiled;
}

const icu::RegexPattern* startsWithPattern() {
    static const auto pattern = compilePattern(R"(starts-with\s*\([^,]+,\s*['"]([^'"]+)['"]\))");
    return pattern.get();
}

const icu::RegexPattern* customizationIDComparisonPattern() {
    static const auto pattern = compilePattern(R"(CustomizationID[^=]*=\s*['"]([^'"]+)['"])");
    return pattern.get();
}

const icu::RegexPattern* quotedStringPattern() {
    static const auto pattern = compilePattern(R"(['"]([^'"]+)['"])");
    return pattern.get();
}

// Keeps a pathological attribute value from stalling registration.
constexpr int32_t kMatchTimeLimitSteps = 1000;

// Group 1 of the first match (or of every match, with `all`), in order.
std::vector<std::string> groupOneOfMatches(const icu::RegexPattern* pattern, const std::string& text, bool all) {
    std::vector<std::string> groups;
    if (pattern == nullptr) return groups;
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString input = icu::UnicodeString::fromUTF8(text);
    std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(input, status));
    if (U_FAILURE(status)) return groups;
    matcher->setTimeLimit(kMatchTimeLimitSteps, status);
    while (U_SUCCESS(status) && matcher->find(status) && U_SUCCESS(status)) {
        std::string group;
        matcher->group(1, status).toUTF8String(group);
        if (U_FAILURE(status)) break;
        groups.push_back(std::move(group));
        if (!all) break;
    }
    return groups;
}

std::optional<std::string> firstGroupOne(const icu::RegexPattern* pattern, const std::string& text) {
    auto groups = groupOneOfMatches(pattern, text, false);
    if (groups.empty()) return std::nullopt;
    return groups.front();
}

bool containsIgnoringCase(const std::string& text, const char* needle) {
    icu::UnicodeString folded = icu::UnicodeString::fromUTF8(text).foldCase();
    return folded.indexOf(icu::UnicodeString::fromUTF8(needle).foldCase()) >= 0;
}

// An assert whose test mentions CustomizationID and compares it with a literal.
std::optional<std::string> requirementFromAssert(xml::Node assertion) {
    auto test = assertion.attribute("test");
    if (!test || test->find("CustomizationID") == std::string::npos) return std::nullopt;
    if (auto found = firstGroupOne(startsWithPattern(), *test)) return found;
    return firstGroupOne(customizationIDComparisonPattern(), *test);
}

// A let named after the CIUS or the CustomizationID: its quoted strings run together.
std::optional<std::string> requirementFromLet(xml::Node let) {
    auto name = let.attribute("name");
    auto value = let.attribute("value");
    if (!name || !value) return std::nullopt;
    if (!containsIgnoringCase(*name, "CIUS") && !containsIgnoringCase(*name, "CustomizationID")) return std::nullopt;
    std::string joined;
    for (const auto& group : groupOneOfMatches(quotedStringPattern(), *value, true)) joined += group;
    if (joined.empty()) return std::nullopt;
    return joined;
}

// ---- Entries ----

std::optional<std::string> schematronTitle(xml::Node root) {
    auto titles = root.nodesForXPath("*[local-name()='title']");
    if (titles.empty()) return std::nullopt;
    return titles.front().stringValue().value_or("");
}

std::map<std::string, std::string> declaredNamespaces(xml::Node root) {
    std::map<std::string, std::string> namespaces;
    for (xml::Node declaration : root.nodesForXPath("*[local-name()='ns']")) {
        auto prefix = declaration.attribute("prefix");
        auto uri = declaration.attribute("uri");
        if (prefix && uri) namespaces[*prefix] = *uri;
    }
    return namespaces;
}

// Reads and parses a file for the catalog; logs "Error reading <kind> file ..." or
// "Error parsing <kind> file ..." and returns null when that fails.
std::shared_ptr<xml::Document> loadForCatalog(const std::string& path, const char* kind) {
    Error error;
    auto text = xml::readTextFile(path, &error);
    if (!text) {
        log(fmt::format("Error reading {} file {}: {}", kind, path, error.message()));
        return nullptr;
    }
    auto document = xml::Document::parse(*text, &error);
    if (!document) log(fmt::format("Error parsing {} file {}: {}", kind, path, error.message()));
    return document;
}

}  // namespace

void QMSchematronValidator::addSchemaDirectory(const std::string& directory) {
    std::set<std::string> visited;
    // An unreadable directory leaves the matching cache as it is.
    if (addSchemaDirectory(directory, visited)) _matchingCache.clear();
}

// `visited` holds the canonical paths of the directories walked so far: each real
// directory is read once, so a symbolic link back up the tree ends the descent, and a
// tree with several links to the same directories is walked in linear time.
bool QMSchematronValidator::addSchemaDirectory(const std::string& directory, std::set<std::string>& visited) {
    std::error_code error;
    fs::path canonical = fs::canonical(directory, error);
    if (!error && visited.count(canonical.string())) {
        log(fmt::format("Skipping schema directory {}: {} has been read already", directory, canonical.string()));
        return true;
    }
    auto names = listDirectory(directory, error);
    if (!names) {
        log(fmt::format("Error reading schema directory {}: {}", directory, error.message()));
        return false;
    }
    if (!canonical.empty()) visited.insert(canonical.string());
    for (const auto& name : *names) {
        std::string path = joinPath(directory, name);
        std::error_code statError;
        if (fs::is_directory(path, statError)) {
            addSchemaDirectory(path, visited);
        } else if (hasExtension(name, ".sch")) {
            if (name.find("-preprocessed") == std::string::npos) catalogSchemaFile(path);
        } else if (hasExtension(name, ".xsd")) {
            catalogXSDFile(path);
        }
    }
    return true;
}

void QMSchematronValidator::catalogSchemaFile(const std::string& path) {
    auto document = loadForCatalog(path, "schema");
    if (!document) return;
    xml::Node root = document->rootElement();
    if (!root || root.localName() != "schema") return;
    CatalogEntry entry;
    entry.title = schematronTitle(root).value_or(lastPathComponent(path));
    entry.namespaces = declaredNamespaces(root);
    entry.customizationID = extractEN16931CustomizationIDRequirement(*document);
    _schemaCatalog[path] = std::move(entry);
}

void QMSchematronValidator::catalogXSDFile(const std::string& path) {
    auto document = loadForCatalog(path, "XSD");
    if (!document) return;
    xml::Node root = document->rootElement();
    if (!root || root.localName() != "schema") return;
    auto targetNamespace = root.attribute("targetNamespace");
    if (!targetNamespace) return;
    CatalogEntry entry;
    entry.title = fs::path(lastPathComponent(path)).stem().string();
    entry.namespaces = {{"target", *targetNamespace}};
    entry.type = "xsd";
    _schemaCatalog[path] = std::move(entry);
}

// Asserts are tried before any let, whatever their order in the file.
std::optional<std::string> QMSchematronValidator::extractEN16931CustomizationIDRequirement(
    const xml::Document& schema) {
    for (xml::Node assertion : schema.node().nodesForXPath("//*[local-name()='assert']")) {
        if (auto requirement = requirementFromAssert(assertion)) return requirement;
    }
    for (xml::Node let : schema.node().nodesForXPath("//*[local-name()='let']")) {
        if (auto requirement = requirementFromLet(let)) return requirement;
    }
    return std::nullopt;
}

}  // namespace quillmark
