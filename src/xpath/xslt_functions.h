#pragma once
// Functions that rule sets define with xsl:function. Their bodies are compiled into the
// same tree as expressions, with the XSLT instructions such bodies use: xsl:param,
// xsl:variable (with `select`, or with content, which makes a temporary tree),
// xsl:sequence, xsl:value-of, xsl:text, xsl:choose / xsl:when / xsl:otherwise and
// xsl:if. Parameters and results are converted to their declared `as` types.

#include <libxml/tree.h>

#include <vector>

#include "xpath/function_library.h"
#include "xpath/static_context.h"

namespace quillmark::xpath {

inline constexpr const char* kXsltNamespace = "http://www.w3.org/1999/XSL/Transform";

// Adds the functions to `library` and compiles their bodies. `context` must use
// `library` for its functions, so that the functions can call each other (and
// themselves); its namespaces are extended, per function, by the namespaces declared
// on the xsl:function element and its ancestors. Throws XPathError (a static error
// naming the function) when a body does not compile or uses an instruction that is not
// supported.
void compileXsltFunctions(const std::vector<const xmlNode*>& functions, FunctionLibrary& library,
                          const StaticContext& context);

}  // namespace quillmark::xpath
