#include "xml/external_resources.h"

#include <libxml/parserInternals.h>
#include <libxml/uri.h>
#include <libxml/xmlIO.h>

#include <atomic>
#include <climits>
#include <cctype>
#include <filesystem>
#include <mutex>

#include "xml/libxml_support.h"

namespace quillmark::xml::detail {
namespace {

thread_local ExternalResourceScope* innermostScope = nullptr;

std::mutex loaderMutex;
std::atomic<xmlExternalEntityLoader> previousLoader{nullptr};

xmlParserInputPtr loadExternalResource(const char* url, const char* id, xmlParserCtxt* context);

// "scheme:" with a scheme of two or more characters (RFC 3986 syntax).
bool hasScheme(std::string_view url) {
    const size_t colon = url.find(':');
    if (colon == std::string_view::npos || colon < 2) return false;
    if (!std::isalpha(static_cast<unsigned char>(url[0]))) return false;
    for (size_t i = 1; i < colon; ++i) {
        const char c = url[i];
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-' && c != '.') return false;
    }
    return true;
}

std::string unescape(std::string_view text) {
    XmlString decoded(reinterpret_cast<xmlChar*>(
        xmlURIUnescapeString(text.data(), static_cast<int>(text.size()), nullptr)));
    return decoded ? toString(decoded.get()) : std::string(text);
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
    }
    return true;
}

xmlParserInputPtr inputFromMemory(const std::string& bytes, const char* url, xmlParserCtxt* context) {
    if (bytes.size() > static_cast<size_t>(INT_MAX)) return nullptr;
    xmlParserInputBufferPtr buffer =
        xmlParserInputBufferCreateMem(bytes.data(), static_cast<int>(bytes.size()), XML_CHAR_ENCODING_NONE);
    if (!buffer) return nullptr;
    xmlParserInputPtr input = xmlNewIOInputStream(context, buffer, XML_CHAR_ENCODING_NONE);
    if (!input) {
        xmlFreeParserInputBuffer(buffer);
        return nullptr;
    }
    // Relative references in the file (includes, imports) resolve against its URL.
    input->filename = reinterpret_cast<char*>(xmlStrdup(reinterpret_cast<const xmlChar*>(url)));
    return input;
}

// A host program's own request: never the network, otherwise what it had before.
xmlParserInputPtr loadOutsideScope(const char* url, const char* id, xmlParserCtxt* context) {
    if (url && !localPathOfURL(url)) return nullptr;
    xmlExternalEntityLoader previous = previousLoader.load();
    if (!previous || previous == loadExternalResource) previous = xmlNoNetExternalEntityLoader;
    return previous(url, id, context);
}

xmlParserInputPtr loadExternalResource(const char* url, const char* id, xmlParserCtxt* context) {
    ExternalResourceScope* scope = innermostScope;
    if (!scope) return loadOutsideScope(url, id, context);
    ExternalResourceScope::routeMessages(context);
    return openInScope(*scope, url, context);
}

}  // namespace

xmlParserInputPtr openInScope(ExternalResourceScope& scope, const char* url, xmlParserCtxt* context) {
    const std::string requested = url ? url : "";
    std::optional<std::string> path = localFileOfURL(requested);
    if (path && scope.files_) {
        auto found = scope.files_->find(canonicalFileKey(*path));
        if (found != scope.files_->end()) return inputFromMemory(found->second, requested.c_str(), context);
    }
    return nullptr;
}

void forwardToScope(void*, LibxmlErrorArg error) {
    ExternalResourceScope* scope = innermostScope;
    if (scope && scope->sink_ && error) scope->sink_(error);
}

ExternalResourceScope::ExternalResourceScope(const ResourceFiles* files, LibxmlMessageSink sink)
    : files_(files), sink_(std::move(sink)), outer_(innermostScope) {
    ensureLibxmlInitialized();
    installExternalResourceLoader();
    innermostScope = this;
}

ExternalResourceScope::~ExternalResourceScope() { innermostScope = outer_; }

void ExternalResourceScope::routeMessages(xmlParserCtxt* context) {
    if (!context || !context->sax || context->sax->initialized != XML_SAX2_MAGIC) return;
    // libxml2 hands the structured handler the context's userData, which its own SAX
    // callbacks need; the handler finds its scope through the thread instead.
    context->sax->serror = forwardToScope;
}

void installExternalResourceLoader() {
    if (xmlGetExternalEntityLoader() == loadExternalResource) return;
    std::lock_guard<std::mutex> lock(loaderMutex);
    xmlExternalEntityLoader current = xmlGetExternalEntityLoader();
    if (current == loadExternalResource) return;
    previousLoader.store(current);
    xmlSetExternalEntityLoader(loadExternalResource);
}

std::optional<std::string> localPathOfURL(std::string_view url) {
    if (!hasScheme(url)) return std::string(url);
    if (!startsWithIgnoringCase(url, "file:")) return std::nullopt;
    std::string_view rest = url.substr(5);
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        // file://host/path names a file on this host only when the host is empty or localhost.
        if (startsWithIgnoringCase(rest, "localhost/")) rest.remove_prefix(9);
        if (!rest.starts_with("/")) return std::nullopt;
    }
    if (rest.empty()) return std::nullopt;
    return unescape(rest);
}

std::optional<std::string> localFileOfURL(std::string_view url) {
    std::optional<std::string> path = localPathOfURL(url);
    if (!path || hasScheme(url)) return path;
    std::error_code error;
    if (std::filesystem::exists(*path, error)) return path;
    std::string decoded = unescape(*path);
    return std::filesystem::exists(decoded, error) ? decoded : *path;
}

std::string canonicalFileKey(const std::string& path) {
    std::error_code error;
    std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    if (!error) return canonical.string();
    return std::filesystem::absolute(path, error).lexically_normal().string();
}

}  // namespace quillmark::xml::detail
