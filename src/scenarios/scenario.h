#pragma once
// Scenarios: which rule sets validate which documents. A scenario file lists named
// scenarios in order, each with a match (the root element, a customization identifier
// the document's begins with, an XPath test) and the XSD and Schematron files to run;
// the first scenario that fits a document is the one used.

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "quillmark/semantics.h"
#include "quillmark/xml.h"

namespace quillmark::xpath {
class CompiledExpression;
}

namespace quillmark::scenarios {

// A scenario file that cannot be used: unreadable, not JSON, or not of the documented
// form. The message names the file and the problem.
class ScenarioError : public std::runtime_error {
public:
    explicit ScenarioError(const std::string& message) : std::runtime_error(message) {}
};

// One file to run; a rule set may need another edition for each profile.
struct RuleFile {
    std::string standardPath;    // absolute
    std::string compatiblePath;  // absolute; the same file unless the scenario names another
    const std::string& pathFor(Semantics semantics) const {
        return semantics == Semantics::Compatible ? compatiblePath : standardPath;
    }
};

struct ScenarioMatch {
    std::optional<std::string> rootNamespace;
    std::optional<std::string> rootLocalName;  // nullopt: any
    std::optional<std::string> customizationID;
    std::shared_ptr<const xpath::CompiledExpression> xpath;
    std::string xpathText;
};

struct Scenario {
    std::string name;
    std::string sourceFile;  // the scenario file it came from
    ScenarioMatch match;
    std::vector<RuleFile> files;
};

class ScenarioSet {
public:
    // Reads a scenario file; throws ScenarioError.
    static ScenarioSet load(const std::string& path);
    // The scenarios of `later` are consulted after this set's own.
    void append(const ScenarioSet& later);

    // The first scenario that fits the document; null when none does.
    const Scenario* select(const xml::Document& document) const;
    const std::vector<Scenario>& scenarios() const { return scenarios_; }

private:
    std::vector<Scenario> scenarios_;
};

// How a document that fits no scenario is named in messages: its root element and its
// customization identifier ("root element {urn:x}Invoice, customization ID 'urn:y'").
std::string describeDocumentType(const xml::Document& document);

}  // namespace quillmark::scenarios
