#pragma once
// `quillmark eval` in the standard profile: the expression compiled by the standard
// XPath 2.0 engine and its value printed one item per line as XDM types
// ("xs:integer 3", "element cbc:ID"); errors as one line starting with the W3C code.

#include <optional>
#include <string>
#include <vector>

namespace quillmark::cli {

struct StandardEvalRequest {
    std::string contextFile;               // "" for no context item
    std::optional<std::string> at;         // evaluate at the first node this selects
    std::vector<std::string> namespaces;   // PREFIX=URI
    std::vector<std::string> variables;    // NAME=EXPR
    std::string expression;
};

int runStandardEval(const StandardEvalRequest& request);

}  // namespace quillmark::cli
