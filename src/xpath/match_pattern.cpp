#include "xpath/match_pattern.h"

#include "xpath/axes.h"
#include "xpath/error.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {

// What must hold of the node a step was taken from.
using OriginTest = std::function<bool(const xmlNode* origin)>;

Item itemOf(const xmlNode* node) { return Item(xml::Node(const_cast<xmlNode*>(node))); }

// ---- Which patterns are matched upwards -------------------------------------------

bool matchableStep(const AxisStep& step) {
    switch (step.axis()) {
    case Axis::Child:
    case Axis::Attribute:
    case Axis::Self:
        return true;
    case Axis::Descendant:
    case Axis::DescendantOrSelf:
        return !step.predicates().anyPositional();
    case Axis::FollowingSibling:
    case Axis::Following:
    case Axis::Parent:
    case Axis::Ancestor:
    case Axis::PrecedingSibling:
    case Axis::Preceding:
    case Axis::AncestorOrSelf:
        return false;
    }
    return false;
}

bool matchable(const Expression& expression) {
    if (const auto* step = dynamic_cast<const AxisStep*>(&expression)) return matchableStep(*step);
    if (dynamic_cast<const RootExpression*>(&expression)) return true;
    if (const auto* set = dynamic_cast<const SetExpression*>(&expression)) {
        return set->op() == SetOperator::Union && matchable(set->left()) && matchable(set->right());
    }
    if (const auto* path = dynamic_cast<const PathExpression*>(&expression)) {
        for (const ExpressionPtr& step : path->steps()) {
            if (!matchable(*step)) return false;
        }
        return true;
    }
    if (const auto* filter = dynamic_cast<const FilterExpression*>(&expression)) {
        return !filter->predicates().anyPositional() && matchable(filter->primary());
    }
    return false;
}

// ---- Keys -----------------------------------------------------------------------------

void collectKeys(const Expression& expression, std::vector<MatchKey>& keys) {
    if (const auto* step = dynamic_cast<const AxisStep*>(&expression)) {
        const NodeTest& test = step->test();
        switch (test.kind) {
        case ItemTypeKind::Element: keys.push_back({NodeKind::Element, test.localName}); return;
        case ItemTypeKind::Attribute: keys.push_back({NodeKind::Attribute, test.localName}); return;
        case ItemTypeKind::Text: keys.push_back({NodeKind::Text, std::nullopt}); return;
        case ItemTypeKind::Comment: keys.push_back({NodeKind::Comment, std::nullopt}); return;
        case ItemTypeKind::ProcessingInstruction: keys.push_back({NodeKind::ProcessingInstruction, test.localName}); return;
        case ItemTypeKind::Document: keys.push_back({NodeKind::Document, std::nullopt}); return;
        case ItemTypeKind::AnyItem:
        case ItemTypeKind::AnyNode:
        case ItemTypeKind::Atomic: keys.push_back({std::nullopt, std::nullopt}); return;
        }
    }
    if (dynamic_cast<const RootExpression*>(&expression)) {
        keys.push_back({NodeKind::Document, std::nullopt});
        return;
    }
    if (const auto* set = dynamic_cast<const SetExpression*>(&expression)) {
        collectKeys(set->left(), keys);
        collectKeys(set->right(), keys);
        return;
    }
    if (const auto* path = dynamic_cast<const PathExpression*>(&expression)) {
        collectKeys(*path->steps().back(), keys);
        return;
    }
    if (const auto* filter = dynamic_cast<const FilterExpression*>(&expression)) {
        collectKeys(filter->primary(), keys);
        return;
    }
    keys.push_back({std::nullopt, std::nullopt});
}

// ---- Matching upwards ---------------------------------------------------------------

class UpwardMatcher {
public:
    explicit UpwardMatcher(DynamicContext& context) : context_(context) {}

    // True when `node` is among what `expression` selects from some origin that passes
    // `origin`.
    bool match(const Expression& expression, const xmlNode* node, const OriginTest& origin) {
        if (const auto* step = dynamic_cast<const AxisStep*>(&expression)) return matchStep(*step, node, origin);
        if (dynamic_cast<const RootExpression*>(&expression)) return nodeKind(node) == NodeKind::Document;
        if (const auto* set = dynamic_cast<const SetExpression*>(&expression)) {
            return match(set->left(), node, origin) || match(set->right(), node, origin);
        }
        if (const auto* path = dynamic_cast<const PathExpression*>(&expression)) {
            return matchSteps(path->steps(), path->steps().size() - 1, node, origin);
        }
        const auto& filter = dynamic_cast<const FilterExpression&>(expression);
        return match(filter.primary(), node, origin) && filter.predicates().acceptsAlone(context_, itemOf(node));
    }

private:
    bool matchSteps(const ExpressionList& steps, size_t index, const xmlNode* node, const OriginTest& origin) {
        if (index == 0) return match(*steps[0], node, origin);
        return match(*steps[index], node,
                     [&](const xmlNode* from) { return matchSteps(steps, index - 1, from, origin); });
    }

    // True when the step taken from `from` selects `node`.
    bool selects(const AxisStep& step, const xmlNode* from, const xmlNode* node) {
        if (!step.test().matches(node)) return false;
        if (step.predicates().empty()) return true;
        if (!step.predicates().anyPositional()) return step.predicates().acceptsAlone(context_, itemOf(node));
        Sequence selected;
        step.collect(context_, from, selected);
        for (const Item& item : selected) {
            if (item.node().raw() == node) return true;
        }
        return false;
    }

    bool matchStep(const AxisStep& step, const xmlNode* node, const OriginTest& origin) {
        const bool isAttribute = nodeKind(node) == NodeKind::Attribute;
        switch (step.axis()) {
        case Axis::Child:
        case Axis::Attribute: {
            if (isAttribute != (step.axis() == Axis::Attribute)) return false;
            const xmlNode* parent = treeParent(node);
            return parent && selects(step, parent, node) && origin(parent);
        }
        case Axis::Self: return selects(step, node, node) && origin(node);
        case Axis::Descendant:
        case Axis::DescendantOrSelf: {
            if (isAttribute) return false;
            if (!selects(step, node, node)) return false;
            if (step.axis() == Axis::DescendantOrSelf && origin(node)) return true;
            for (const xmlNode* ancestor = treeParent(node); ancestor; ancestor = treeParent(ancestor)) {
                if (origin(ancestor)) return true;
            }
            return false;
        }
        case Axis::FollowingSibling:
        case Axis::Following:
        case Axis::Parent:
        case Axis::Ancestor:
        case Axis::PrecedingSibling:
        case Axis::Preceding:
        case Axis::AncestorOrSelf:
            return false;
        }
        return false;
    }

    DynamicContext& context_;
};

bool startsAtRoot(const Expression& expression) {
    if (dynamic_cast<const RootExpression*>(&expression)) return true;
    const auto* path = dynamic_cast<const PathExpression*>(&expression);
    return path && dynamic_cast<const RootExpression*>(path->steps().front().get());
}

}  // namespace

MatchPattern::MatchPattern(std::string_view text, const StaticContext& context) : expression_(text, context) {
    evaluatedWhole_ = !matchable(expression_.root());
    absolute_ = startsAtRoot(expression_.root());
    collectKeys(expression_.root(), keys_);
}

MatchPattern::~MatchPattern() = default;
MatchPattern::MatchPattern(MatchPattern&&) noexcept = default;
MatchPattern& MatchPattern::operator=(MatchPattern&&) noexcept = default;

bool MatchPattern::matches(const xmlNode* node, DynamicContext& context) const {
    if (evaluatedWhole_) return matchesByEvaluation(node, context);
    FrameScope frame(context, expression_.frameSize());
    UpwardMatcher matcher(context);
    return matcher.match(expression_.root(), node, [](const xmlNode*) { return true; });
}

// Evaluates the pattern from every node of the tree (once, from the root, when it starts
// there) and remembers what it selected for the rest of the document.
bool MatchPattern::matchesByEvaluation(const xmlNode* node, DynamicContext& context) const {
    auto& selections = context.patternSelections();
    const xmlNode* root = rootOf(node);
    const void* key = this;
    auto found = selections.find(key);
    if (found == selections.end() || !found->second.contains(root)) {
        std::unordered_set<const xmlNode*>& selected = selections[key];
        selected.clear();
        selected.insert(root);  // marks the tree as done
        auto evaluateFrom = [&](const xmlNode* origin) {
            const Item item = itemOf(origin);
            FocusScope focus(context, &item, 1, 1);
            for (const Item& result : expression_.evaluate(context)) {
                if (result.isNode() && result.node().raw() != root) selected.insert(result.node().raw());
                if (result.isNode() && result.node().raw() == root) selected.insert(nullptr);
            }
        };
        evaluateFrom(root);
        if (!absolute_) axes::descendants(root, [&](const xmlNode* origin) {
            evaluateFrom(origin);
            axes::attributes(origin, evaluateFrom);
        });
        found = selections.find(key);
    }
    if (node == root) return found->second.contains(nullptr);
    return found->second.contains(node);
}

}  // namespace quillmark::xpath
