#pragma once
// The two ways the library reads rule sets.
//
// Compatible: the library's documented dialect, kept exactly as documented (its
// comparisons, unions, truth values and severity rules differ from the standards).
// Standard: XPath 2.0 and ISO Schematron as a standard XSLT 2.0 processor runs a
// compiled rule set; its verdicts are those of the reference tool chain.

#include <optional>
#include <string_view>

namespace quillmark {

enum class Semantics { Compatible, Standard };

inline std::string_view semanticsName(Semantics semantics) {
    switch (semantics) {
    case Semantics::Compatible: return "compatible";
    case Semantics::Standard: return "standard";
    }
    return "standard";
}

inline std::optional<Semantics> semanticsNamed(std::string_view name) {
    if (name == "compatible") return Semantics::Compatible;
    if (name == "standard") return Semantics::Standard;
    return std::nullopt;
}

}  // namespace quillmark
