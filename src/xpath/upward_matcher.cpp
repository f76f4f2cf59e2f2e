#include "xpath/upward_matcher.h"

#include <optional>

#include "xpath/axes.h"
#include "xpath/node_access.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {

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
    case Axis::DescendantOrSelfAttribute:
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

}  // namespace

// ---- A node's place among what a step selects -------------------------------------

// Where a node stands among the nodes a step selects from `from` before its predicates
// (its siblings that pass the step's node test): the focus position and size its
// predicates see. Each is counted on first use, walking only the node's siblings.
class StepPlace {
public:
    StepPlace(DynamicContext& context, const AxisStep& step, const xmlNode* from, const xmlNode* node);
    size_t position();
    size_t size();

private:
    enum class Side { Before, After };
    size_t countPassing(Side side);

    DynamicContext& context_;
    const AxisStep& step_;
    const xmlNode* from_;
    const xmlNode* node_;
    std::optional<size_t> position_;
    std::optional<size_t> size_;
};

StepPlace::StepPlace(DynamicContext& context, const AxisStep& step, const xmlNode* from, const xmlNode* node)
    : context_(context), step_(step), from_(from), node_(node) {}

size_t StepPlace::position() {
    if (!position_) position_ = from_ == node_ ? 1 : 1 + countPassing(Side::Before);
    return *position_;
}

size_t StepPlace::size() {
    if (!size_) size_ = from_ == node_ ? 1 : position() + countPassing(Side::After);
    return *size_;
}

// The nodes of the step's axis on one side of the node that pass the step's node test:
// siblings for a child step, the owner's other attributes for an attribute step.
size_t StepPlace::countPassing(Side side) {
    size_t count = 0;
    auto offer = [&](const xmlNode* sibling) {
        context_.budget().charge();
        if (step_.test().matches(sibling)) ++count;
    };
    if (nodeKind(node_) != NodeKind::Attribute) {
        switch (side) {
        case Side::Before: axes::precedingSiblings(node_, offer); break;
        case Side::After: axes::followingSiblings(node_, offer); break;
        }
        return count;
    }
    bool before = true;
    axes::attributes(from_, [&](const xmlNode* attribute) {
        if (attribute == node_) {
            before = false;
            return;
        }
        if (before == (side == Side::Before)) offer(attribute);
    });
    return count;
}

bool isUpwardMatchable(const Expression& expression) {
    if (const auto* step = expressionAs<AxisStep>(expression)) return matchableStep(*step);
    if (expressionAs<RootExpression>(expression)) return true;
    if (const auto* set = expressionAs<SetExpression>(expression)) {
        return set->op() == SetOperator::Union && isUpwardMatchable(set->left()) && isUpwardMatchable(set->right());
    }
    if (const auto* path = expressionAs<PathExpression>(expression)) {
        for (const ExpressionPtr& step : path->steps()) {
            if (!isUpwardMatchable(*step)) return false;
        }
        return true;
    }
    if (const auto* filter = expressionAs<FilterExpression>(expression)) {
        return !filter->predicates().anyPositional() && isUpwardMatchable(filter->primary());
    }
    return false;
}

bool UpwardMatcher::match(const Expression& expression, const xmlNode* node, const OriginTest& origin) {
    return matchExpression(expression, node, origin, true);
}

// `leading`: the expression starts the whole path (its first step or a branch of it).
bool UpwardMatcher::matchExpression(const Expression& expression, const xmlNode* node, const OriginTest& origin,
                                    bool leading) {
    if (const auto* step = expressionAs<AxisStep>(expression)) {
        if (leading && readsAsDocumentNode(*step)) return matchDocumentNode(*step, node, origin);
        return matchStep(*step, node, origin);
    }
    if (expressionAs<RootExpression>(expression)) return nodeKind(node) == NodeKind::Document;
    if (const auto* set = expressionAs<SetExpression>(expression)) {
        return matchExpression(set->left(), node, origin, leading) || matchExpression(set->right(), node, origin, leading);
    }
    if (const auto* path = expressionAs<PathExpression>(expression)) {
        return matchSteps(path->steps(), path->steps().size() - 1, node, origin, leading);
    }
    const auto& filter = *expressionAs<FilterExpression>(expression);
    return matchExpression(filter.primary(), node, origin, leading) &&
           filter.predicates().acceptsAlone(context_, itemOf(node));
}

bool UpwardMatcher::matchSteps(const ExpressionList& steps, size_t index, const xmlNode* node, const OriginTest& origin,
                               bool leading) {
    if (index == 0) return matchExpression(*steps[0], node, origin, leading);
    return matchExpression(
        *steps[index], node, [&](const xmlNode* from) { return matchSteps(steps, index - 1, from, origin, leading); },
        false);
}

bool UpwardMatcher::readsAsDocumentNode(const AxisStep& step) const {
    switch (reading_) {
    case StepReading::Expression: return false;
    case StepReading::Pattern: return step.axis() == Axis::Child && step.test().kind == ItemTypeKind::Document;
    }
    return false;
}

// The step selects the document node alone: its predicates see position 1 of 1.
bool UpwardMatcher::matchDocumentNode(const AxisStep& step, const xmlNode* node, const OriginTest& origin) {
    return step.test().matches(node) && step.predicates().acceptsAlone(context_, itemOf(node)) && origin(node);
}

// True when the step taken from `from` selects `node`.
bool UpwardMatcher::selects(const AxisStep& step, const xmlNode* from, const xmlNode* node) {
    if (!step.test().matches(node)) return false;
    if (step.predicates().empty()) return true;
    if (!step.predicates().anyPositional()) return step.predicates().acceptsAlone(context_, itemOf(node));
    return acceptsInPlace(step, from, node);
}

// Predicates that may select by position, evaluated for `node` alone (as the reference
// processor does): the first one sees the node's place among what the step selects from
// `from` before any predicate. A later one counts among the nodes the earlier predicates
// kept, so then the step is evaluated from `from` after all.
bool UpwardMatcher::acceptsInPlace(const AxisStep& step, const xmlNode* from, const xmlNode* node) {
    const Item item = itemOf(node);
    StepPlace place(context_, step, from, node);
    const ExpressionList& predicates = step.predicates().expressions();
    for (size_t index = 0; index < predicates.size(); ++index) {
        const Expression& predicate = *predicates[index];
        if (index > 0 && PredicateList::selectsByPosition(predicate)) return selectedFrom(step, from, node);
        if (!accepts(predicate, item, place)) return false;
    }
    return true;
}

// The focus is set from the node's place only when the predicate reads it; a number it
// yields otherwise is compared with the position, counted then.
bool UpwardMatcher::accepts(const Expression& predicate, const Item& item, StepPlace& place) {
    const bool readsFocus = predicate.usesPosition();
    FocusScope focus(context_, &item, readsFocus ? place.position() : 1, readsFocus ? place.size() : 1);
    if (predicate.yieldsBoolean()) return predicate.effectiveBooleanValue(context_);
    return PredicateList::keeps(predicate.evaluate(context_), [&place] { return place.position(); });
}

bool UpwardMatcher::selectedFrom(const AxisStep& step, const xmlNode* from, const xmlNode* node) {
    Sequence selected;
    step.collect(context_, from, selected);
    for (const Item& item : selected) {
        if (item.node().raw() == node) return true;
    }
    return false;
}

bool UpwardMatcher::matchStep(const AxisStep& step, const xmlNode* node, const OriginTest& origin) {
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
    case Axis::DescendantOrSelfAttribute: {
        if (!isAttribute || !selects(step, node, node)) return false;
        for (const xmlNode* owner = treeParent(node); owner; owner = treeParent(owner)) {
            if (origin(owner)) return true;
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

}  // namespace quillmark::xpath
