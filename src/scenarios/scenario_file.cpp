// Reading scenario files (JSON; the form is documented in rules/README.md).

#include <filesystem>
#include <nlohmann/json.hpp>

#include "quillmark/xml.h"
#include "scenarios/scenario.h"
#include "xpath/compiled_expression.h"
#include "xpath/error.h"

namespace quillmark::scenarios {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

class ScenarioReader {
public:
    explicit ScenarioReader(std::string path) : path_(std::move(path)), directory_(fs::path(path_).parent_path()) {}

    std::vector<Scenario> read() {
        Error error;
        const std::optional<std::string> text = xml::readTextFile(path_, &error);
        if (!text) throw ScenarioError(error.message());
        Json document;
        try {
            document = Json::parse(*text);
        } catch (const Json::parse_error& parseError) {
            fail(std::string("not valid JSON: ") + parseError.what());
        }
        if (!document.is_object() || !document.contains("scenarios") || !document["scenarios"].is_array()) {
            fail("expected an object with a \"scenarios\" list");
        }
        std::vector<Scenario> scenarios;
        for (const Json& entry : document["scenarios"]) scenarios.push_back(scenario(entry));
        return scenarios;
    }

private:
    [[noreturn]] void fail(const std::string& what) const { throw ScenarioError(path_ + ": " + what); }

    std::string text(const Json& object, const char* key, const std::string& where) const {
        if (!object.contains(key) || !object[key].is_string()) fail(where + " needs a text \"" + key + "\"");
        return object[key].get<std::string>();
    }

    Scenario scenario(const Json& entry) {
        if (!entry.is_object()) fail("each scenario must be an object");
        Scenario scenario;
        scenario.name = text(entry, "name", "a scenario");
        scenario.sourceFile = path_;
        const std::string where = "scenario '" + scenario.name + "'";
        if (!entry.contains("match") || !entry["match"].is_object()) fail(where + " needs a \"match\" object");
        scenario.match = match(entry["match"], where);
        if (!entry.contains("validate") || !entry["validate"].is_array() || entry["validate"].empty()) {
            fail(where + " needs a non-empty \"validate\" list");
        }
        for (const Json& file : entry["validate"]) scenario.files.push_back(ruleFile(file, where));
        return scenario;
    }

    ScenarioMatch match(const Json& object, const std::string& where) {
        ScenarioMatch match;
        if (object.contains("root")) {
            const std::string root = text(object, "root", where + " match");
            const size_t close = root.find('}');
            if (!root.starts_with("{") || close == std::string::npos) {
                fail(where + ": \"root\" must be written {namespace}local-name");
            }
            match.rootNamespace = root.substr(1, close - 1);
            const std::string local = root.substr(close + 1);
            if (local != "*") match.rootLocalName = local;
        }
        if (object.contains("customizationID")) match.customizationID = text(object, "customizationID", where + " match");
        if (object.contains("xpath")) {
            match.xpath = compile(object, where);
            match.xpathText = match.xpath->text();
        }
        if (!match.rootNamespace && !match.customizationID && !match.xpath) {
            fail(where + ": \"match\" needs \"root\", \"customizationID\" or \"xpath\"");
        }
        return match;
    }

    std::shared_ptr<const xpath::CompiledExpression> compile(const Json& object, const std::string& where) {
        xpath::StaticContext statics;
        if (object.contains("namespaces")) {
            if (!object["namespaces"].is_object()) fail(where + ": \"namespaces\" must map prefixes to URIs");
            for (const auto& [prefix, uri] : object["namespaces"].items()) {
                if (!uri.is_string()) fail(where + ": the namespace of prefix '" + prefix + "' must be a text");
                statics.declareNamespace(prefix, uri.get<std::string>());
            }
        }
        const std::string expression = text(object, "xpath", where + " match");
        try {
            return std::make_shared<const xpath::CompiledExpression>(expression, statics);
        } catch (const xpath::XPathError& error) {
            fail(where + ": xpath '" + expression + "': " + error.what());
        }
    }

    std::string resolve(const std::string& file) const {
        const fs::path path(file);
        return (path.is_absolute() ? path : directory_ / path).lexically_normal().string();
    }

    RuleFile ruleFile(const Json& entry, const std::string& where) const {
        if (entry.is_string()) {
            const std::string path = resolve(entry.get<std::string>());
            return RuleFile{path, path};
        }
        if (!entry.is_object()) fail(where + ": each \"validate\" entry is a file name or an object");
        const std::string standard = resolve(text(entry, "standard", where + " validate entry"));
        const std::string compatible = entry.contains("compatible")
                                           ? resolve(text(entry, "compatible", where + " validate entry"))
                                           : standard;
        return RuleFile{standard, compatible};
    }

    std::string path_;
    fs::path directory_;
};

}  // namespace

ScenarioSet ScenarioSet::load(const std::string& path) {
    ScenarioSet set;
    set.scenarios_ = ScenarioReader(path).read();
    return set;
}

void ScenarioSet::append(const ScenarioSet& later) {
    scenarios_.insert(scenarios_.end(), later.scenarios_.begin(), later.scenarios_.end());
}

}  // namespace quillmark::scenarios
