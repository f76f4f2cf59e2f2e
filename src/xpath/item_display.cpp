#include "xpath/item_display.h"

#include "xpath/node_access.h"

namespace quillmark::xpath {
namespace {

bool isQuotedType(AtomicType type) {
    return derivesFrom(type, AtomicType::String) || type == AtomicType::UntypedAtomic || type == AtomicType::AnyURI;
}

std::string describeNode(const xmlNode* node) {
    switch (nodeKind(node)) {
    case NodeKind::Document: return "document";
    case NodeKind::Element: return "element " + qualifiedNameOf(node);
    case NodeKind::Attribute: return "attribute " + qualifiedNameOf(node) + " " + quoteText(stringValueOf(node));
    case NodeKind::Text: return "text " + quoteText(stringValueOf(node));
    case NodeKind::Comment: return "comment " + quoteText(stringValueOf(node));
    case NodeKind::ProcessingInstruction: return "processing-instruction " + qualifiedNameOf(node);
    case NodeKind::Other: return "node";
    }
    return "node";
}

}  // namespace

std::string quoteText(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

std::string describeItem(const Item& item) {
    if (item.isNode()) return describeNode(item.node().raw());
    const AtomicValue& value = item.atomic();
    const std::string text = value.toString();
    return atomicTypeName(value.type()) + " " + (isQuotedType(value.type()) ? quoteText(text) : text);
}

std::vector<std::string> describeSequence(const Sequence& sequence) {
    if (sequence.empty()) return {"empty-sequence()"};
    if (sequence.size() == 1) return {describeItem(sequence.front())};
    std::vector<std::string> lines{"sequence " + std::to_string(sequence.size())};
    for (const Item& item : sequence) lines.push_back("  " + describeItem(item));
    return lines;
}

}  // namespace quillmark::xpath
