#include "xpath/upward_matcher.h"

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
