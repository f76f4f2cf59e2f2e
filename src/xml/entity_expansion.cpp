#include "xml/entity_expansion.h"

#include <libxml/entities.h>

#include <fmt/format.h>

#include <map>
#include <set>
#include <string_view>
#include <vector>

#include "xml/libxml_support.h"

namespace quillmark::xml::detail {
namespace {

constexpr uint64_t kExpansionFactor = 10;
constexpr uint64_t kExpansionAllowance = 1 << 20;

class ExpansionMeter {
public:
    ExpansionMeter(xmlDoc* doc, uint64_t limit) : doc_(doc), limit_(limit) {}

    // Walks the tree (not into entity references) and adds up their expansions.
    EntityExpansion measure() {
        EntityExpansion result;
        std::vector<xmlNode*> pending{reinterpret_cast<xmlNode*>(doc_)};
        while (!pending.empty() && !refusal_) {
            xmlNode* node = pending.back();
            pending.pop_back();
            if (node->type == XML_ENTITY_REF_NODE) {
                result.hasReferences = true;
                addReference(node);
                continue;
            }
            if (node->type != XML_ELEMENT_NODE && node->type != XML_DOCUMENT_NODE &&
                node->type != XML_ATTRIBUTE_NODE)
                continue;
            for (xmlNode* child = node->children; child; child = child->next) pending.push_back(child);
            if (node->type != XML_ELEMENT_NODE) continue;
            for (xmlAttr* attribute = node->properties; attribute; attribute = attribute->next)
                pending.push_back(reinterpret_cast<xmlNode*>(attribute));
        }
        result.refusal = refusal_;
        return result;
    }

private:
    void addReference(xmlNode* reference) {
        xmlEntity* entity = xmlGetDocEntity(doc_, reference->name);
        total_ = saturatedSum(total_, entity ? sizeOf(entity) : 0);
        if (refusal_) {
            *refusal_ += fmt::format(" (line {})", xmlGetLineNo(reference));
            return;
        }
        if (total_ > limit_) {
            refusal_ = fmt::format("Entity references expand to more than {} bytes, the limit for this document (line {})",
                                   limit_, xmlGetLineNo(reference));
        }
    }

    uint64_t saturatedSum(uint64_t a, uint64_t b) const { return a + b > limit_ ? limit_ + 1 : a + b; }

    // Bytes of the entity's replacement text with its own references expanded.
    uint64_t sizeOf(xmlEntity* entity) {
        switch (entity->etype) {
            case XML_INTERNAL_PREDEFINED_ENTITY:
                return 1;
            case XML_INTERNAL_GENERAL_ENTITY:
                break;
            default:
                refusal_ = fmt::format("The document refers to the external entity '{}', which is never read",
                                       toString(entity->name));
                return limit_ + 1;
        }
        if (auto known = sizes_.find(entity); known != sizes_.end()) return known->second;
        // The parser rejects reference loops; this guard keeps odd trees finite.
        if (!active_.insert(entity).second) return limit_ + 1;
        const uint64_t size = sizeOfText(toString(entity->content));
        active_.erase(entity);
        sizes_[entity] = size;
        return size;
    }

    // Replacement text: character references are already resolved in it, and "&name;"
    // stands for a general entity.
    uint64_t sizeOfText(std::string_view text) {
        uint64_t size = 0;
        size_t at = 0;
        while (at < text.size() && !refusal_) {
            const size_t amp = text.find('&', at);
            if (amp == std::string_view::npos) return saturatedSum(size, text.size() - at);
            size = saturatedSum(size, amp - at);
            const size_t semicolon = text.find(';', amp);
            if (semicolon == std::string_view::npos) return saturatedSum(size, text.size() - amp);
            const std::string name(text.substr(amp + 1, semicolon - amp - 1));
            xmlEntity* entity = name.starts_with('#') ? nullptr : xmlGetDocEntity(doc_, toXmlChar(name));
            size = saturatedSum(size, entity ? sizeOf(entity) : semicolon - amp + 1);
            at = semicolon + 1;
        }
        return size;
    }

    xmlDoc* doc_;
    uint64_t limit_;
    uint64_t total_ = 0;
    std::map<xmlEntity*, uint64_t> sizes_;
    std::set<xmlEntity*> active_;
    std::optional<std::string> refusal_;
};

}  // namespace

uint64_t entityExpansionLimit(uint64_t inputSize) { return kExpansionAllowance + kExpansionFactor * inputSize; }

EntityExpansion measureEntityExpansion(xmlDoc* doc, uint64_t limit) {
    if (!doc || !doc->intSubset || !doc->intSubset->entities) return {};
    return ExpansionMeter(doc, limit).measure();
}

}  // namespace quillmark::xml::detail
