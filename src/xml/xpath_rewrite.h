#pragma once
// Text rewrites that turn the XPath 2.0 forms rule sets write into XPath 1.0.

#include <string>

namespace quillmark::xml::detail {

// A function applied as the last step of a relative path and compared with a literal,
// "A/B/f(x)='v'" (or "'v'=A/B/f(x)"), becomes "A/B[f(x)='v']": both are true when some
// node the path selects gives f a value that compares true. Other function steps are
// left as they are (libxml2 then rejects the text), except a numeric cast of a path,
// "P/xs:decimal(Q)", which becomes "P/Q" (as inside sum()).
std::string rewriteFunctionSteps(const std::string& xpath);

// A general comparison with a sequence of literals, "L = ('a', 'b')", becomes
// "(L='a' or L='b')".
std::string rewriteSequenceComparisons(const std::string& xpath);

// Unprefixed element name tests become local-name() tests: "/Invoice[1]/cbc:ID" becomes
// "/*[local-name()='Invoice'][1]/cbc:ID". Used for documents whose root element
// declares a default namespace. Attribute names, functions, axes and operators stay.
std::string matchUnprefixedNamesByLocalName(const std::string& xpath);

// Everything select() applies before compiling.
std::string rewriteXPath2Forms(const std::string& xpath);

}  // namespace quillmark::xml::detail
