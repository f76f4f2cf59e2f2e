#pragma once
// Compiling an XSD file with libxml2 without letting it read anything by itself: the
// file and every local file it includes, imports or redefines are read first, each
// once, with the library's file checks and safe parser; libxml2 then compiles from
// those bytes, and any other request (a network location, a file named by an entity)
// is refused. Reports go to the caller through per-context handlers.

#include <libxml/xmlschemas.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "xml/external_resources.h"

namespace quillmark::xsd {

// One report of libxml2 about a schema or a document, as it came.
struct LibxmlReport {
    bool isWarning = false;
    std::string message;  // libxml2's text, usually ending in a line feed
    // The node a validity finding is about (an element or an attribute of the validated
    // tree); null for reports without one.
    const xmlNode* node = nullptr;
    int line = 0;    // libxml2's line, 0 when it gave none
    int column = 0;  // libxml2's column (parser reports only), 0 when it gave none
};

// Collects the reports of one libxml2 operation.
class ReportCollector {
public:
    void add(xml::detail::LibxmlErrorArg error);
    const std::vector<LibxmlReport>& reports() const { return reports_; }
    xml::detail::LibxmlMessageSink sink() {
        return [this](xml::detail::LibxmlErrorArg error) { add(error); };
    }
    // Handler for xmlSchemaSet{Parser,Valid}StructuredErrors with this collector as context.
    static void receive(void* collector, xml::detail::LibxmlErrorArg error);

private:
    std::vector<LibxmlReport> reports_;
};

struct SchemaFree {
    void operator()(xmlSchema* schema) const { xmlSchemaFree(schema); }
};
using SchemaHandle = std::unique_ptr<xmlSchema, SchemaFree>;

// The compiled schema, or null with the reason (naming the file at fault) in `failure`.
SchemaHandle compileSchemaFile(const std::string& path, std::string& failure);

// Validates a libxml2 tree; returns xmlSchemaValidateDoc's code and adds the findings
// to `reports`.
int validateTree(xmlSchema* schema, xmlDoc* document, ReportCollector& reports);

}  // namespace quillmark::xsd
