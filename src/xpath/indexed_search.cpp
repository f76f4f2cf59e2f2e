#include "xpath/indexed_search.h"

#include <algorithm>

#include "xpath/node_access.h"
#include "xpath/syntax_tree.h"
#include "xpath/upward_matcher.h"

namespace quillmark::xpath {
namespace {

const AxisStep* namedLastStep(const PathExpression& path) {
    const auto* last = expressionAs<AxisStep>(*path.steps().back());
    if (!last || !last->test().nameTest || !last->test().localName) return nullptr;
    switch (last->axis()) {
    case Axis::Child:
    case Axis::Descendant:
    case Axis::Attribute:
    case Axis::DescendantOrSelfAttribute:
        return last;
    case Axis::Self:
    case Axis::DescendantOrSelf:
    case Axis::FollowingSibling:
    case Axis::Following:
    case Axis::Parent:
    case Axis::Ancestor:
    case Axis::PrecedingSibling:
    case Axis::Preceding:
    case Axis::AncestorOrSelf:
        return nullptr;
    }
    return nullptr;
}

bool startsAtRoot(const PathExpression& path) {
    return expressionAs<RootExpression>(*path.steps().front()) != nullptr;
}

}  // namespace

bool isIndexSearchable(const PathExpression& path) { return namedLastStep(path) && isUpwardMatchable(path); }

std::optional<Sequence> searchByIndex(const PathExpression& path, DynamicContext& context, bool firstOnly) {
    if (!context.focus.item || !context.focus.item->isNode()) return std::nullopt;
    const xmlNode* origin = context.focus.item->node().raw();
    const NodeKind originKind = nodeKind(origin);
    if (originKind != NodeKind::Element && originKind != NodeKind::Document) return std::nullopt;
    const xmlNode* root = rootOf(origin);
    if (nodeKind(root) != NodeKind::Document) return std::nullopt;

    const AxisStep& last = *namedLastStep(path);
    DocumentOrder& order = context.documentOrder();
    const NameIndex& names = order.names(root);
    const bool attributes = last.axis() == Axis::Attribute || last.axis() == Axis::DescendantOrSelfAttribute;
    const auto& byName = attributes ? names.attributes : names.elements;
    Sequence result;
    auto found = byName.find(*last.test().localName);
    if (found == byName.end()) return result;
    const std::vector<const xmlNode*>& candidates = found->second;

    // A relative path selects only nodes inside the context node's subtree.
    auto begin = candidates.begin();
    auto end = candidates.end();
    const bool absolute = startsAtRoot(path);
    if (!absolute) {
        const uint64_t first = order.key(origin);
        const uint64_t lastKey = order.subtreeEnd(origin);
        auto byKey = [&order](const xmlNode* node, uint64_t key) { return order.key(node) < key; };
        begin = std::lower_bound(candidates.begin(), candidates.end(), first + 1, byKey);
        end = std::lower_bound(begin, candidates.end(), lastKey + 1, byKey);
    }
    UpwardMatcher matcher(context);
    const OriginTest fromOrigin = [absolute, origin](const xmlNode* from) { return absolute || from == origin; };
    for (auto candidate = begin; candidate != end; ++candidate) {
        context.budget().charge();
        if (!matcher.match(path, *candidate, fromOrigin)) continue;
        result.emplace_back(xml::Node(const_cast<xmlNode*>(*candidate)));
        if (firstOnly) break;
    }
    return result;
}

}  // namespace quillmark::xpath
