// quillmark catalog: registers schema directories and prints one JSON line per catalog
// entry (path, type, title, namespaces, customizationID), in catalog order.

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "commands.h"
#include "input_size_option.h"
#include "quillmark/schematron_validator.h"

namespace quillmark::cli {
namespace {

nlohmann::ordered_json entryLine(const std::string& path, const CatalogEntry& entry) {
    nlohmann::ordered_json line;
    line["path"] = path;
    line["type"] = entry.isXSD() ? "xsd" : "schematron";
    line["title"] = entry.title;
    line["namespaces"] = nlohmann::ordered_json::object();
    for (const auto& [prefix, uri] : entry.namespaces) line["namespaces"][prefix] = uri;
    line["customizationID"] = entry.customizationID ? nlohmann::ordered_json(*entry.customizationID) : nullptr;
    return line;
}

struct CatalogOptions {
    std::vector<std::string> directories;
    std::optional<uint64_t> maxInputSize;
};

int runCatalog(const CatalogOptions& options) {
    const std::vector<std::string>& directories = options.directories;
    applyInputSizeOption(options.maxInputSize);
    for (const auto& directory : directories) {
        std::error_code error;
        if (!std::filesystem::is_directory(directory, error)) {
            std::cerr << "quillmark: schema directory does not exist: " << directory << '\n';
            return kExitFailure;
        }
    }
    QMSchematronValidator validator;
    for (const auto& directory : directories) validator.addSchemaDirectory(directory);
    for (const auto& [path, entry] : validator.schemaCatalog()) {
        // Titles and identifiers come from arbitrary files: never fail on bad UTF-8.
        std::cout << entryLine(path, entry).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
                  << '\n';
    }
    return kExitOk;
}

constexpr const char* kCatalogFooter = R"(Exit status:
  0  the catalog is printed
  2  a directory does not exist, or the command line is wrong

Examples:
  quillmark catalog --schemas rules/
      List every Schematron rule set and XML Schema below rules/ with the document
      types it is chosen for.
  quillmark catalog --schemas a/ --schemas b/ | grep customizationID
      Catalog two directories together, as validate --schemas does.)";

}  // namespace

CommandRunner addCatalogCommand(CLI::App& app) {
    auto options = std::make_shared<CatalogOptions>();
    CLI::App* command = app.add_subcommand("catalog", "List the schema files found in schema directories as JSON lines");
    command
        ->add_option("--schemas", options->directories,
                     "A directory of schemas, searched recursively; repeatable")
        ->option_text("DIR")
        ->required();
    addInputSizeOption(*command, options->maxInputSize);
    command->footer(kCatalogFooter);
    return [options] { return runCatalog(*options); };
}

}  // namespace quillmark::cli
