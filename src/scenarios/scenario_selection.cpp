// Choosing the scenario of a document.

#include "quillmark/schematron_validator.h"
#include "scenarios/scenario.h"
#include "xpath/compiled_expression.h"
#include "xpath/error.h"

namespace quillmark::scenarios {
namespace {

bool rootFits(const ScenarioMatch& match, xml::Node root) {
    if (!match.rootNamespace) return true;
    if (!root || root.namespaceURI() != *match.rootNamespace) return false;
    return !match.rootLocalName || root.localName() == *match.rootLocalName;
}

bool identifierFits(const ScenarioMatch& match, const std::optional<std::string>& identifier) {
    return !match.customizationID || (identifier && identifier->starts_with(*match.customizationID));
}

// An XPath test that fails to evaluate does not fit.
bool xpathFits(const ScenarioMatch& match, const xml::Document& document) {
    if (!match.xpath) return true;
    xpath::DynamicContext context;
    context.setContextItem(xpath::Item(document.node()));
    try {
        return match.xpath->effectiveBooleanValue(context);
    } catch (const xpath::XPathError&) {
        return false;
    }
}

}  // namespace

const Scenario* ScenarioSet::select(const xml::Document& document) const {
    const xml::Node root = document.rootElement();
    const std::optional<std::string> identifier = QMSchematronValidator::documentCustomizationID(document);
    for (const Scenario& scenario : scenarios_) {
        if (rootFits(scenario.match, root) && identifierFits(scenario.match, identifier) &&
            xpathFits(scenario.match, document)) {
            return &scenario;
        }
    }
    return nullptr;
}

std::string describeDocumentType(const xml::Document& document) {
    const xml::Node root = document.rootElement();
    std::string text = "root element ";
    text += root ? "{" + root.namespaceURI() + "}" + root.localName() : "(none)";
    const std::optional<std::string> identifier = QMSchematronValidator::documentCustomizationID(document);
    text += identifier ? ", customization ID '" + *identifier + "'" : ", no customization ID";
    return text;
}

}  // namespace quillmark::scenarios
