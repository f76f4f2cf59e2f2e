#include "xml/xpath_functions.h"

#include <libxml/xpathInternals.h>

#include <cmath>
#include <string>

#include "quillmark/regex.h"
#include "quillmark/unicode.h"
#include "xml/libxml_support.h"

namespace quillmark::xml::detail {
namespace {

// Arguments arrive on libxml2's value stack, the last one on top.

std::string popString(xmlXPathParserContext* ctxt) {
    XmlString text(xmlXPathPopString(ctxt));
    return toString(text.get());
}

void pushString(xmlXPathParserContext* ctxt, const std::string& text) {
    valuePush(ctxt, xmlXPathNewString(toXmlChar(text)));
}

bool checkArity(xmlXPathParserContext* ctxt, int nargs, int minimum, int maximum) {
    if (nargs >= minimum && nargs <= maximum) return true;
    xmlXPathErr(ctxt, XPATH_INVALID_ARITY);
    return false;
}

bool isNonEmpty(const xmlXPathObject* value) {
    if (!value) return false;
    switch (value->type) {
        case XPATH_NODESET:
        case XPATH_XSLT_TREE:
            return value->nodesetval && value->nodesetval->nodeNr > 0;
        default:
            return true;  // a single string, number or boolean is one item
    }
}

void upperCase(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 1, 1)) return;
    pushString(ctxt, unicode::upperCase(popString(ctxt)));
}

void lowerCase(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 1, 1)) return;
    pushString(ctxt, unicode::lowerCase(popString(ctxt)));
}

void existsOrEmpty(xmlXPathParserContext* ctxt, int nargs, bool wantExists) {
    if (!checkArity(ctxt, nargs, 1, 1)) return;
    xmlXPathObject* value = valuePop(ctxt);
    const bool nonEmpty = isNonEmpty(value);
    xmlXPathFreeObject(value);
    valuePush(ctxt, xmlXPathNewBoolean(nonEmpty == wantExists));
}

void exists(xmlXPathParserContext* ctxt, int nargs) { existsOrEmpty(ctxt, nargs, true); }
void empty(xmlXPathParserContext* ctxt, int nargs) { existsOrEmpty(ctxt, nargs, false); }

void endsWith(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 2, 2)) return;
    const std::string suffix = popString(ctxt);
    const std::string text = popString(ctxt);
    valuePush(ctxt, xmlXPathNewBoolean(!suffix.empty() && text.ends_with(suffix)));
}

void absoluteValue(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 1, 1)) return;
    valuePush(ctxt, xmlXPathNewFloat(std::fabs(xmlXPathPopNumber(ctxt))));
}

// string-join(items, separator): the string values of a node-set's nodes in document
// order; any other first argument is a single item.
void stringJoin(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 1, 2)) return;
    const std::string separator = nargs == 2 ? popString(ctxt) : std::string();
    xmlXPathObject* items = valuePop(ctxt);
    std::string joined;
    if (items && items->type == XPATH_NODESET) {
        const xmlNodeSet* nodes = items->nodesetval;
        for (int i = 0; nodes && i < nodes->nodeNr; ++i) {
            if (i > 0) joined += separator;
            XmlString text(xmlXPathCastNodeToString(nodes->nodeTab[i]));
            joined += toString(text.get());
        }
    } else if (items) {
        XmlString text(xmlXPathCastToString(items));
        joined = toString(text.get());
    }
    xmlXPathFreeObject(items);
    pushString(ctxt, joined);
}

// matches(s, pattern[, flags]): flags are not supported by the rule sets' engine and
// are ignored; an empty s matches without the pattern being compiled.
void matches(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 2, 3)) return;
    if (nargs == 3) xmlXPathFreeObject(valuePop(ctxt));
    const std::string pattern = popString(ctxt);
    const std::string text = popString(ctxt);
    if (text.empty()) {
        valuePush(ctxt, xmlXPathNewBoolean(1));
        return;
    }
    auto regex = Regex::compile(pattern);
    valuePush(ctxt, xmlXPathNewBoolean(regex && regex->find(text)));
}

// replace(s, pattern, template[, flags]); a pattern that does not compile leaves s as it is.
void replace(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 3, 4)) return;
    if (nargs == 4) xmlXPathFreeObject(valuePop(ctxt));
    const std::string replacement = popString(ctxt);
    const std::string pattern = popString(ctxt);
    const std::string text = popString(ctxt);
    auto regex = Regex::compile(pattern);
    pushString(ctxt, regex ? regex->replaceAll(text, replacement) : text);
}

void castToDecimal(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 1, 1)) return;
    valuePush(ctxt, xmlXPathNewFloat(xmlXPathPopNumber(ctxt)));
}

void castToInteger(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 1, 1)) return;
    valuePush(ctxt, xmlXPathNewFloat(std::trunc(xmlXPathPopNumber(ctxt))));
}

void castToString(xmlXPathParserContext* ctxt, int nargs) {
    if (!checkArity(ctxt, nargs, 1, 1)) return;
    pushString(ctxt, popString(ctxt));
}

}  // namespace

void registerExtensionFunctions(xmlXPathContext* context) {
    struct Entry {
        const char* name;
        xmlXPathFunction function;
    };
    static constexpr Entry kFunctions[] = {
        {"upper-case", upperCase}, {"lower-case", lowerCase},   {"exists", exists},
        {"empty", empty},          {"ends-with", endsWith},      {"abs", absoluteValue},
        {"string-join", stringJoin}, {"matches", matches},     {"replace", replace},
    };
    static constexpr Entry kCasts[] = {
        {"decimal", castToDecimal}, {"integer", castToInteger}, {"string", castToString}, {"date", castToString},
    };
    for (const Entry& entry : kFunctions) xmlXPathRegisterFunc(context, BAD_CAST entry.name, entry.function);
    for (const Entry& entry : kCasts) {
        xmlXPathRegisterFuncNS(context, BAD_CAST entry.name, BAD_CAST kXMLSchemaNamespace, entry.function);
    }
    xmlXPathRegisterNs(context, BAD_CAST "xs", BAD_CAST kXMLSchemaNamespace);
}

}  // namespace quillmark::xml::detail
