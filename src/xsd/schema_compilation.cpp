#include "xsd/schema_compilation.h"

#include <libxml/uri.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlschemastypes.h>

#include <deque>
#include <mutex>

#include "quillmark/xml.h"
#include "xml/libxml_support.h"
#include "xml/parse_errors.h"
#include "xml/safe_parse.h"

namespace quillmark::xsd {
namespace {

using xml::detail::ExternalResourceScope;
using xml::detail::ResourceFiles;

constexpr const char* kXSDNamespace = "http://www.w3.org/2001/XMLSchema";

struct ParserContextFree {
    void operator()(xmlSchemaParserCtxt* context) const { xmlSchemaFreeParserCtxt(context); }
};
struct ValidContextFree {
    void operator()(xmlSchemaValidCtxt* context) const { xmlSchemaFreeValidCtxt(context); }
};

bool isSchemaReference(xmlNode* node) {
    if (node->type != XML_ELEMENT_NODE || !node->ns || xml::detail::toString(node->ns->href) != kXSDNamespace)
        return false;
    const std::string name = xml::detail::toString(node->name);
    return name == "include" || name == "import" || name == "redefine" || name == "override";
}

// The locations the schema document refers to, resolved as libxml2 resolves them:
// against the file's path made a URI (spaces and the like escaped).
std::vector<std::string> referencedLocations(xmlDoc* doc, const std::string& url) {
    std::vector<std::string> locations;
    xml::detail::XmlString base(xmlPathToURI(xml::detail::toXmlChar(url)));
    xmlNode* root = xmlDocGetRootElement(doc);
    for (xmlNode* child = root ? root->children : nullptr; child; child = child->next) {
        if (!isSchemaReference(child)) continue;
        xml::detail::XmlString location(xmlGetNoNsProp(child, BAD_CAST "schemaLocation"));
        if (!location) continue;
        xml::detail::XmlString resolved(xmlBuildURI(location.get(), base.get()));
        locations.push_back(xml::detail::toString(resolved ? resolved.get() : location.get()));
    }
    return locations;
}

// Reads the file and, breadth first, every local file it refers to, each once. Network
// locations are left out: libxml2 will ask for them and be refused.
std::optional<ResourceFiles> readSchemaFiles(const std::string& path, std::string& failure) {
    ResourceFiles files;
    std::deque<std::string> pending{path};
    while (!pending.empty()) {
        const std::string url = pending.front();
        pending.pop_front();
        const std::optional<std::string> local = xml::detail::localFileOfURL(url);
        if (!local) continue;
        const std::string key = xml::detail::canonicalFileKey(*local);
        if (files.count(key)) continue;
        Error error;
        std::optional<std::string> bytes = xml::readFileBytes(*local, &error);
        if (!bytes) {
            failure = error.message();
            return std::nullopt;
        }
        xml::detail::DocHandle doc(
            xml::detail::parseSafely(*bytes, url.c_str(), xml::detail::TextEncoding::Declared, &error));
        if (!doc) {
            failure = *local + ": " + error.message();
            return std::nullopt;
        }
        for (std::string& location : referencedLocations(doc.get(), url)) pending.push_back(std::move(location));
        files.emplace(key, std::move(*bytes));
    }
    return files;
}

// The first error libxml2 gave, else its first report, on one line.
std::string firstProblem(const std::vector<LibxmlReport>& reports) {
    for (const auto& report : reports) {
        if (!report.isWarning) return xml::detail::oneLine(report.message.c_str());
    }
    return reports.empty() ? "not a usable XML schema" : xml::detail::oneLine(reports.front().message.c_str());
}

}  // namespace

void ReportCollector::add(xml::detail::LibxmlErrorArg error) {
    if (!error || error->level == XML_ERR_NONE) return;
    reports_.push_back({error->level == XML_ERR_WARNING, error->message ? error->message : "",
                        static_cast<const xmlNode*>(error->node), error->line, error->int2});
}

void ReportCollector::receive(void* collector, xml::detail::LibxmlErrorArg error) {
    static_cast<ReportCollector*>(collector)->add(error);
}

SchemaHandle compileSchemaFile(const std::string& path, std::string& failure) {
    // libxml2 builds its table of built-in types lazily and without a lock: two schemas
    // compiled at once on two threads would both build it, and one table would leak.
    static std::once_flag builtInTypes;
    std::call_once(builtInTypes, [] { xmlSchemaInitTypes(); });
    std::optional<ResourceFiles> files = readSchemaFiles(path, failure);
    if (!files) return nullptr;
    ReportCollector reports;
    ExternalResourceScope scope(&*files, reports.sink());
    std::unique_ptr<xmlSchemaParserCtxt, ParserContextFree> context(xmlSchemaNewParserCtxt(path.c_str()));
    if (!context) {
        failure = "not a usable XML schema";
        return nullptr;
    }
    xmlSchemaSetParserStructuredErrors(context.get(), ReportCollector::receive, &reports);
    SchemaHandle schema(xmlSchemaParse(context.get()));
    if (!schema) failure = firstProblem(reports.reports());
    return schema;
}

int validateTree(xmlSchema* schema, xmlDoc* document, ReportCollector& reports) {
    // Validation reads nothing; should libxml2 try (schema locations in the document),
    // the scope refuses.
    ExternalResourceScope scope(nullptr, reports.sink());
    std::unique_ptr<xmlSchemaValidCtxt, ValidContextFree> context(xmlSchemaNewValidCtxt(schema));
    if (!context) return -1;
    xmlSchemaSetValidStructuredErrors(context.get(), ReportCollector::receive, &reports);
    return xmlSchemaValidateDoc(context.get(), document);
}

}  // namespace quillmark::xsd
