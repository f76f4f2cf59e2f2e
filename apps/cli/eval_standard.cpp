#include "eval_standard.h"

#include <iostream>
#include <memory>

#include "assignment.h"
#include "commands.h"
#include "quillmark/xml.h"
#include "xpath/compiled_expression.h"
#include "xpath/error.h"
#include "xpath/item_display.h"

namespace quillmark::cli {
namespace {

using namespace quillmark::xpath;

// Prefixes from --ns, else those declared on the document's root element.
bool declareNamespaces(const StandardEvalRequest& request, const xml::Document* document, StaticContext& statics) {
    for (const auto& binding : request.namespaces) {
        std::string prefix, uri;
        if (!splitAssignment(binding, prefix, uri)) {
            std::cerr << "quillmark: --ns expects PREFIX=URI, got \"" << binding << "\"\n";
            return false;
        }
        statics.declareNamespace(prefix, uri);
    }
    if (request.namespaces.empty() && document && document->rootElement()) {
        for (const auto& [prefix, uri] : document->rootElement().namespaceDeclarations()) {
            if (!prefix.empty()) statics.declareNamespace(prefix, uri);
        }
    }
    return true;
}

// The context item: the document node, or the first node --at selects from it.
std::optional<Item> contextItem(const StandardEvalRequest& request, const xml::Document* document,
                                const StaticContext& statics) {
    if (!document) return std::nullopt;
    Item documentNode(document->node());
    if (!request.at) return documentNode;
    DynamicContext context;
    context.setContextItem(documentNode);
    const Sequence selected = CompiledExpression(*request.at, statics).evaluate(context);
    if (selected.empty() || !selected.front().isNode()) {
        throw XPathError(ErrorCode::XPDY0002, "--at '" + *request.at + "' selects no node");
    }
    return selected.front();
}

int evaluate(const StandardEvalRequest& request, const xml::Document* document, StaticContext& statics) {
    // Variables are declared and set in order, so that each sees the ones before it.
    std::vector<std::pair<size_t, Sequence>> values;
    const std::optional<Item> item = contextItem(request, document, statics);
    for (const auto& assignment : request.variables) {
        std::string name, expression;
        if (!splitAssignment(assignment, name, expression)) {
            std::cerr << "quillmark: --var expects NAME=EXPR, got \"" << assignment << "\"\n";
            return kExitFailure;
        }
        DynamicContext context;
        context.setContextItem(item);
        for (auto& [slot, value] : values) context.setGlobal(slot, value);
        Sequence value = CompiledExpression(expression, statics).evaluate(context);
        values.emplace_back(statics.declareVariable(ExpandedName{"", name}), std::move(value));
    }
    const CompiledExpression compiled(request.expression, statics);
    DynamicContext context;
    context.setContextItem(item);
    for (auto& [slot, value] : values) context.setGlobal(slot, value);
    for (const std::string& line : describeSequence(compiled.evaluate(context))) std::cout << line << '\n';
    return kExitOk;
}

}  // namespace

int runStandardEval(const StandardEvalRequest& request) {
    std::shared_ptr<xml::Document> document;
    if (!request.contextFile.empty()) {
        Error error;
        document = xml::Document::parseFile(request.contextFile, &error);
        if (!document) {
            std::cerr << "quillmark: " << error.message() << '\n';
            return kExitFailure;
        }
    }
    StaticContext statics;
    if (!declareNamespaces(request, document.get(), statics)) return kExitFailure;
    try {
        return evaluate(request, document.get(), statics);
    } catch (const XPathError& error) {
        std::cerr << error.what() << '\n';
        return kExitFindings;
    }
}

}  // namespace quillmark::cli
