#include "xpath/xslt_functions.h"

#include <memory>
#include <string>

#include "xpath/error.h"
#include "xpath/parser.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {

std::string_view view(const xmlChar* text) {
    return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

bool isXslt(const xmlNode* node, std::string_view name) {
    return node->type == XML_ELEMENT_NODE && node->ns && view(node->ns->href) == kXsltNamespace &&
           view(node->name) == name;
}

std::optional<std::string> attribute(const xmlNode* element, const char* name) {
    xmlChar* value = xmlGetNoNsProp(element, reinterpret_cast<const xmlChar*>(name));
    if (!value) return std::nullopt;
    std::string text(reinterpret_cast<const char*>(value));
    xmlFree(value);
    return text;
}

bool isWhitespace(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

// The namespaces declared on the element and its ancestors, added to a copy of the
// rule set's static context (the nearest declaration wins).
StaticContext contextAt(const xmlNode* element, const StaticContext& base) {
    StaticContext context = base;
    std::vector<const xmlNs*> declarations;
    for (const xmlNode* node = element; node && node->type == XML_ELEMENT_NODE; node = node->parent) {
        for (const xmlNs* ns = node->nsDef; ns; ns = ns->next) declarations.push_back(ns);
    }
    for (auto it = declarations.rbegin(); it != declarations.rend(); ++it) {
        if ((*it)->prefix) context.declareNamespace(std::string(view((*it)->prefix)), std::string(view((*it)->href)));
    }
    return context;
}

ExpandedName functionName(const std::string& lexical, const StaticContext& context) {
    const size_t colon = lexical.find(':');
    if (colon == std::string::npos) {
        throw XPathError(ErrorCode::XPST0081, "the function name '" + lexical + "' has no namespace prefix");
    }
    std::optional<std::string> uri = context.namespaceFor(lexical.substr(0, colon));
    if (!uri) {
        throw XPathError(ErrorCode::XPST0081, "the prefix of function name '" + lexical + "' is not declared");
    }
    return ExpandedName{*uri, lexical.substr(colon + 1)};
}

SequenceType declaredType(const xmlNode* element, const StaticContext& context) {
    std::optional<std::string> as = attribute(element, "as");
    return as ? parseSequenceType(*as, context) : SequenceType::anyItems();
}

// Compiles one function body: its sequence constructor after the parameters.
class BodyCompiler {
public:
    BodyCompiler(const StaticContext& context, LocalScope& scope) : context_(context), scope_(scope) {}

    // SequenceConstructor ::= (instruction | xsl:variable SequenceConstructor)*
    ExpressionPtr sequenceConstructor(const xmlNode* first) {
        ExpressionList items;
        for (const xmlNode* node = first; node; node = node->next) {
            if (isXslt(node, "variable")) {
                items.push_back(variable(node));
                break;  // the rest of the constructor is the variable's scope
            }
            if (ExpressionPtr item = instruction(node)) items.push_back(std::move(item));
        }
        if (items.size() == 1) return std::move(items.front());
        return std::make_unique<SequenceExpression>(0, std::move(items));
    }

private:
    ExpressionPtr expression(const xmlNode* element, const char* attributeName) {
        std::optional<std::string> text = attribute(element, attributeName);
        if (!text) {
            throw XPathError(ErrorCode::XPST0003, "xsl:" + std::string(view(element->name)) + " needs a '" +
                                                      attributeName + "' attribute");
        }
        return parseExpression(*text, context_, scope_);
    }

    // xsl:variable name= (select= | content) as=?; the following siblings are its scope.
    ExpressionPtr variable(const xmlNode* element) {
        ExpressionPtr value = variableValue(element);
        std::optional<std::string> name = attribute(element, "name");
        if (!name) throw XPathError(ErrorCode::XPST0003, "xsl:variable needs a name");
        const size_t mark = scope_.mark();
        const size_t slot = scope_.declare(ExpandedName{"", *name});
        ExpressionPtr body = sequenceConstructor(element->next);
        scope_.release(mark);
        return std::make_unique<LetExpression>(0, slot, std::move(value), std::move(body));
    }

    ExpressionPtr variableValue(const xmlNode* element) {
        const std::optional<std::string> as = attribute(element, "as");
        ExpressionPtr value;
        if (attribute(element, "select")) {
            value = expression(element, "select");
        } else if (element->children) {
            value = sequenceConstructor(element->children);
            if (!as) return std::make_unique<DocumentConstructor>(0, std::move(value));
        } else {
            value = as ? std::make_unique<SequenceExpression>(0, ExpressionList())
                       : ExpressionPtr(std::make_unique<LiteralExpression>(0, AtomicValue::fromString("")));
        }
        if (!as) return value;
        return std::make_unique<ConversionExpression>(0, std::move(value), parseSequenceType(*as, context_),
                                                      "the value of variable $" + attribute(element, "name").value_or(""));
    }

    ExpressionPtr instruction(const xmlNode* node) {
        switch (node->type) {
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE:
            if (isWhitespace(view(node->content))) return nullptr;
            return textNode(std::string(view(node->content)));
        case XML_ELEMENT_NODE: break;
        default: return nullptr;
        }
        if (isXslt(node, "sequence")) return expression(node, "select");
        if (isXslt(node, "value-of")) return valueOf(node);
        if (isXslt(node, "text")) return textNode(std::string(view(node->children ? node->children->content : nullptr)));
        if (isXslt(node, "if")) {
            return std::make_unique<IfExpression>(0, expression(node, "test"), sequenceConstructor(node->children),
                                                  std::make_unique<SequenceExpression>(0, ExpressionList()));
        }
        if (isXslt(node, "choose")) return choose(node->children);
        throw XPathError(ErrorCode::XPST0003, "the instruction <" + std::string(view(node->name)) +
                                                  "> is not supported in a function body");
    }

    static ExpressionPtr textNode(std::string text) {
        return std::make_unique<TextConstructor>(0, std::make_unique<LiteralExpression>(0, AtomicValue::fromString(std::move(text))), "");
    }

    // xsl:value-of select= separator=? | content
    ExpressionPtr valueOf(const xmlNode* element) {
        if (attribute(element, "select")) {
            return std::make_unique<TextConstructor>(0, expression(element, "select"),
                                                     attribute(element, "separator").value_or(" "));
        }
        return std::make_unique<TextConstructor>(0, sequenceConstructor(element->children),
                                                 attribute(element, "separator").value_or(""));
    }

    // xsl:choose ::= xsl:when+ xsl:otherwise?, compiled as nested conditionals.
    ExpressionPtr choose(const xmlNode* node) {
        for (; node; node = node->next) {
            if (isXslt(node, "when")) {
                ExpressionPtr test = expression(node, "test");
                ExpressionPtr body = sequenceConstructor(node->children);
                return std::make_unique<IfExpression>(0, std::move(test), std::move(body), choose(node->next));
            }
            if (isXslt(node, "otherwise")) return sequenceConstructor(node->children);
        }
        return std::make_unique<SequenceExpression>(0, ExpressionList());
    }

    const StaticContext& context_;
    LocalScope& scope_;
};

struct Declared {
    const xmlNode* element;
    std::string lexicalName;
    std::shared_ptr<UserFunctionBody> body;
};

// Adds the function's signature to the library, with an empty body to be compiled once
// every function is known.
Declared declare(const xmlNode* element, FunctionLibrary& library, const StaticContext& base) {
    const StaticContext context = contextAt(element, base);
    const std::string lexical = attribute(element, "name").value_or("");
    FunctionDefinition definition;
    definition.name = functionName(lexical, context);
    for (const xmlNode* child = element->children; child; child = child->next) {
        if (isXslt(child, "param")) definition.parameters.push_back(declaredType(child, context));
    }
    definition.result = declaredType(element, context);
    definition.user = std::make_shared<UserFunctionBody>();
    Declared declared{element, lexical, definition.user};
    library.add(std::move(definition));
    return declared;
}

void compileBody(const Declared& function, const StaticContext& base) {
    const StaticContext context = contextAt(function.element, base);
    LocalScope scope;
    const xmlNode* firstInstruction = nullptr;
    for (const xmlNode* child = function.element->children; child; child = child->next) {
        if (isXslt(child, "param")) {
            function.body->parameterSlots.push_back(scope.declare(ExpandedName{"", attribute(child, "name").value_or("")}));
            continue;
        }
        if (child->type == XML_ELEMENT_NODE || (child->type == XML_TEXT_NODE && !isWhitespace(view(child->content)))) {
            firstInstruction = child;
            break;
        }
    }
    BodyCompiler compiler(context, scope);
    function.body->body = compiler.sequenceConstructor(firstInstruction);
    function.body->frameSize = scope.frameSize();
}

}  // namespace

void compileXsltFunctions(const std::vector<const xmlNode*>& functions, FunctionLibrary& library,
                          const StaticContext& context) {
    std::vector<Declared> declared;
    for (const xmlNode* element : functions) declared.push_back(declare(element, library, context));
    for (const Declared& function : declared) {
        try {
            compileBody(function, context);
        } catch (const XPathError& error) {
            throw XPathError(error.code(), "in function " + function.lexicalName + ": " + error.description());
        }
    }
}

}  // namespace quillmark::xpath
