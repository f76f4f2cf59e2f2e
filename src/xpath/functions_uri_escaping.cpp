// fn:encode-for-uri, fn:iri-to-uri and fn:escape-html-uri: each writes the characters
// its kind of URI cannot hold as %HH escapes of their UTF-8 bytes (upper-case hex).
// Characters beyond ASCII are escaped by all three.

#include "xpath/function_registration.h"
#include "xpath/function_family_parts.h"

namespace quillmark::xpath {
namespace {

using AsciiTest = bool (*)(char c);

// Unreserved characters of RFC 3986: everything else is escaped, "%" and "/" too.
bool keptInUriPart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           c == '.' || c == '~';
}

// Printable ASCII except the characters an IRI may hold but a URI may not.
bool keptInUri(char c) {
    return c > 0x20 && c != 0x7F && std::string_view("<>\"{}|\\^`").find(c) == std::string_view::npos;
}

// Printable ASCII, space included.
bool keptInHtmlUri(char c) { return c >= 0x20 && c < 0x7F; }

std::string escapeBytes(std::string_view text, AsciiTest kept) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string escaped;
    escaped.reserve(text.size());
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && kept(c)) {
            escaped += c;
            continue;
        }
        escaped += '%';
        escaped += kHex[byte >> 4];
        escaped += kHex[byte & 0xF];
    }
    return escaped;
}

template <AsciiTest kept>
Sequence escapeFunction(DynamicContext& context, Arguments& arguments) {
    const std::string text = stringArgument(arguments[0]);
    chargeForText(context, text);
    return single(AtomicValue::fromString(escapeBytes(text, kept)));
}

}  // namespace

std::string iriToUri(std::string_view iri) { return escapeBytes(iri, &keptInUri); }

void registerUriEscapingFunctions(FunctionLibrary& library) {
    define(library, {.name = "encode-for-uri", .parameters = {"xs:string?"}, .result = "xs:string"},
           &escapeFunction<&keptInUriPart>);
    define(library, {.name = "iri-to-uri", .parameters = {"xs:string?"}, .result = "xs:string"},
           &escapeFunction<&keptInUri>);
    define(library, {.name = "escape-html-uri", .parameters = {"xs:string?"}, .result = "xs:string"},
           &escapeFunction<&keptInHtmlUri>);
}

}  // namespace quillmark::xpath
