#include "generate_invoice.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <vector>

namespace quillmark::bench {
namespace {

struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using DocPtr = std::unique_ptr<xmlDoc, DocFree>;

bool hasLocalName(const xmlNode* node, const char* localName) {
    return node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, reinterpret_cast<const xmlChar*>(localName));
}

// Element children with the local name (UBL names are unique across its namespaces).
std::vector<xmlNode*> childrenNamed(xmlNode* parent, const char* localName) {
    std::vector<xmlNode*> found;
    for (xmlNode* child = parent ? parent->children : nullptr; child; child = child->next) {
        if (hasLocalName(child, localName)) found.push_back(child);
    }
    return found;
}

xmlNode* childNamed(xmlNode* parent, const char* localName) {
    for (xmlNode* child = parent ? parent->children : nullptr; child; child = child->next) {
        if (hasLocalName(child, localName)) return child;
    }
    return nullptr;
}

// Follows a chain of child names; null as soon as one is missing.
xmlNode* descendant(xmlNode* node, std::initializer_list<const char*> path) {
    for (const char* name : path) node = childNamed(node, name);
    return node;
}

std::string textOf(const xmlNode* node) {
    xmlChar* content = node ? xmlNodeGetContent(node) : nullptr;
    std::string text = content ? reinterpret_cast<const char*>(content) : "";
    xmlFree(content);
    return text;
}

std::string attributeOf(xmlNode* node, const char* name) {
    xmlChar* value = node ? xmlGetProp(node, reinterpret_cast<const xmlChar*>(name)) : nullptr;
    std::string text = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return text;
}

std::optional<double> numberOf(const xmlNode* node) {
    if (!node) return std::nullopt;
    const std::string text = textOf(node);
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (end == text.c_str()) return std::nullopt;
    return number;
}

bool isZero(const xmlNode* node) { return !node || numberOf(node).value_or(0) == 0; }

std::string amountText(double amount) {
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", amount);
    return text;
}

void setText(xmlNode* node, const std::string& text) {
    xmlNodeSetContent(node, nullptr);
    xmlNodeAddContent(node, reinterpret_cast<const xmlChar*>(text.c_str()));
}

// The declaration in scope above `node` that `ns` repeats, else `ns` itself.
xmlNs* inheritedDeclaration(xmlNode* node, xmlNs* ns) {
    xmlNs* inherited = xmlSearchNs(node->doc, node->parent, ns->prefix);
    return inherited && xmlStrEqual(inherited->href, ns->href) ? inherited : ns;
}

void pointAtInherited(xmlNode* top, xmlNode* element) {
    if (element->ns) element->ns = inheritedDeclaration(top, element->ns);
    for (xmlAttr* attribute = element->properties; attribute; attribute = attribute->next) {
        if (attribute->ns) attribute->ns = inheritedDeclaration(top, attribute->ns);
    }
    for (xmlNode* child = element->children; child; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) pointAtInherited(top, child);
    }
}

// A copied subtree declares again every namespace it uses; once it is in place, its
// names are pointed at the declarations above it, and its own are dropped when unused.
void useInheritedNamespaces(xmlNode* copy) {
    xmlNs* declarations = copy->nsDef;
    if (!declarations) return;
    copy->nsDef = nullptr;  // so that the search finds the declarations above
    pointAtInherited(copy, copy);
    copy->nsDef = declarations;
    for (xmlNs* ns = declarations; ns; ns = ns->next) {
        if (inheritedDeclaration(copy, ns) == ns) return;  // still needed
    }
    copy->nsDef = nullptr;
    xmlFreeNsList(declarations);
}

// Collects the nodes whose values change and checks that the template fits.
class InvoiceGenerator {
public:
    InvoiceGenerator(xmlDoc* doc, std::string& error) : doc_(doc), root_(xmlDocGetRootElement(doc)), error_(error) {}

    bool generate(std::size_t lineCount) {
        if (!readTemplateLine() || !readTotals()) return false;
        writeLines(lineCount);
        writeTotals(static_cast<double>(lineCount) * lineNet_);
        return true;
    }

private:
    bool fail(const std::string& reason) {
        error_ = reason;
        return false;
    }

    bool readTemplateLine() {
        lines_ = childrenNamed(root_, "InvoiceLine");
        if (lines_.empty()) return fail("the template has no InvoiceLine");
        xmlNode* line = lines_.front();
        std::optional<double> net = numberOf(childNamed(line, "LineExtensionAmount"));
        xmlNode* category = descendant(line, {"Item", "ClassifiedTaxCategory"});
        std::optional<double> rate = numberOf(childNamed(category, "Percent"));
        if (!childNamed(line, "ID") || !net || !rate) {
            return fail("the template's first InvoiceLine lacks its ID, net amount or VAT rate");
        }
        lineNet_ = *net;
        rate_ = *rate;
        category_ = textOf(childNamed(category, "ID"));
        return true;
    }

    bool readTotals() {
        for (xmlNode* charge : childrenNamed(root_, "AllowanceCharge")) {
            if (!isZero(childNamed(charge, "Amount"))) return fail("the template has a non-zero document-level allowance or charge");
        }
        xmlNode* totals = childNamed(root_, "LegalMonetaryTotal");
        for (const char* zero : {"AllowanceTotalAmount", "ChargeTotalAmount", "PrepaidAmount", "PayableRoundingAmount"}) {
            if (!isZero(childNamed(totals, zero))) return fail(std::string("the template's ") + zero + " is not zero");
        }
        if (!collectTotals(totals, {"LineExtensionAmount", "TaxExclusiveAmount"}, netTotals_) ||
            !collectTotals(totals, {"TaxInclusiveAmount", "PayableAmount"}, grossTotals_)) {
            return false;
        }
        return readVatBreakdown();
    }

    bool collectTotals(xmlNode* totals, std::initializer_list<const char*> names, std::vector<xmlNode*>& into) {
        for (const char* name : names) {
            xmlNode* amount = childNamed(totals, name);
            if (!amount) return fail(std::string("the template lacks LegalMonetaryTotal/") + name);
            into.push_back(amount);
        }
        return true;
    }

    // The TaxTotal in the document currency and its subtotal for the line's category.
    bool readVatBreakdown() {
        const std::string currency = textOf(childNamed(root_, "DocumentCurrencyCode"));
        for (xmlNode* taxTotal : childrenNamed(root_, "TaxTotal")) {
            xmlNode* amount = childNamed(taxTotal, "TaxAmount");
            if (!amount || attributeOf(amount, "currencyID") != currency) continue;
            taxAmount_ = amount;
            for (xmlNode* subtotal : childrenNamed(taxTotal, "TaxSubtotal")) {
                xmlNode* category = childNamed(subtotal, "TaxCategory");
                if (textOf(childNamed(category, "ID")) != category_ ||
                    numberOf(childNamed(category, "Percent")) != rate_) {
                    continue;
                }
                subtotalTaxable_ = childNamed(subtotal, "TaxableAmount");
                subtotalTax_ = childNamed(subtotal, "TaxAmount");
            }
        }
        if (!taxAmount_ || !subtotalTaxable_ || !subtotalTax_) {
            return fail("the template has no VAT breakdown for the first line's category in the document currency");
        }
        return true;
    }

    // The lines go where the template's lines were: before whatever followed the last.
    void writeLines(std::size_t lineCount) {
        xmlNode* line = xmlCopyNode(lines_.front(), 1);
        xmlNode* following = lines_.back()->next;
        for (xmlNode* old : lines_) {
            xmlUnlinkNode(old);
            xmlFreeNode(old);
        }
        for (std::size_t id = 1; id <= lineCount; ++id) {
            xmlNode* copy = xmlDocCopyNode(line, doc_, 1);
            setText(childNamed(copy, "ID"), std::to_string(id));
            insertBefore(following, copy);
            xmlAddPrevSibling(copy, xmlNewDocText(doc_, reinterpret_cast<const xmlChar*>("\n\t")));
            useInheritedNamespaces(copy);
        }
        xmlFreeNode(line);
    }

    void insertBefore(xmlNode* following, xmlNode* node) {
        if (following) {
            xmlAddPrevSibling(following, node);
        } else {
            xmlAddChild(root_, node);
        }
    }

    void writeTotals(double net) {
        const double vat = std::round(net * rate_) / 100.0;
        for (xmlNode* amount : netTotals_) setText(amount, amountText(net));
        for (xmlNode* amount : grossTotals_) setText(amount, amountText(net + vat));
        setText(taxAmount_, amountText(vat));
        setText(subtotalTaxable_, amountText(net));
        setText(subtotalTax_, amountText(vat));
    }

    xmlDoc* doc_;
    xmlNode* root_;
    std::string& error_;
    std::vector<xmlNode*> lines_;
    double lineNet_ = 0;
    double rate_ = 0;
    std::string category_;
    std::vector<xmlNode*> netTotals_;
    std::vector<xmlNode*> grossTotals_;
    xmlNode* taxAmount_ = nullptr;
    xmlNode* subtotalTaxable_ = nullptr;
    xmlNode* subtotalTax_ = nullptr;
};

}  // namespace

std::string defaultInvoiceTemplate(const std::string& corpusDirectory) {
    return corpusDirectory + "/en16931/test/testfiles/Invoice-Max_content.xml";
}

std::optional<std::string> generateInvoice(std::size_t lineCount, const std::string& templatePath,
                                           std::string* error) {
    std::string reason;
    DocPtr doc(xmlReadFile(templatePath.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (!doc || !xmlDocGetRootElement(doc.get())) {
        reason = "cannot read the template " + templatePath;
    } else if (InvoiceGenerator(doc.get(), reason).generate(lineCount == 0 ? 1 : lineCount)) {
        xmlChar* bytes = nullptr;
        int size = 0;
        xmlDocDumpMemoryEnc(doc.get(), &bytes, &size, "UTF-8");
        std::string text(reinterpret_cast<const char*>(bytes), bytes ? static_cast<std::size_t>(size) : 0);
        xmlFree(bytes);
        return text;
    }
    if (error) *error = templatePath + ": " + reason;
    return std::nullopt;
}

bool writeInvoice(std::size_t lineCount, const std::string& templatePath, const std::string& outputPath,
                  std::string* error) {
    std::optional<std::string> text = generateInvoice(lineCount, templatePath, error);
    if (!text) return false;
    std::ofstream out(outputPath, std::ios::binary);
    out << *text;
    out.close();
    if (out) return true;
    if (error) *error = "cannot write " + outputPath;
    return false;
}

}  // namespace quillmark::bench
