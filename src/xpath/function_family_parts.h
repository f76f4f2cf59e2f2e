#pragma once
// Parts of the built-in families that live in files of their own; each family's
// registration calls its parts.

#include <string>
#include <string_view>

#include "xpath/dynamic_context.h"
#include "xpath/function_library.h"

namespace quillmark::xpath {

// Part of the string family: fn:encode-for-uri, fn:iri-to-uri, fn:escape-html-uri.
void registerUriEscapingFunctions(FunctionLibrary& library);
// Parts of the miscellaneous family: functions on QNames and in-scope namespaces, and
// functions on documents and URIs (fn:doc, fn:base-uri...).
void registerQNameFunctions(FunctionLibrary& library);
void registerDocumentFunctions(FunctionLibrary& library);

// fn:iri-to-uri: spaces, controls, the characters <>"{}|\^` and all beyond ASCII written as
// %HH escapes of their UTF-8 bytes.
std::string iriToUri(std::string_view iri);

// Charges the budget for a pass over `text`: one unit per 256 bytes, so that the clock is
// looked at during long runs over large strings without counting each byte as a step.
inline void chargeForText(DynamicContext& context, std::string_view text) {
    context.budget().charge(text.size() / 256);
}

}  // namespace quillmark::xpath
