#pragma once
// What libxml2 may read besides the text it is given. libxml2 fetches DTDs, external
// entities and the files an XML Schema includes or imports through one external
// entity loader; the libxml2 of the platforms we build on has no per-context loader
// (no xmlCtxtSetResourceLoader), so the library installs a process-wide loader once,
// when it first uses libxml2:
//
// - while an ExternalResourceScope lives on the calling thread (every parse and XSD
//   compilation of the library runs inside one), requests are answered from the files
//   that the scope was given, read in advance with the library's own checks, and every
//   other request is refused;
// - outside a scope (a host program using libxml2 itself), requests for local files go
//   on to the loader that was installed before, and network requests are refused, so
//   nothing reached through libxml2 in this process goes to the network.

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlversion.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quillmark::xml::detail {

#if LIBXML_VERSION >= 21200
using LibxmlErrorArg = const xmlError*;
#else
using LibxmlErrorArg = xmlError*;
#endif

// Receives libxml2's reports about one operation.
using LibxmlMessageSink = std::function<void(LibxmlErrorArg)>;

// Local files by canonical path (see canonicalFileKey), with their bytes.
using ResourceFiles = std::map<std::string, std::string>;

class ExternalResourceScope {
public:
    // `files` (may be null: nothing may be read) must outlive the scope. `sink` gets the
    // reports of every parser context that libxml2 opens inside the scope.
    explicit ExternalResourceScope(const ResourceFiles* files = nullptr, LibxmlMessageSink sink = {});
    ~ExternalResourceScope();
    ExternalResourceScope(const ExternalResourceScope&) = delete;
    ExternalResourceScope& operator=(const ExternalResourceScope&) = delete;

    // Sends the parser context's reports to this thread's innermost scope instead of
    // libxml2's global handlers.
    static void routeMessages(xmlParserCtxt* context);

private:
    friend xmlParserInputPtr openInScope(ExternalResourceScope& scope, const char* url, xmlParserCtxt* context);
    friend void forwardToScope(void* context, LibxmlErrorArg error);

    const ResourceFiles* files_;
    LibxmlMessageSink sink_;
    ExternalResourceScope* outer_;
};

// Installs the loader (once per process; again if someone replaced it since).
void installExternalResourceLoader();

// The local file a URL names: a plain path, or a file: URL on this host (percent
// escapes decoded). nullopt for every other scheme.
std::optional<std::string> localPathOfURL(std::string_view url);
// localPathOfURL, where a plain path that names no file but does once its percent
// escapes are decoded (libxml2 escapes the paths it builds) gives the decoded path.
std::optional<std::string> localFileOfURL(std::string_view url);
// The key of a local file in ResourceFiles: its absolute path with symbolic links and
// "." and ".." resolved as far as the file system allows.
std::string canonicalFileKey(const std::string& path);

}  // namespace quillmark::xml::detail
