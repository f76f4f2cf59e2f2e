// Turns the text of a Schematron rule set into a SchematronSchema. Elements are found by
// local name only, so whichever prefix the file uses (or none) does not matter; what
// the validation run does not use is ignored.

#include <filesystem>
#include <memory>

#include "quillmark/schematron_validator.h"
#include "schematron/include_resolution.h"

namespace quillmark {

namespace {

// Element children with the given local name, in document order.
std::vector<xml::Node> childElementsNamed(xml::Node parent, std::string_view localName) {
    std::vector<xml::Node> found;
    for (xml::Node child : parent.children()) {
        if (child.isElement() && child.localName() == localName) found.push_back(child);
    }
    return found;
}

SchematronLet readLet(xml::Node element) { return SchematronLet{element.attribute("name"), element.attribute("value")}; }

std::map<std::string, std::string> readNamespaces(xml::Node document) {
    std::map<std::string, std::string> namespaces;
    for (xml::Node ns : document.nodesForXPath("//*[local-name()='ns']")) {
        auto prefix = ns.attribute("prefix");
        auto uri = ns.attribute("uri");
        if (prefix && uri) namespaces[*prefix] = *uri;  // a later declaration wins
    }
    return namespaces;
}

std::optional<SchematronFunction> readFunction(xml::Node element) {
    auto name = element.attribute("name");
    auto sequences = childElementsNamed(element, "sequence");
    std::optional<std::string> body;
    if (!sequences.empty()) body = sequences.front().attribute("select");
    if (!name || !body) return std::nullopt;

    SchematronFunction function{*name, {}, *body, {}};
    for (xml::Node param : childElementsNamed(element, "param")) {
        if (auto paramName = param.attribute("name")) function.parameters.push_back(*paramName);
    }
    for (xml::Node variable : childElementsNamed(element, "variable")) {
        auto variableName = variable.attribute("name");
        auto select = variable.attribute("select");
        if (variableName && select) function.variables.push_back({{"name", *variableName}, {"select", *select}});
    }
    return function;
}

std::vector<SchematronFunction> readFunctions(xml::Node document) {
    std::vector<SchematronFunction> functions;
    for (xml::Node element : document.nodesForXPath("//*[local-name()='function']")) {
        if (auto function = readFunction(element)) functions.push_back(std::move(*function));
    }
    return functions;
}

// Global variables: the lets directly under the schema element and those of the pattern
// named "variable-pattern", together in document order.
std::vector<SchematronLet> readGlobalLets(xml::Node document) {
    std::vector<SchematronLet> lets;
    for (xml::Node element : document.nodesForXPath(
             "//*[local-name()='schema']/*[local-name()='let'] | "
             "//*[local-name()='schema']/*[local-name()='pattern'][@id='variable-pattern']/*[local-name()='let']")) {
        lets.push_back(readLet(element));
    }
    return lets;
}

SchematronAssertion readAssertion(xml::Node element) {
    SchematronAssertion assertion;
    assertion.type = element.localName();
    assertion.assertionId = element.attribute("id");
    assertion.test = element.attribute("test");
    assertion.role = element.attribute("role");
    assertion.flag = element.attribute("flag");
    assertion.message = element.stringValue().value_or("");
    assertion.messageElement = element;
    return assertion;
}

SchematronRule readRule(xml::Node element) {
    SchematronRule rule;
    rule.context = element.attribute("context");
    rule.ruleId = element.attribute("id");
    rule.abstract = element.attribute("abstract") == std::optional<std::string>("true");
    for (xml::Node child : element.children()) {
        if (!child.isElement()) continue;
        const std::string localName = child.localName();
        if (localName == "let") {
            rule.lets.push_back(readLet(child));
        } else if (localName == "assert" || localName == "report") {
            rule.assertions.push_back(readAssertion(child));
        }
    }
    return rule;
}

SchematronPattern readPattern(xml::Node element) {
    SchematronPattern pattern;
    pattern.patternId = element.attribute("id");
    pattern.name = element.attribute("name");
    for (xml::Node let : childElementsNamed(element, "let")) pattern.lets.push_back(readLet(let));
    for (xml::Node rule : childElementsNamed(element, "rule")) pattern.rules.push_back(readRule(rule));
    return pattern;
}

}  // namespace

std::shared_ptr<SchematronSchema> QMSchematronValidator::parseSchema(const std::string& text, Error* error) {
    return parseSchema(text, std::nullopt, error);
}

namespace {

// Steps 2 to 9 of loading, on text whose includes are resolved.
std::shared_ptr<SchematronSchema> buildSchema(const std::string& text, Error* error) {
    auto document = xml::Document::parse(text, error);
    if (!document) return nullptr;

    auto schema = std::make_shared<SchematronSchema>();
    schema->document = document;
    const xml::Node root = document->node();
    schema->namespaces = readNamespaces(root);
    schema->functions = readFunctions(root);
    schema->lets = readGlobalLets(root);

    std::vector<xml::Node> patternElements = root.nodesForXPath("//*[local-name()='pattern']");
    // Whatever error the slot holds by now fails the load, including one the caller
    // left there and one from an include that could not be read: callers that want to
    // know about errors never get a schema with content missing.
    if (error && error->isSet()) return nullptr;
    for (xml::Node element : patternElements) schema->patterns.push_back(readPattern(element));
    return schema;
}

}  // namespace

std::shared_ptr<SchematronSchema> QMSchematronValidator::parseSchema(const std::string& text,
                                                                     const std::optional<std::string>& basePath,
                                                                     Error* error) {
    return buildSchema(basePath ? processIncludes(text, *basePath, error) : text, error);
}

std::shared_ptr<SchematronSchema> QMSchematronValidator::loadSchemaFile(const std::string& schemaPath, Error* error) {
    auto text = xml::readTextFile(schemaPath, error);
    if (!text) return nullptr;
    // Includes are resolved against the directory of the file; an include of the file
    // itself is not followed.
    const std::string directory = std::filesystem::path(schemaPath).parent_path().string();
    return buildSchema(schematron::resolveIncludes(*text, directory, schemaPath, error), error);
}

}  // namespace quillmark
