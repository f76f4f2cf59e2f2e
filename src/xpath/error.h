#pragma once
// Errors of the standard XPath 2.0 engine. Static errors are raised while an
// expression is compiled, dynamic errors while it runs; both carry the W3C error
// code so that callers (and the W3C test suite) can tell them apart.

#include <stdexcept>
#include <string>
#include <string_view>

namespace quillmark::xpath {

// The W3C error codes the engine raises, plus one of its own for resource limits.
enum class ErrorCode {
    // Static errors.
    XPST0003,  // syntax error
    XPST0008,  // unknown variable
    XPST0010,  // unsupported axis (namespace)
    XPST0017,  // unknown function or wrong number of arguments
    XPST0051,  // unknown type in a sequence type
    XPST0080,  // cast to xs:NOTATION or xs:anyAtomicType
    XPST0081,  // unknown namespace prefix
    // Dynamic and type errors.
    XPDY0002,  // context item is absent
    XPDY0050,  // treat as: wrong type
    XPDY0130,  // an implementation limit was exceeded (a range too large)
    XPTY0004,  // type error
    XPTY0018,  // path result mixes nodes and atomic values
    XPTY0019,  // path step applied to an atomic value
    XPTY0020,  // axis step with an atomic context item
    FOAR0001,  // division by zero
    FOAR0002,  // numeric overflow or underflow
    FOCA0001,  // value too large for xs:decimal
    FOCA0002,  // invalid lexical value
    FOCA0003,  // value too large for xs:integer
    FOCA0005,  // NaN supplied as a float or double value
    FOCA0006,  // string with too many digits for xs:decimal
    FOCH0001,  // invalid code point
    FOCH0002,  // unsupported collation
    FOCH0003,  // unsupported normalization form
    FOCH0004,  // collation does not support collation units
    FODC0001,  // no context document
    FODC0002,  // error retrieving a resource
    FODT0001,  // overflow or underflow in date/time arithmetic
    FODT0002,  // overflow or underflow in duration arithmetic
    FODT0003,  // invalid timezone value
    FOER0000,  // unidentified error (fn:error without a code)
    FONS0004,  // no namespace found for prefix
    FORG0001,  // invalid value for cast or constructor
    FORG0003,  // zero-or-one called with more than one item
    FORG0004,  // one-or-more called with an empty sequence
    FORG0005,  // exactly-one called with zero or several items
    FORG0006,  // invalid argument type
    FORG0008,  // both arguments of fn:dateTime have a timezone
    FORX0001,  // invalid regular expression flags
    FORX0002,  // invalid regular expression
    FORX0003,  // regular expression matches the empty string
    FORX0004,  // invalid replacement string
    FOTY0012,  // argument node has no typed value
    UserDefined,  // fn:error with a code of the caller's choosing
    QMXP0001,  // the evaluation exceeded a resource limit (depth, steps, time)
};

// "XPTY0004" for ErrorCode::XPTY0004; "" for UserDefined.
std::string_view errorCodeName(ErrorCode code);
// True for the codes raised while an expression is compiled.
bool isStaticError(ErrorCode code);

class XPathError : public std::runtime_error {
public:
    XPathError(ErrorCode code, std::string message);
    // fn:error with its own code (a QName written as "prefix:local" or "local").
    XPathError(std::string userCode, std::string message);

    ErrorCode code() const { return code_; }
    // The code as written in messages: "XPTY0004", or the user's code.
    const std::string& codeText() const { return codeText_; }
    // What went wrong, without the code.
    const std::string& description() const { return description_; }

private:
    ErrorCode code_;
    std::string codeText_;
    std::string description_;
};

}  // namespace quillmark::xpath
