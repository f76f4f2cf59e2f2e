// Evaluation of paths: axis steps with their node tests and predicates, filter
// expressions, the root, path composition and the node-set operators.

#include <algorithm>
#include <unordered_set>

#include "xpath/axes.h"
#include "xpath/error.h"
#include "xpath/indexed_search.h"
#include "xpath/sequence_operations.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {

Item itemOf(const xmlNode* node) { return Item(xml::Node(const_cast<xmlNode*>(node))); }

// The context item as a node, or the error an axis step raises without one.
const xmlNode* contextNode(const DynamicContext& context) {
    if (!context.focus.item) throw XPathError(ErrorCode::XPDY0002, "the context item is absent in a path step");
    if (!context.focus.item->isNode()) {
        throw XPathError(ErrorCode::XPTY0020, "the context item of an axis step is not a node");
    }
    return context.focus.item->node().raw();
}

bool nameMatches(const NodeTest& test, const xmlNode* node) {
    if (test.localName && localNameOf(node) != *test.localName) return false;
    if (test.namespaceURI && namespaceOf(node) != *test.namespaceURI) return false;
    return true;
}

// A predicate whose value is one number selects by position.
bool acceptsItem(const Expression& predicate, DynamicContext& context) {
    if (predicate.yieldsBoolean()) return predicate.effectiveBooleanValue(context);
    return PredicateList::keeps(predicate.evaluate(context), [&context] { return context.focus.position; });
}

// A literal integer predicate ([1], [3]) picks one item without evaluating anything.
std::optional<int64_t> literalPosition(const Expression& predicate) {
    const auto* literal = expressionAs<LiteralExpression>(predicate);
    if (!literal || !isIntegerType(literal->value().type())) return std::nullopt;
    return literal->value().decimalValue().toInt64();
}

void applyOne(const Expression& predicate, DynamicContext& context, Sequence& items) {
    if (std::optional<int64_t> position = literalPosition(predicate)) {
        if (*position < 1 || static_cast<uint64_t>(*position) > items.size()) {
            items.clear();
            return;
        }
        Item kept = std::move(items[static_cast<size_t>(*position - 1)]);
        items.clear();
        items.push_back(std::move(kept));
        return;
    }
    Sequence kept;
    const size_t size = items.size();
    for (size_t index = 0; index < size; ++index) {
        context.budget().charge();
        FocusScope focus(context, &items[index], index + 1, size);
        if (acceptsItem(predicate, context)) kept.push_back(items[index]);
    }
    items = std::move(kept);
}

const char* setOperatorName(SetOperator op) {
    switch (op) {
    case SetOperator::Union: return "union";
    case SetOperator::Intersect: return "intersect";
    case SetOperator::Except: return "except";
    }
    return "";
}

void requireNodes(const Sequence& items, SetOperator op) {
    for (const Item& item : items) {
        if (!item.isNode()) {
            throw XPathError(ErrorCode::XPTY0004, std::string("the operands of ") + setOperatorName(op) + " must be nodes");
        }
    }
}

}  // namespace

bool isReverseAxis(Axis axis) {
    switch (axis) {
    case Axis::Parent:
    case Axis::Ancestor:
    case Axis::AncestorOrSelf:
    case Axis::Preceding:
    case Axis::PrecedingSibling:
        return true;
    case Axis::DescendantOrSelfAttribute:
    case Axis::Child:
    case Axis::Descendant:
    case Axis::Attribute:
    case Axis::Self:
    case Axis::DescendantOrSelf:
    case Axis::FollowingSibling:
    case Axis::Following:
        return false;
    }
    return false;
}

bool NodeTest::matches(const xmlNode* node) const {
    const NodeKind actual = nodeKind(node);
    switch (kind) {
    case ItemTypeKind::AnyItem:
    case ItemTypeKind::AnyNode: return true;
    case ItemTypeKind::Element: return actual == NodeKind::Element && nameMatches(*this, node);
    case ItemTypeKind::Attribute: return actual == NodeKind::Attribute && nameMatches(*this, node);
    case ItemTypeKind::Text: return actual == NodeKind::Text;
    case ItemTypeKind::Comment: return actual == NodeKind::Comment;
    case ItemTypeKind::ProcessingInstruction:
        return actual == NodeKind::ProcessingInstruction && (!localName || localNameOf(node) == *localName);
    case ItemTypeKind::Document: {
        if (actual != NodeKind::Document) return false;
        if (!localName) return true;
        ItemType type{ItemTypeKind::Document, AtomicType::AnyAtomicType, namespaceURI, localName, true};
        return type.matches(itemOf(node));
    }
    case ItemTypeKind::Atomic: return false;
    }
    return false;
}

// ---- Predicates -----------------------------------------------------------------

void PredicateList::apply(DynamicContext& context, Sequence& items) const {
    for (const ExpressionPtr& predicate : predicates_) {
        if (items.empty()) return;
        applyOne(*predicate, context, items);
    }
}

PredicateList::PredicateList(ExpressionList predicates) : predicates_(std::move(predicates)) {
    for (const ExpressionPtr& predicate : predicates_) {
        if (selectsByPosition(*predicate)) anyPositional_ = true;
    }
}

bool PredicateList::selectsByPosition(const Expression& predicate) {
    return !(predicate.yieldsBoolean() || predicate.yieldsNodesOnly()) || predicate.usesPosition();
}

bool PredicateList::keeps(const Sequence& value, const std::function<size_t()>& position) {
    if (value.size() != 1 || !value.front().isAtomic() || !isNumericType(value.front().atomic().type())) {
        return effectiveBooleanValue(value);
    }
    const AtomicValue& number = value.front().atomic();
    const size_t place = position();
    if (number.type() == AtomicType::Double) return number.doubleValue() == static_cast<double>(place);
    if (number.type() == AtomicType::Float) return number.floatValue() == static_cast<float>(place);
    return number.decimalValue() == Decimal::fromInt64(static_cast<int64_t>(place));
}

bool PredicateList::acceptsAlone(DynamicContext& context, const Item& item) const {
    FocusScope focus(context, &item, 1, 1);
    for (const ExpressionPtr& predicate : predicates_) {
        if (!acceptsItem(*predicate, context)) return false;
    }
    return true;
}

// ---- Axis steps -----------------------------------------------------------------

// Calls `visit` for each node of the axis from `origin` that passes the node test, in
// axis order, until it returns false. A named search of a whole document (descendant
// elements or attributes from the document node) reads the document's name index.
template <typename Visit>
void walkAxis(DynamicContext& context, Axis axis, const NodeTest& test, const xmlNode* origin, Visit&& visit) {
    EvaluationBudget& budget = context.budget();
    bool going = true;
    auto offer = [&](const xmlNode* node) {
        if (!going) return;
        budget.charge();
        if (test.matches(node)) going = visit(node);
    };
    const bool fromDocument = nodeKind(origin) == NodeKind::Document && test.localName;
    switch (axis) {
    case Axis::Child: axes::children(origin, offer); return;
    case Axis::Descendant:
        if (fromDocument) {
            const auto& elements = context.documentOrder().names(origin).elements;
            if (auto found = elements.find(*test.localName); found != elements.end()) {
                for (const xmlNode* node : found->second) offer(node);
            }
            return;
        }
        axes::descendants(origin, offer);
        return;
    case Axis::DescendantOrSelfAttribute:
        if (fromDocument) {
            const auto& attributes = context.documentOrder().names(origin).attributes;
            if (auto found = attributes.find(*test.localName); found != attributes.end()) {
                for (const xmlNode* node : found->second) offer(node);
            }
            return;
        }
        axes::attributes(origin, offer);
        axes::descendants(origin, [&](const xmlNode* node) { axes::attributes(node, offer); });
        return;
    case Axis::Attribute: axes::attributes(origin, offer); return;
    case Axis::Self: offer(origin); return;
    case Axis::DescendantOrSelf:
        offer(origin);
        axes::descendants(origin, offer);
        return;
    case Axis::FollowingSibling: axes::followingSiblings(origin, offer); return;
    case Axis::Following: axes::following(origin, offer); return;
    case Axis::Parent:
        if (const xmlNode* parent = treeParent(origin)) offer(parent);
        return;
    case Axis::Ancestor: axes::ancestors(origin, offer); return;
    case Axis::AncestorOrSelf:
        offer(origin);
        axes::ancestors(origin, offer);
        return;
    case Axis::PrecedingSibling: axes::precedingSiblings(origin, offer); return;
    case Axis::Preceding: axes::preceding(origin, offer); return;
    }
}

Sequence AxisStep::evaluate(DynamicContext& context) const {
    Sequence result;
    collect(context, contextNode(context), result);
    return result;
}

void AxisStep::collect(DynamicContext& context, const xmlNode* origin, Sequence& into) const {
    const size_t start = into.size();
    walkAxis(context, axis_, test_, origin, [&](const xmlNode* node) {
        into.push_back(itemOf(node));
        return true;
    });
    if (!predicates_.empty()) {
        Sequence selected(std::make_move_iterator(into.begin() + static_cast<std::ptrdiff_t>(start)),
                          std::make_move_iterator(into.end()));
        into.erase(into.begin() + static_cast<std::ptrdiff_t>(start), into.end());
        predicates_.apply(context, selected);
        into.insert(into.end(), std::make_move_iterator(selected.begin()), std::make_move_iterator(selected.end()));
    }
    if (isReverseAxis(axis_)) std::reverse(into.begin() + static_cast<std::ptrdiff_t>(start), into.end());
}

bool AxisStep::selectsAny(DynamicContext& context, const xmlNode* origin) const {
    if (predicates_.anyPositional()) {
        Sequence selected;
        collect(context, origin, selected);
        return !selected.empty();
    }
    bool found = false;
    walkAxis(context, axis_, test_, origin, [&](const xmlNode* node) {
        found = predicates_.acceptsAlone(context, itemOf(node));
        return !found;
    });
    return found;
}

bool AxisStep::isNonEmpty(DynamicContext& context) const { return selectsAny(context, contextNode(context)); }

// ---- Filters, root, paths ---------------------------------------------------------

Sequence FilterExpression::evaluate(DynamicContext& context) const {
    Sequence items = primary_->evaluate(context);
    predicates_.apply(context, items);
    return items;
}

Sequence RootExpression::evaluate(DynamicContext& context) const {
    const xmlNode* root = rootOf(contextNode(context));
    if (nodeKind(root) != NodeKind::Document) {
        throw XPathError(ErrorCode::XPDY0050, "the root of the context node is not a document node");
    }
    return Sequence{itemOf(root)};
}

PathExpression::PathExpression(size_t offset, ExpressionList steps)
    : Expression(offset, kKind), steps_(std::move(steps)) {
    indexSearchable_ = isIndexSearchable(*this);
}

bool PathExpression::yieldsNodesOnly() const { return steps_.back()->yieldsNodesOnly(); }

// Evaluates all but the last step, then looks for one node the last step selects.
bool PathExpression::isNonEmpty(DynamicContext& context) const {
    if (indexSearchable_) {
        if (std::optional<Sequence> found = searchByIndex(*this, context, true)) return !found->empty();
    }
    const auto* last = expressionAs<AxisStep>(*steps_.back());
    if (!last) return !evaluate(context).empty();
    Sequence origins = steps_.front()->evaluate(context);
    for (size_t index = 1; index + 1 < steps_.size(); ++index) origins = applyStep(context, *steps_[index], origins);
    const size_t size = origins.size();
    for (size_t position = 0; position < size; ++position) {
        const Item& item = origins[position];
        if (!item.isNode()) throw XPathError(ErrorCode::XPTY0019, "a path step was applied to an atomic value");
        FocusScope focus(context, &item, position + 1, size);
        if (last->selectsAny(context, item.node().raw())) return true;
    }
    return false;
}

Sequence PathExpression::evaluate(DynamicContext& context) const {
    if (indexSearchable_) {
        if (std::optional<Sequence> found = searchByIndex(*this, context, false)) return std::move(*found);
    }
    Sequence current = steps_.front()->evaluate(context);
    for (size_t index = 1; index < steps_.size(); ++index) current = applyStep(context, *steps_[index], current);
    return current;
}

// E1/E2 for one step: E2 evaluated with each node of E1 as context; nodes come out in
// document order without duplicates, atomic values in the order made.
Sequence PathExpression::applyStep(DynamicContext& context, const Expression& step, const Sequence& current) {
    const auto* axisStep = expressionAs<AxisStep>(step);
    Sequence next;
    bool sawNode = false;
    bool sawAtomic = false;
    const size_t size = current.size();
    for (size_t position = 0; position < size; ++position) {
        const Item& item = current[position];
        if (!item.isNode()) throw XPathError(ErrorCode::XPTY0019, "a path step was applied to an atomic value");
        FocusScope focus(context, &item, position + 1, size);
        if (axisStep) {
            axisStep->collect(context, item.node().raw(), next);
            continue;
        }
        for (Item& result : step.evaluate(context)) {
            (result.isNode() ? sawNode : sawAtomic) = true;
            next.push_back(std::move(result));
        }
    }
    if (sawNode && sawAtomic) throw XPathError(ErrorCode::XPTY0018, "a path step yielded both nodes and atomic values");
    // One node's axis step is already in document order; anything else may not be.
    if (!sawAtomic && (size > 1 || !axisStep)) context.documentOrder().sortAndDeduplicate(next);
    return next;
}

bool SetExpression::isNonEmpty(DynamicContext& context) const {
    if (op_ == SetOperator::Union) return left_->isNonEmpty(context) || right_->isNonEmpty(context);
    return !evaluate(context).empty();
}

Sequence SetExpression::evaluate(DynamicContext& context) const {
    Sequence left = left_->evaluate(context);
    Sequence right = right_->evaluate(context);
    requireNodes(left, op_);
    requireNodes(right, op_);
    DocumentOrder& order = context.documentOrder();
    if (op_ == SetOperator::Union) {
        left.insert(left.end(), right.begin(), right.end());
        order.sortAndDeduplicate(left);
        return left;
    }
    std::unordered_set<const xmlNode*> inRight;
    for (const Item& item : right) inRight.insert(item.node().raw());
    const bool keepShared = op_ == SetOperator::Intersect;
    Sequence result;
    for (const Item& item : left) {
        if (inRight.contains(item.node().raw()) == keepShared) result.push_back(item);
    }
    order.sortAndDeduplicate(result);
    return result;
}

}  // namespace quillmark::xpath
