#pragma once
// Reads a Schematron rule set into one document: includes resolved at any depth (each
// file read once, cycles refused), abstract patterns instantiated with their
// parameters, abstract rules applied where rules extend them. What comes out is the
// rule set as a processor runs it.

#include <memory>
#include <string>

#include "quillmark/xml.h"

namespace quillmark::standard {

// Throws RuleSetError when a file cannot be read or parsed, an include is missing or
// cyclic, an is-a or extends names nothing, or the root is not a Schematron schema.
std::shared_ptr<xml::Document> assembleRuleSet(const std::string& path);
// The same for a rule set given as text; includes resolve against `baseDirectory`.
std::shared_ptr<xml::Document> assembleRuleSetText(const std::string& text, const std::string& baseDirectory);

// Exposed for tests: replaces `$name` for each parameter, longest names first and whole
// names only (a following name character means another name).
std::string substituteParameters(const std::string& text, const std::vector<std::pair<std::string, std::string>>& parameters);

}  // namespace quillmark::standard
