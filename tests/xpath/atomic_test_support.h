#pragma once
// Helpers of the atomic value tests: values from their lexical forms, and the outcome of
// an operation as one comparable string ("xs:decimal 0.5", "true", or the error code).

#include <optional>
#include <string>
#include <string_view>

#include "xpath/atomic_value.h"
#include "xpath/casting.h"
#include "xpath/error.h"

namespace quillmark::xpath::testing {

// The prefixes the tests use when they cast text to xs:QName.
inline std::optional<std::string> testPrefixes(std::string_view prefix) {
    if (prefix == "xs") return std::string("http://www.w3.org/2001/XMLSchema");
    if (prefix == "p") return std::string("urn:p");
    if (prefix == "q") return std::string("urn:p");  // a second prefix for the same namespace
    return std::nullopt;
}

// A value of `type` read from its lexical form ("true" for booleans).
inline AtomicValue atomic(AtomicType type, std::string_view text) { return castFromText(text, type, testPrefixes); }

// "<type> <canonical text>" of the value the operation returns, or the code it raises.
template <class Operation>
std::string typedOutcome(Operation&& operation) {
    try {
        const AtomicValue value = operation();
        return atomicTypeName(value.type()) + " " + value.toString();
    } catch (const XPathError& error) {
        return error.codeText();
    }
}

// "true" / "false" from a predicate, or the code it raises.
template <class Predicate>
std::string truthOutcome(Predicate&& predicate) {
    try {
        return predicate() ? "true" : "false";
    } catch (const XPathError& error) {
        return error.codeText();
    }
}

}  // namespace quillmark::xpath::testing
