#pragma once
// Include resolution of rule sets, shared by the loader's entry points.

#include <optional>
#include <string>

#include "quillmark/error.h"

namespace quillmark::schematron {

// Splices the files that Schematron include elements (of the ISO or the 1.5 namespace)
// name into the text, one level deep, each file once: an include of a file already
// spliced, or of the rule set itself (`ownPath`, when known), is dropped with a
// warning. See QMSchematronValidator::processIncludes.
std::string resolveIncludes(const std::string& text, const std::string& basePath,
                            const std::optional<std::string>& ownPath, Error* error);

}  // namespace quillmark::schematron
