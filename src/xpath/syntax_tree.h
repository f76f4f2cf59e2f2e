#pragma once
// The compiled form of an expression: a tree of typed nodes, each able to evaluate
// itself against a dynamic context. Names are resolved when the tree is built:
// prefixes to namespace URIs, function names to definitions, variables to slots.
// How each kind evaluates lives in the eval_*.cpp file of its concern.

#include <libxml/tree.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "xpath/atomic_operations.h"
#include "xpath/atomic_value.h"
#include "xpath/dynamic_context.h"
#include "xpath/function_library.h"
#include "xpath/item.h"
#include "xpath/sequence_type.h"

namespace quillmark::xpath {

// The kinds that the parser, the path evaluation and the matchers look at; every other
// kind is Other.
enum class ExpressionKind { Other, Literal, AxisStep, Root, Path, Set, Filter };

class Expression {
public:
    explicit Expression(size_t offset, ExpressionKind kind = ExpressionKind::Other) : offset_(offset), kind_(kind) {}
    virtual ~Expression() = default;
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    virtual Sequence evaluate(DynamicContext& context) const = 0;
    // The effective boolean value; kinds that know it without building a sequence
    // (comparisons, and, or, not()) answer directly.
    virtual bool effectiveBooleanValue(DynamicContext& context) const;
    // True when the value is always a single xs:boolean: such a predicate is a filter,
    // never a position.
    virtual bool yieldsBoolean() const { return false; }
    // True when the value is always a sequence of nodes (a path): such a predicate,
    // too, is a filter.
    virtual bool yieldsNodesOnly() const { return false; }
    // True when the expression reads position() or last() of its focus.
    virtual bool usesPosition() const { return false; }
    // True when the value has at least one item; paths stop at the first node found.
    virtual bool isNonEmpty(DynamicContext& context) const { return !evaluate(context).empty(); }

    size_t offset() const { return offset_; }
    ExpressionKind kind() const { return kind_; }

private:
    size_t offset_;
    ExpressionKind kind_;
};

// The expression as the class of its kind, or null: a cheap dynamic_cast for the kinds
// that have an ExpressionKind.
template <typename T>
const T* expressionAs(const Expression& expression) {
    return expression.kind() == T::kKind ? static_cast<const T*>(&expression) : nullptr;
}
template <typename T>
T* expressionAs(Expression& expression) {
    return expression.kind() == T::kKind ? static_cast<T*>(&expression) : nullptr;
}

using ExpressionPtr = std::unique_ptr<Expression>;
using ExpressionList = std::vector<ExpressionPtr>;

// ---- Primary expressions -------------------------------------------------------

class LiteralExpression final : public Expression {
public:
    static constexpr ExpressionKind kKind = ExpressionKind::Literal;
    LiteralExpression(size_t offset, AtomicValue value) : Expression(offset, kKind), value_(std::move(value)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool yieldsBoolean() const override { return value_.type() == AtomicType::Boolean; }
    const AtomicValue& value() const { return value_; }

private:
    AtomicValue value_;
};

// Expr ::= ExprSingle ("," ExprSingle)*, and "()" with no items.
class SequenceExpression final : public Expression {
public:
    SequenceExpression(size_t offset, ExpressionList items) : Expression(offset), items_(std::move(items)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool usesPosition() const override;
    const ExpressionList& items() const { return items_; }

private:
    ExpressionList items_;
};

class ContextItemExpression final : public Expression {
public:
    using Expression::Expression;
    Sequence evaluate(DynamicContext& context) const override;
};

enum class VariableScope { Global, Local };

class VariableReference final : public Expression {
public:
    VariableReference(size_t offset, VariableScope scope, size_t slot, std::string name)
        : Expression(offset), scope_(scope), slot_(slot), name_(std::move(name)) {}
    Sequence evaluate(DynamicContext& context) const override;
    VariableScope scope() const { return scope_; }
    size_t slot() const { return slot_; }
    const std::string& name() const { return name_; }

private:
    VariableScope scope_;
    size_t slot_;
    std::string name_;
};

class FunctionCall final : public Expression {
public:
    FunctionCall(size_t offset, const FunctionDefinition* function, ExpressionList arguments)
        : Expression(offset), function_(function), arguments_(std::move(arguments)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool effectiveBooleanValue(DynamicContext& context) const override;
    bool yieldsBoolean() const override;
    bool usesPosition() const override;
    const FunctionDefinition& function() const { return *function_; }
    const ExpressionList& arguments() const { return arguments_; }

private:
    Sequence callUserFunction(DynamicContext& context, Arguments& arguments) const;

    const FunctionDefinition* function_;
    ExpressionList arguments_;
};

// ---- Operators -----------------------------------------------------------------

class RangeExpression final : public Expression {
public:
    RangeExpression(size_t offset, ExpressionPtr from, ExpressionPtr to)
        : Expression(offset), from_(std::move(from)), to_(std::move(to)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool usesPosition() const override { return from_->usesPosition() || to_->usesPosition(); }

private:
    ExpressionPtr from_, to_;
};

class ArithmeticExpression final : public Expression {
public:
    ArithmeticExpression(size_t offset, ArithmeticOperator op, ExpressionPtr left, ExpressionPtr right)
        : Expression(offset), op_(op), left_(std::move(left)), right_(std::move(right)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool usesPosition() const override { return left_->usesPosition() || right_->usesPosition(); }
    const Expression& left() const { return *left_; }
    const Expression& right() const { return *right_; }

private:
    ArithmeticOperator op_;
    ExpressionPtr left_, right_;
};

class UnaryExpression final : public Expression {
public:
    UnaryExpression(size_t offset, bool negative, ExpressionPtr operand)
        : Expression(offset), negative_(negative), operand_(std::move(operand)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool usesPosition() const override { return operand_->usesPosition(); }
    const Expression& operand() const { return *operand_; }

private:
    bool negative_;
    ExpressionPtr operand_;
};

// The three comparison families share one shape.
class ComparisonExpression : public Expression {
public:
    ComparisonExpression(size_t offset, ComparisonOperator op, ExpressionPtr left, ExpressionPtr right)
        : Expression(offset), op_(op), left_(std::move(left)), right_(std::move(right)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool yieldsBoolean() const override { return true; }
    bool usesPosition() const override { return left_->usesPosition() || right_->usesPosition(); }
    const Expression& left() const { return *left_; }
    const Expression& right() const { return *right_; }

protected:
    ComparisonOperator op_;
    ExpressionPtr left_, right_;
};

// = != < <= > >=: existential over both operands.
class GeneralComparison final : public ComparisonExpression {
public:
    using ComparisonExpression::ComparisonExpression;
    bool effectiveBooleanValue(DynamicContext& context) const override;
};

// eq ne lt le gt ge: one atomic value on each side; () when either side is empty.
class ValueComparison final : public ComparisonExpression {
public:
    using ComparisonExpression::ComparisonExpression;
    Sequence evaluate(DynamicContext& context) const override;
    bool effectiveBooleanValue(DynamicContext& context) const override;
    bool yieldsBoolean() const override { return false; }
};

enum class NodeComparisonOperator { Is, Precedes, Follows };

class NodeComparison final : public Expression {
public:
    NodeComparison(size_t offset, NodeComparisonOperator op, ExpressionPtr left, ExpressionPtr right)
        : Expression(offset), op_(op), left_(std::move(left)), right_(std::move(right)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool usesPosition() const override { return left_->usesPosition() || right_->usesPosition(); }

private:
    NodeComparisonOperator op_;
    ExpressionPtr left_, right_;
};

enum class LogicalOperator { And, Or };

class LogicalExpression final : public Expression {
public:
    LogicalExpression(size_t offset, LogicalOperator op, ExpressionPtr left, ExpressionPtr right)
        : Expression(offset), op_(op), left_(std::move(left)), right_(std::move(right)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool effectiveBooleanValue(DynamicContext& context) const override;
    bool yieldsBoolean() const override { return true; }
    bool usesPosition() const override { return left_->usesPosition() || right_->usesPosition(); }
    LogicalOperator op() const { return op_; }
    const Expression& left() const { return *left_; }
    const Expression& right() const { return *right_; }

private:
    LogicalOperator op_;
    ExpressionPtr left_, right_;
};

enum class SetOperator { Union, Intersect, Except };

class SetExpression final : public Expression {
public:
    static constexpr ExpressionKind kKind = ExpressionKind::Set;
    SetExpression(size_t offset, SetOperator op, ExpressionPtr left, ExpressionPtr right)
        : Expression(offset, kKind), op_(op), left_(std::move(left)), right_(std::move(right)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool yieldsNodesOnly() const override { return true; }
    bool usesPosition() const override { return left_->usesPosition() || right_->usesPosition(); }
    bool isNonEmpty(DynamicContext& context) const override;
    SetOperator op() const { return op_; }
    // The operands, for the parser's rewriting of //(a | b).
    Expression& mutableLeft() { return *left_; }
    Expression& mutableRight() { return *right_; }
    const Expression& left() const { return *left_; }
    const Expression& right() const { return *right_; }

private:
    SetOperator op_;
    ExpressionPtr left_, right_;
};

// ---- Control -------------------------------------------------------------------

class IfExpression final : public Expression {
public:
    IfExpression(size_t offset, ExpressionPtr condition, ExpressionPtr thenBranch, ExpressionPtr elseBranch)
        : Expression(offset),
          condition_(std::move(condition)),
          then_(std::move(thenBranch)),
          else_(std::move(elseBranch)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool effectiveBooleanValue(DynamicContext& context) const override;
    bool yieldsBoolean() const override { return then_->yieldsBoolean() && else_->yieldsBoolean(); }
    bool usesPosition() const override;
    const Expression& condition() const { return *condition_; }
    const Expression& thenBranch() const { return *then_; }
    const Expression& elseBranch() const { return *else_; }

private:
    ExpressionPtr condition_, then_, else_;
};

struct VariableBinding {
    size_t slot;             // local slot
    ExpressionPtr sequence;  // what the variable ranges over
};

class ForExpression final : public Expression {
public:
    ForExpression(size_t offset, std::vector<VariableBinding> bindings, ExpressionPtr result)
        : Expression(offset), bindings_(std::move(bindings)), result_(std::move(result)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool usesPosition() const override;

private:
    void bind(DynamicContext& context, size_t index, Sequence& into) const;

    std::vector<VariableBinding> bindings_;
    ExpressionPtr result_;
};

enum class Quantifier { Some, Every };

class QuantifiedExpression final : public Expression {
public:
    QuantifiedExpression(size_t offset, Quantifier quantifier, std::vector<VariableBinding> bindings,
                         ExpressionPtr test)
        : Expression(offset), quantifier_(quantifier), bindings_(std::move(bindings)), test_(std::move(test)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool effectiveBooleanValue(DynamicContext& context) const override;
    bool yieldsBoolean() const override { return true; }
    bool usesPosition() const override;
    Quantifier quantifier() const { return quantifier_; }
    const std::vector<VariableBinding>& bindings() const { return bindings_; }
    const Expression& test() const { return *test_; }

private:
    bool holds(DynamicContext& context, size_t index) const;

    Quantifier quantifier_;
    std::vector<VariableBinding> bindings_;
    ExpressionPtr test_;
};

// A local variable bound for the evaluation of a body (xsl:variable in the body of a
// rule-set function).
class LetExpression final : public Expression {
public:
    LetExpression(size_t offset, size_t slot, ExpressionPtr value, ExpressionPtr body)
        : Expression(offset), slot_(slot), value_(std::move(value)), body_(std::move(body)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool usesPosition() const override { return value_->usesPosition() || body_->usesPosition(); }

private:
    size_t slot_;
    ExpressionPtr value_, body_;
};

// ---- Types ---------------------------------------------------------------------

class InstanceOfExpression final : public Expression {
public:
    InstanceOfExpression(size_t offset, ExpressionPtr operand, SequenceType type)
        : Expression(offset), operand_(std::move(operand)), type_(std::move(type)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool yieldsBoolean() const override { return true; }
    bool usesPosition() const override { return operand_->usesPosition(); }

private:
    ExpressionPtr operand_;
    SequenceType type_;
};

class TreatExpression final : public Expression {
public:
    TreatExpression(size_t offset, ExpressionPtr operand, SequenceType type)
        : Expression(offset), operand_(std::move(operand)), type_(std::move(type)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool usesPosition() const override { return operand_->usesPosition(); }

private:
    ExpressionPtr operand_;
    SequenceType type_;
};

// `cast as T?` and `castable as T?`; also what xs:T(...) constructor calls compile to.
class CastExpression final : public Expression {
public:
    CastExpression(size_t offset, ExpressionPtr operand, AtomicType target, bool allowEmpty, bool castableTest,
                   std::unordered_map<std::string, std::string> namespaces = {})
        : Expression(offset),
          operand_(std::move(operand)),
          target_(target),
          allowEmpty_(allowEmpty),
          castableTest_(castableTest),
          namespaces_(std::move(namespaces)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool yieldsBoolean() const override { return castableTest_ || target_ == AtomicType::Boolean; }
    bool usesPosition() const override { return operand_->usesPosition(); }
    const Expression& operand() const { return *operand_; }

private:
    bool castable(const Sequence& value) const;
    AtomicValue cast(const AtomicValue& atom) const;

    ExpressionPtr operand_;
    AtomicType target_;
    bool allowEmpty_;
    bool castableTest_;
    std::unordered_map<std::string, std::string> namespaces_;  // for casts to xs:QName
};

// ---- Paths ---------------------------------------------------------------------

enum class Axis {
    Child,
    Descendant,
    Attribute,
    Self,
    DescendantOrSelf,
    FollowingSibling,
    Following,
    Parent,
    Ancestor,
    PrecedingSibling,
    Preceding,
    AncestorOrSelf,
    // Not written in expressions: descendant-or-self::node()/attribute::N, made one step
    // by the parser so that a search of a whole document is one index lookup.
    DescendantOrSelfAttribute,
};

bool isReverseAxis(Axis axis);

struct NodeTest {
    ItemTypeKind kind = ItemTypeKind::AnyNode;  // Element/Attribute for name tests (the principal kind)
    bool nameTest = false;                      // a name or wildcard rather than a kind test
    std::optional<std::string> namespaceURI;    // nullopt: any namespace
    std::optional<std::string> localName;       // nullopt: any local name
    bool matches(const xmlNode* node) const;
};

// The predicates of a step or filter, applied in turn.
class PredicateList {
public:
    PredicateList() = default;
    explicit PredicateList(ExpressionList predicates);
    bool empty() const { return predicates_.empty(); }
    // Keeps the items of `items` (in the order given, which sets their positions) that
    // every predicate accepts.
    void apply(DynamicContext& context, Sequence& items) const;
    bool anyPositional() const { return anyPositional_; }  // some predicate may select by position
    // True when every predicate accepts `item` taken alone (for predicates that do not
    // select by position).
    bool acceptsAlone(DynamicContext& context, const Item& item) const;
    // The predicates in order, for evaluating them for one node (see UpwardMatcher).
    const ExpressionList& expressions() const { return predicates_; }
    // True when `predicate` may select by position: its value may be a number, or it
    // reads position() or last().
    static bool selectsByPosition(const Expression& predicate);
    // True when a predicate's `value` keeps its item: one number equal to the item's
    // position (`position` is called only then), or else an effective boolean value of true.
    static bool keeps(const Sequence& value, const std::function<size_t()>& position);

private:
    ExpressionList predicates_;
    bool anyPositional_ = false;
};

class AxisStep final : public Expression {
public:
    static constexpr ExpressionKind kKind = ExpressionKind::AxisStep;
    AxisStep(size_t offset, Axis axis, NodeTest test, PredicateList predicates)
        : Expression(offset, kKind), axis_(axis), test_(std::move(test)), predicates_(std::move(predicates)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool yieldsNodesOnly() const override { return true; }
    // The step from one context node: nodes in document order.
    void collect(DynamicContext& context, const xmlNode* origin, Sequence& into) const;
    Axis axis() const { return axis_; }
    const NodeTest& test() const { return test_; }
    const PredicateList& predicates() const { return predicates_; }
    bool isNonEmpty(DynamicContext& context) const override;
    // True when the step from `origin` selects at least one node.
    bool selectsAny(DynamicContext& context, const xmlNode* origin) const;
    // Rewrites descendant-or-self::node()/child::X into descendant::X, and
    // descendant-or-self::node()/attribute::X into the one step that selects the same,
    // where the predicates cannot tell the difference.
    void becomeDescendant() { axis_ = axis_ == Axis::Attribute ? Axis::DescendantOrSelfAttribute : Axis::Descendant; }

private:
    Axis axis_;
    NodeTest test_;
    PredicateList predicates_;
};

class FilterExpression final : public Expression {
public:
    static constexpr ExpressionKind kKind = ExpressionKind::Filter;
    FilterExpression(size_t offset, ExpressionPtr primary, PredicateList predicates)
        : Expression(offset, kKind), primary_(std::move(primary)), predicates_(std::move(predicates)) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool usesPosition() const override { return primary_->usesPosition(); }
    const Expression& primary() const { return *primary_; }
    const PredicateList& predicates() const { return predicates_; }

private:
    ExpressionPtr primary_;
    PredicateList predicates_;
};

// "/" at the start of a path: the document node above the context node.
class RootExpression final : public Expression {
public:
    static constexpr ExpressionKind kKind = ExpressionKind::Root;
    explicit RootExpression(size_t offset) : Expression(offset, kKind) {}
    Sequence evaluate(DynamicContext& context) const override;
    bool yieldsNodesOnly() const override { return true; }
};

// E1/E2/...: each step evaluated once per node of the previous result.
class PathExpression final : public Expression {
public:
    static constexpr ExpressionKind kKind = ExpressionKind::Path;
    PathExpression(size_t offset, ExpressionList steps);
    Sequence evaluate(DynamicContext& context) const override;
    bool yieldsNodesOnly() const override;
    bool isNonEmpty(DynamicContext& context) const override;
    bool usesPosition() const override { return steps_.front()->usesPosition(); }
    static Sequence applyStep(DynamicContext& context, const Expression& step, const Sequence& current);
    const ExpressionList& steps() const { return steps_; }

private:
    ExpressionList steps_;
    bool indexSearchable_ = false;  // see indexed_search.h
};

// ---- Node construction (bodies of rule-set functions) -----------------------------

// xsl:value-of: one text node holding the values joined by a separator.
class TextConstructor final : public Expression {
public:
    TextConstructor(size_t offset, ExpressionPtr value, std::string separator)
        : Expression(offset), value_(std::move(value)), separator_(std::move(separator)) {}
    Sequence evaluate(DynamicContext& context) const override;

private:
    ExpressionPtr value_;
    std::string separator_;
};

// xsl:variable with content and no type: a document node holding the content.
class DocumentConstructor final : public Expression {
public:
    DocumentConstructor(size_t offset, ExpressionPtr content) : Expression(offset), content_(std::move(content)) {}
    Sequence evaluate(DynamicContext& context) const override;

private:
    ExpressionPtr content_;
};

// Converts a value to a declared type by the function conversion rules (xsl:variable
// with `as`, function results).
class ConversionExpression final : public Expression {
public:
    ConversionExpression(size_t offset, ExpressionPtr operand, SequenceType type, std::string role)
        : Expression(offset), operand_(std::move(operand)), type_(std::move(type)), role_(std::move(role)) {}
    Sequence evaluate(DynamicContext& context) const override;

private:
    ExpressionPtr operand_;
    SequenceType type_;
    std::string role_;
};

}  // namespace quillmark::xpath
