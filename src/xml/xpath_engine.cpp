// XPath 1.0 selection through libxml2 with a cache of compiled expressions.

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <optional>
#include <unordered_map>

#include "quillmark/evaluation_budget.h"
#include "quillmark/xml.h"
#include "xml/libxml_support.h"
#include "xml/parse_errors.h"
#include "xml/simple_path.h"
#include "xml/xpath_functions.h"
#include "xml/xpath_rewrite.h"

namespace quillmark::xml {
namespace {

// Rule sets bring a few thousand distinct texts; a cache that grows past this holds
// generated texts and starts afresh.
constexpr size_t kMaxCachedExpressions = 20000;
// An engine normally serves one document (and a rule set's own); contexts of documents
// that are gone are dropped once this many have piled up.
constexpr size_t kMaxContexts = 32;

#if LIBXML_VERSION >= 21200
void ignoreError(void*, const xmlError*) {}
#else
void ignoreError(void*, xmlError*) {}
#endif

xmlXPathContext* newContext(xmlDoc* doc) {
    xmlXPathContext* context = xmlXPathNewContext(doc);
    if (!context) return nullptr;
    context->error = ignoreError;  // a bad expression is an empty result, not a message
    detail::registerExtensionFunctions(context);
    return context;
}

struct Compiled {
    std::optional<detail::SimplePath> simple;  // walked directly, without libxml2
    xmlXPathCompExpr* expression = nullptr;    // null: the text does not compile
    bool usesPrefixes = false;
    bool compiles() const { return simple || expression; }
};

bool rootDeclaresDefaultNamespace(xmlDoc* doc) {
    xmlNode* root = doc ? xmlDocGetRootElement(doc) : nullptr;
    for (xmlNs* ns = root ? root->nsDef : nullptr; ns; ns = ns->next) {
        if (!ns->prefix && ns->href && ns->href[0]) return true;
    }
    return false;
}

// Sorting into document order compares nodes; without help libxml2 compares two
// elements by walking their sibling lists, which makes sorting the results of a path such
// as "//a/b" quadratic in the number of siblings. Once the elements carry their document
// position (libxml2 keeps it in the otherwise unused content field of elements), each
// comparison is a subtraction. Elements added to the tree later carry no position and
// are compared the slow way, so the order stays right if a document is edited.
void numberElementsInDocumentOrder(xmlDoc* doc) {
    xmlNode* root = doc ? xmlDocGetRootElement(doc) : nullptr;
    if (!root || reinterpret_cast<ptrdiff_t>(root->content) < 0) return;
    xmlXPathOrderDocElems(doc);
}

// libxml2 counts the operations of an evaluation (steps of its program and nodes its
// axes visit) and gives up past a limit. Under an evaluation budget the limit is what is
// left of it: its steps, and its time at no more operations per millisecond than
// libxml2 manages; the operations done are charged to the budget.
constexpr unsigned long kOperationsPerStep = 16;
constexpr unsigned long kOperationsPerMillisecond = 50'000;

class OperationLimit {
public:
    explicit OperationLimit(xmlXPathContext* context) : context_(context), budget_(EvaluationBudget::current()) {
        context_->opCount = 0;
        context_->opLimit = 0;
        if (!budget_) return;
        const uint64_t bySteps = std::min<uint64_t>(budget_->stepsLeft(), ULONG_MAX / kOperationsPerStep);
        const auto milliseconds = static_cast<uint64_t>(std::max<int64_t>(budget_->timeLeft().count(), 0));
        const uint64_t byTime = std::min<uint64_t>(milliseconds, ULONG_MAX / kOperationsPerMillisecond);
        stepsFirst_ = bySteps * kOperationsPerStep <= byTime * kOperationsPerMillisecond;
        context_->opLimit = std::max<unsigned long>(
            1, std::min(bySteps * kOperationsPerStep, byTime * kOperationsPerMillisecond));
    }
    ~OperationLimit() { context_->opLimit = 0; }
    OperationLimit(const OperationLimit&) = delete;
    OperationLimit& operator=(const OperationLimit&) = delete;

    bool exhausted() const { return budget_ && budget_->exhausted(); }

    // Charges the operations done; a limit that was reached stops the budget.
    void finish() {
        if (!budget_) return;
        budget_->charge(context_->opCount / kOperationsPerStep);
        if (context_->opCount < context_->opLimit) return;
        budget_->stopFor(stepsFirst_ ? EvaluationStop::StepLimit : EvaluationStop::TimeLimit);
    }

private:
    xmlXPathContext* context_;
    EvaluationBudget* budget_;
    bool stepsFirst_ = true;
};

}  // namespace

struct XPathEngine::Impl {
    // Compiling happens without namespace bindings, so that libxml2 binds prefixes
    // when it evaluates (at the context node) rather than once when it compiles.
    xmlXPathContext* compileContext = nullptr;
    std::unordered_map<std::string, Compiled> cache;
    std::unordered_map<xmlDoc*, xmlXPathContext*> contexts;
    std::vector<xmlNs*> namespaces;  // reused for every evaluation

    Impl() { detail::ensureLibxmlInitialized(); }

    ~Impl() {
        clearCache();
        clearContexts();
        if (compileContext) xmlXPathFreeContext(compileContext);
    }

    void clearCache() {
        for (auto& [text, compiled] : cache) {
            if (compiled.expression) xmlXPathFreeCompExpr(compiled.expression);
        }
        cache.clear();
    }

    void clearContexts() {
        for (auto& [doc, context] : contexts) xmlXPathFreeContext(context);
        contexts.clear();
    }

    // `localNames`: the document has a default namespace, so unprefixed names are
    // matched by local name (cached under a key no XPath text can have).
    const Compiled& compiled(const std::string& xpath, bool localNames) {
        const std::string key = localNames ? '\x01' + xpath : xpath;
        if (auto found = cache.find(key); found != cache.end()) return found->second;
        if (cache.size() >= kMaxCachedExpressions) clearCache();
        std::string text = detail::rewriteXPath2Forms(xpath);
        if (localNames) text = detail::matchUnprefixedNamesByLocalName(text);
        return cache.emplace(key, compile(text)).first->second;
    }

    Compiled compile(const std::string& text) {
        Compiled entry;
        entry.usesPrefixes = text.find(':') != std::string::npos;
        entry.simple = detail::parseSimplePath(text);
        if (entry.simple) return entry;
        if (!compileContext) compileContext = newContext(nullptr);
        if (compileContext) entry.expression = xmlXPathCtxtCompile(compileContext, detail::toXmlChar(text));
        return entry;
    }

    xmlXPathContext* contextFor(xmlDoc* doc) {
        if (auto found = contexts.find(doc); found != contexts.end()) return found->second;
        if (contexts.size() >= kMaxContexts) clearContexts();
        xmlXPathContext* context = newContext(doc);
        if (context) contexts.emplace(doc, context);
        return context;
    }

    xmlXPathObject* evaluate(const Compiled& entry, xmlNode* node) {
        xmlXPathContext* context = contextFor(node->doc);
        if (!context) return nullptr;
        context->doc = node->doc;
        context->node = node;
        namespaces.clear();
        if (entry.usesPrefixes) detail::collectNamespacesInScope(node, namespaces);
        // libxml2 looks these up before its registered table, first match winning.
        context->namespaces = namespaces.empty() ? nullptr : namespaces.data();
        context->nsNr = static_cast<int>(namespaces.size());
        xmlXPathObject* result = nullptr;
        OperationLimit limit(context);
        if (!limit.exhausted()) {
            detail::GenericErrorSilencer silencer;
            result = xmlXPathCompiledEval(entry.expression, context);
            limit.finish();
        }
        context->namespaces = nullptr;
        context->nsNr = 0;
        context->node = nullptr;
        return result;
    }
};

XPathEngine::XPathEngine() : impl_(std::make_unique<Impl>()) {}

XPathEngine::~XPathEngine() = default;

std::vector<Node> XPathEngine::select(Node context, const std::string& xpath, bool* failed) {
    std::vector<Node> nodes;
    if (failed) *failed = true;
    xmlNode* raw = context.raw();
    if (!raw || raw->type == XML_NAMESPACE_DECL) return nodes;
    const Compiled& entry = impl_->compiled(xpath, rootDeclaresDefaultNamespace(raw->doc));
    if (!entry.compiles()) return nodes;
    numberElementsInDocumentOrder(raw->doc);
    if (entry.simple) {
        if (failed) *failed = false;
        for (xmlNode* node : detail::evaluateSimplePath(*entry.simple, raw)) nodes.emplace_back(node);
        return nodes;
    }
    xmlXPathObject* result = impl_->evaluate(entry, raw);
    if (!result) return nodes;
    if (result->type == XPATH_NODESET) {
        if (failed) *failed = false;
        const xmlNodeSet* set = result->nodesetval;
        nodes.reserve(set ? static_cast<size_t>(set->nodeNr) : 0);
        for (int i = 0; set && i < set->nodeNr; ++i) {
            // Namespace nodes are copies that die with the result object.
            if (set->nodeTab[i]->type != XML_NAMESPACE_DECL) nodes.emplace_back(set->nodeTab[i]);
        }
    }
    xmlXPathFreeObject(result);
    return nodes;
}

}  // namespace quillmark::xml
