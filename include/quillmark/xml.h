#pragma once
// A thin layer over libxml2: a document that owns its tree, cheap node handles that
// point into it, XPath 1.0 selection and serialization. Node handles do not keep
// their document alive: whoever holds nodes holds the document too.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/error.h"

struct _xmlNode;
struct _xmlDoc;

namespace quillmark::xml {

// Node kinds, numbered as the platform document model numbers them.
enum class NodeKind : int {
    Invalid = 0,
    Document = 1,
    Element = 2,
    Attribute = 3,
    Namespace = 4,
    ProcessingInstruction = 5,
    Comment = 6,
    Text = 7,  // text and CDATA sections
    DTD = 8,
};

class Node {
public:
    Node() = default;
    explicit Node(_xmlNode* raw) : raw_(raw) {}

    bool isNull() const { return raw_ == nullptr; }
    explicit operator bool() const { return raw_ != nullptr; }
    _xmlNode* raw() const { return raw_; }
    friend bool operator==(const Node&, const Node&) = default;

    NodeKind kind() const;
    bool isElement() const { return kind() == NodeKind::Element; }
    // Qualified name as written in the document ("cbc:ID"); "" for nodes without one
    // (text, document).
    std::string name() const;
    std::string localName() const;
    std::string namespaceURI() const;  // "" when the node has none
    std::string prefix() const;        // "" when the node has none
    // Text of the node: concatenated descendant text for elements and documents,
    // the value for attributes, the content for text and comments.
    std::optional<std::string> stringValue() const;
    Node parent() const;  // the document node is the top; null above it
    std::vector<Node> children() const;
    std::vector<Node> attributes() const;  // element attributes in document order
    // Value of the attribute with this qualified name ("id", "xml:lang"), if present.
    std::optional<std::string> attribute(std::string_view qualifiedName) const;
    // Position among the parent's children (attributes: among the attributes), from 0.
    int64_t index() const;
    Node documentNode() const;  // the document node of the tree the node lives in

    // Namespace declarations in scope at this node: prefix ("" for the default
    // namespace) to URI, nearest declaration winning.
    std::map<std::string, std::string> namespacesInScope() const;
    // Declarations made on this very element.
    std::map<std::string, std::string> namespaceDeclarations() const;

    // XPath 1.0 from this node with a one-off engine; see XPathEngine::select.
    std::vector<Node> nodesForXPath(const std::string& xpath, bool* failed = nullptr) const;

    // Serialization of the node (and its subtree).
    std::string xmlString() const;

private:
    _xmlNode* raw_ = nullptr;
};

class Document {
public:
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    // Parses XML text (UTF-8, whatever the declaration says). Nothing outside the text
    // is read: no network, no external DTD, and a document that refers to an external
    // entity is refused. Internal entities are replaced by their text while parsing, as
    // long as that text stays within ten times the input plus 1 MiB; beyond that the
    // document is refused. White-space text nodes are kept. On failure returns null and
    // sets `error` (domain kXMLParserDomain) to libxml2's message with its line and
    // column, or to the refusal with its line.
    static std::shared_ptr<Document> parse(std::string_view text, Error* error);
    // Reads the file (see readTextFile) and parses it; errors name the file.
    static std::shared_ptr<Document> parseFile(const std::string& path, Error* error);
    // A new, empty document (no root element yet).
    static std::shared_ptr<Document> create();

    Node node() const;         // the document node
    Node rootElement() const;  // null when the document has none
    _xmlDoc* raw() const { return doc_; }

    // Serialization as UTF-8 with an XML declaration; `pretty` indents elements.
    std::string xmlString(bool pretty = false) const;

    // Editing, as the include resolution of rule sets needs it.
    // Inserts a deep copy of `source` (from any document) as child number `index` of
    // `parent`; an index past the end appends.
    Node insertCopy(Node parent, int64_t index, Node source);
    // Unlinks the node from its parent and frees it.
    void remove(Node node);
    // Building documents in memory.
    Node createRootElement(const std::string& name, const std::string& namespaceURI = "");
    Node appendElement(Node parent, const std::string& name, const std::string& namespaceURI = "");
    void appendText(Node parent, const std::string& text);
    void setAttribute(Node element, const std::string& name, const std::string& value);

private:
    explicit Document(_xmlDoc* doc) : doc_(doc) {}
    _xmlDoc* doc_;
};

// The largest file the library reads: documents, rule sets, included files, XSD files.
inline constexpr uint64_t kDefaultMaxInputSize = uint64_t{256} << 20;  // 256 MiB
// Changes the limit for every later read, on every thread.
void setMaxInputSize(uint64_t bytes);
uint64_t maxInputSize();

// Reads a whole file. Only regular files are read (a FIFO, device, socket or directory
// is refused without blocking), and none larger than maxInputSize(). On failure returns
// nullopt and sets `error` (domain kFileDomain) to "cannot read PATH: REASON".
std::optional<std::string> readFileBytes(const std::string& path, Error* error);
// readFileBytes, and the bytes must be well-formed UTF-8.
std::optional<std::string> readTextFile(const std::string& path, Error* error);

// XPath 1.0 evaluation with a cache of compiled expressions and one libxml2 context
// per document. One engine serves one thread; evaluators each own one.
class XPathEngine {
public:
    XPathEngine();
    ~XPathEngine();
    XPathEngine(const XPathEngine&) = delete;
    XPathEngine& operator=(const XPathEngine&) = delete;

    // Evaluates `xpath` with `context` as context node and returns the selected nodes
    // in document order. The namespace declarations in scope at the context node are
    // available to the expression. Text that does not compile or run, or a result that
    // is not a node-set, gives an empty list and sets *failed (when given) to true.
    // XPath 2.0 forms that rule sets use are accepted: group steps `/(a|b)` and
    // `//(a|b)` are rewritten into unions, and functions such as upper-case(),
    // matches(), exists() are available.
    std::vector<Node> select(Node context, const std::string& xpath, bool* failed = nullptr);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Rewrites group steps into XPath 1.0 unions: "X/(a|b)/c" -> "X/a/c|X/b/c",
// "//(a|b)" -> "//a|//b". Text without group steps comes back unchanged.
std::string rewriteGroupSteps(const std::string& xpath);

}  // namespace quillmark::xml
