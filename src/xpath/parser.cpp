#include "xpath/parser.h"

#include <array>
#include <unordered_set>

#include "xpath/casting.h"
#include "xpath/error.h"
#include "xpath/lexer.h"
#include "xpath/numeric_text.h"

namespace quillmark::xpath {
namespace {

// Deeper nesting than this is refused, so that hostile input cannot exhaust the stack.
constexpr int kMaxNesting = 200;
// Deeper trees than this are refused too: evaluating a tree recurses once per level,
// and a chain of operators (1 + 1 + ... + 1) adds a level per operator without nesting.
constexpr int kMaxTreeDepth = 1000;

// Names that look like function calls but are not (XPath 2.0 A.3 reserved names).
bool isReservedFunctionName(std::string_view name) {
    static const std::unordered_set<std::string_view> reserved = {
        "attribute", "comment", "document-node", "element", "empty-sequence", "if", "item", "node",
        "processing-instruction", "schema-attribute", "schema-element", "text", "typeswitch"};
    return reserved.contains(name);
}

bool isKindTestName(std::string_view name) {
    return name == "node" || name == "text" || name == "comment" || name == "processing-instruction" ||
           name == "element" || name == "attribute" || name == "document-node" || name == "schema-element" ||
           name == "schema-attribute";
}

std::optional<Axis> axisNamed(std::string_view name) {
    static const std::array<std::pair<std::string_view, Axis>, 12> axes = {{
        {"child", Axis::Child},
        {"descendant", Axis::Descendant},
        {"attribute", Axis::Attribute},
        {"self", Axis::Self},
        {"descendant-or-self", Axis::DescendantOrSelf},
        {"following-sibling", Axis::FollowingSibling},
        {"following", Axis::Following},
        {"parent", Axis::Parent},
        {"ancestor", Axis::Ancestor},
        {"preceding-sibling", Axis::PrecedingSibling},
        {"preceding", Axis::Preceding},
        {"ancestor-or-self", Axis::AncestorOrSelf},
    }};
    for (const auto& [axisName, axis] : axes) {
        if (axisName == name) return axis;
    }
    return std::nullopt;
}

class Parser {
public:
    Parser(std::string_view text, const StaticContext& context, LocalScope& scope)
        : tokens_(tokenize(text)), context_(context), scope_(scope) {}

    ExpressionPtr parseWhole() {
        ExpressionPtr expression = parseExpr();
        expect(TokenKind::End);
        return expression;
    }

    SequenceType parseWholeSequenceType() {
        SequenceType type = parseSequenceType();
        expect(TokenKind::End);
        return type;
    }

private:
    // ---- Token helpers ----------------------------------------------------------

    const Token& current() const { return tokens_[pos_]; }
    const Token& peekToken(size_t ahead = 1) const {
        return tokens_[std::min(pos_ + ahead, tokens_.size() - 1)];
    }
    bool at(TokenKind kind) const { return current().kind == kind; }
    bool atName(std::string_view word) const { return at(TokenKind::Name) && current().text == word; }
    bool peekIs(TokenKind kind, size_t ahead = 1) const { return peekToken(ahead).kind == kind; }
    const Token& advance() { return tokens_[pos_ < tokens_.size() - 1 ? pos_++ : pos_]; }

    bool accept(TokenKind kind) {
        if (!at(kind)) return false;
        advance();
        return true;
    }
    bool acceptName(std::string_view word) {
        if (!atName(word)) return false;
        advance();
        return true;
    }

    [[noreturn]] void fail(const std::string& message) const {
        throw XPathError(ErrorCode::XPST0003, message + " at offset " + std::to_string(current().offset));
    }
    [[noreturn]] void unexpected(std::string_view wanted) const {
        const Token& token = current();
        std::string found = token.kind == TokenKind::End ? "the end of the expression"
                                                         : "'" + token.text + "'";
        fail("expected " + std::string(wanted) + " but found " + found);
    }
    const Token& expect(TokenKind kind) {
        if (!at(kind)) unexpected(tokenKindName(kind));
        return advance();
    }
    void expectName(std::string_view word) {
        if (!acceptName(word)) unexpected("'" + std::string(word) + "'");
    }

    // Guards the recursion of nested expressions.
    struct NestingGuard {
        explicit NestingGuard(Parser& parser) : parser(parser) {
            ++parser.treeDepth_;
            if (++parser.depth_ > kMaxNesting || parser.treeDepth_ > kMaxTreeDepth) parser.failTooDeep();
        }
        ~NestingGuard() {
            --parser.depth_;
            --parser.treeDepth_;
        }
        Parser& parser;
    };

    // Counts the operators of a left-associative chain, each a level of the tree.
    struct ChainGuard {
        explicit ChainGuard(Parser& parser) : parser(parser) {}
        void link() {
            ++links;
            if (++parser.treeDepth_ > kMaxTreeDepth) parser.failTooDeep();
        }
        ~ChainGuard() { parser.treeDepth_ -= links; }
        Parser& parser;
        int links = 0;
    };

    [[noreturn]] void failTooDeep() const {
        throw XPathError(ErrorCode::XPST0003, "expression nested too deeply at offset " + std::to_string(current().offset));
    }

    // ---- Names ------------------------------------------------------------------

    // Splits a lexical QName and resolves its prefix; `useDefault` applies the default
    // element namespace to unprefixed names (element and type names).
    ExpandedName resolveName(const Token& token, bool useDefault, const std::string& unprefixedNamespace = "") const {
        const std::string& text = token.text;
        const size_t colon = text.find(':');
        if (colon == std::string::npos) {
            if (useDefault) return ExpandedName{context_.defaultElementNamespace(), text};
            return ExpandedName{unprefixedNamespace, text};
        }
        return ExpandedName{namespaceOfPrefix(text.substr(0, colon), token.offset), text.substr(colon + 1)};
    }

    std::string namespaceOfPrefix(const std::string& prefix, size_t offset) const {
        std::optional<std::string> uri = context_.namespaceFor(prefix);
        if (!uri) {
            throw XPathError(ErrorCode::XPST0081,
                             "namespace prefix '" + prefix + "' is not declared, at offset " + std::to_string(offset));
        }
        return *uri;
    }

    // ---- Expressions ------------------------------------------------------------

    // Expr ::= ExprSingle ("," ExprSingle)*
    ExpressionPtr parseExpr() {
        const size_t offset = current().offset;
        ExpressionPtr first = parseExprSingle();
        if (!at(TokenKind::Comma)) return first;
        ExpressionList items;
        items.push_back(std::move(first));
        while (accept(TokenKind::Comma)) items.push_back(parseExprSingle());
        return std::make_unique<SequenceExpression>(offset, std::move(items));
    }

    // ExprSingle ::= ForExpr | QuantifiedExpr | IfExpr | OrExpr
    ExpressionPtr parseExprSingle() {
        NestingGuard guard(*this);
        if (atName("for") && peekIs(TokenKind::Dollar)) return parseFor();
        if ((atName("some") || atName("every")) && peekIs(TokenKind::Dollar)) return parseQuantified();
        if (atName("if") && peekIs(TokenKind::LeftParen)) return parseIf();
        return parseOr();
    }

    // SimpleForClause ::= "for" "$" VarName "in" ExprSingle ("," "$" VarName "in" ExprSingle)*
    // The variables stay in scope until the caller releases them.
    std::vector<VariableBinding> parseBindings() {
        std::vector<VariableBinding> bindings;
        do {
            expect(TokenKind::Dollar);
            const Token& name = expect(TokenKind::Name);
            const ExpandedName variable = resolveName(name, false);
            expectName("in");
            ExpressionPtr sequence = parseExprSingle();
            bindings.push_back(VariableBinding{scope_.declare(variable), std::move(sequence)});
        } while (accept(TokenKind::Comma));
        return bindings;
    }

    // ForExpr ::= SimpleForClause "return" ExprSingle
    ExpressionPtr parseFor() {
        const size_t offset = advance().offset;
        const size_t mark = scope_.mark();
        std::vector<VariableBinding> bindings = parseBindings();
        expectName("return");
        ExpressionPtr result = parseExprSingle();
        scope_.release(mark);
        return std::make_unique<ForExpression>(offset, std::move(bindings), std::move(result));
    }

    // QuantifiedExpr ::= ("some" | "every") "$" VarName "in" ExprSingle ("," ...)* "satisfies" ExprSingle
    ExpressionPtr parseQuantified() {
        const Token& keyword = advance();
        const Quantifier quantifier = keyword.text == "some" ? Quantifier::Some : Quantifier::Every;
        const size_t mark = scope_.mark();
        std::vector<VariableBinding> bindings = parseBindings();
        expectName("satisfies");
        ExpressionPtr test = parseExprSingle();
        scope_.release(mark);
        return std::make_unique<QuantifiedExpression>(keyword.offset, quantifier, std::move(bindings), std::move(test));
    }

    // IfExpr ::= "if" "(" Expr ")" "then" ExprSingle "else" ExprSingle
    ExpressionPtr parseIf() {
        const size_t offset = advance().offset;
        expect(TokenKind::LeftParen);
        ExpressionPtr condition = parseExpr();
        expect(TokenKind::RightParen);
        expectName("then");
        ExpressionPtr thenBranch = parseExprSingle();
        expectName("else");
        ExpressionPtr elseBranch = parseExprSingle();
        return std::make_unique<IfExpression>(offset, std::move(condition), std::move(thenBranch), std::move(elseBranch));
    }

    // OrExpr ::= AndExpr ( "or" AndExpr )*
    ExpressionPtr parseOr() {
        ExpressionPtr left = parseAnd();
        ChainGuard chain(*this);
        while (atName("or")) {
            chain.link();
            const size_t offset = advance().offset;
            left = std::make_unique<LogicalExpression>(offset, LogicalOperator::Or, std::move(left), parseAnd());
        }
        return left;
    }

    // AndExpr ::= ComparisonExpr ( "and" ComparisonExpr )*
    ExpressionPtr parseAnd() {
        ExpressionPtr left = parseComparison();
        ChainGuard chain(*this);
        while (atName("and")) {
            chain.link();
            const size_t offset = advance().offset;
            left = std::make_unique<LogicalExpression>(offset, LogicalOperator::And, std::move(left), parseComparison());
        }
        return left;
    }

    std::optional<ComparisonOperator> generalComparison() const {
        switch (current().kind) {
        case TokenKind::Equals: return ComparisonOperator::Equal;
        case TokenKind::NotEquals: return ComparisonOperator::NotEqual;
        case TokenKind::Less: return ComparisonOperator::Less;
        case TokenKind::LessOrEqual: return ComparisonOperator::LessOrEqual;
        case TokenKind::Greater: return ComparisonOperator::Greater;
        case TokenKind::GreaterOrEqual: return ComparisonOperator::GreaterOrEqual;
        default: return std::nullopt;
        }
    }

    std::optional<ComparisonOperator> valueComparison() const {
        if (!at(TokenKind::Name)) return std::nullopt;
        const std::string& word = current().text;
        if (word == "eq") return ComparisonOperator::Equal;
        if (word == "ne") return ComparisonOperator::NotEqual;
        if (word == "lt") return ComparisonOperator::Less;
        if (word == "le") return ComparisonOperator::LessOrEqual;
        if (word == "gt") return ComparisonOperator::Greater;
        if (word == "ge") return ComparisonOperator::GreaterOrEqual;
        return std::nullopt;
    }

    std::optional<NodeComparisonOperator> nodeComparison() const {
        if (atName("is")) return NodeComparisonOperator::Is;
        if (at(TokenKind::Precedes)) return NodeComparisonOperator::Precedes;
        if (at(TokenKind::Follows)) return NodeComparisonOperator::Follows;
        return std::nullopt;
    }

    // ComparisonExpr ::= RangeExpr ( (ValueComp | GeneralComp | NodeComp) RangeExpr )?
    ExpressionPtr parseComparison() {
        ExpressionPtr left = parseRange();
        const size_t offset = current().offset;
        if (auto op = generalComparison()) {
            advance();
            return std::make_unique<GeneralComparison>(offset, *op, std::move(left), parseRange());
        }
        if (auto op = valueComparison()) {
            advance();
            return std::make_unique<ValueComparison>(offset, *op, std::move(left), parseRange());
        }
        if (auto op = nodeComparison()) {
            advance();
            return std::make_unique<NodeComparison>(offset, *op, std::move(left), parseRange());
        }
        return left;
    }

    // RangeExpr ::= AdditiveExpr ( "to" AdditiveExpr )?
    ExpressionPtr parseRange() {
        ExpressionPtr from = parseAdditive();
        if (!atName("to")) return from;
        const size_t offset = advance().offset;
        return std::make_unique<RangeExpression>(offset, std::move(from), parseAdditive());
    }

    // AdditiveExpr ::= MultiplicativeExpr ( ("+" | "-") MultiplicativeExpr )*
    ExpressionPtr parseAdditive() {
        ExpressionPtr left = parseMultiplicative();
        ChainGuard chain(*this);
        while (at(TokenKind::Plus) || at(TokenKind::Minus)) {
            chain.link();
            const Token& op = advance();
            const ArithmeticOperator kind = op.kind == TokenKind::Plus ? ArithmeticOperator::Add : ArithmeticOperator::Subtract;
            left = std::make_unique<ArithmeticExpression>(op.offset, kind, std::move(left), parseMultiplicative());
        }
        return left;
    }

    std::optional<ArithmeticOperator> multiplicativeOperator() const {
        if (at(TokenKind::Star)) return ArithmeticOperator::Multiply;
        if (atName("div")) return ArithmeticOperator::Divide;
        if (atName("idiv")) return ArithmeticOperator::IntegerDivide;
        if (atName("mod")) return ArithmeticOperator::Modulo;
        return std::nullopt;
    }

    // MultiplicativeExpr ::= UnionExpr ( ("*" | "div" | "idiv" | "mod") UnionExpr )*
    ExpressionPtr parseMultiplicative() {
        ExpressionPtr left = parseUnion();
        ChainGuard chain(*this);
        while (auto op = multiplicativeOperator()) {
            chain.link();
            const size_t offset = advance().offset;
            left = std::make_unique<ArithmeticExpression>(offset, *op, std::move(left), parseUnion());
        }
        return left;
    }

    // UnionExpr ::= IntersectExceptExpr ( ("union" | "|") IntersectExceptExpr )*
    ExpressionPtr parseUnion() {
        ExpressionPtr left = parseIntersectExcept();
        ChainGuard chain(*this);
        while (at(TokenKind::Pipe) || atName("union")) {
            chain.link();
            const size_t offset = advance().offset;
            left = std::make_unique<SetExpression>(offset, SetOperator::Union, std::move(left), parseIntersectExcept());
        }
        return left;
    }

    // IntersectExceptExpr ::= InstanceofExpr ( ("intersect" | "except") InstanceofExpr )*
    ExpressionPtr parseIntersectExcept() {
        ExpressionPtr left = parseInstanceOf();
        ChainGuard chain(*this);
        while (atName("intersect") || atName("except")) {
            chain.link();
            const Token& op = advance();
            const SetOperator kind = op.text == "intersect" ? SetOperator::Intersect : SetOperator::Except;
            left = std::make_unique<SetExpression>(op.offset, kind, std::move(left), parseInstanceOf());
        }
        return left;
    }

    // InstanceofExpr ::= TreatExpr ( "instance" "of" SequenceType )?
    ExpressionPtr parseInstanceOf() {
        ExpressionPtr operand = parseTreat();
        if (!(atName("instance") && peekToken().kind == TokenKind::Name && peekToken().text == "of")) return operand;
        const size_t offset = advance().offset;
        advance();
        return std::make_unique<InstanceOfExpression>(offset, std::move(operand), parseSequenceType());
    }

    // TreatExpr ::= CastableExpr ( "treat" "as" SequenceType )?
    ExpressionPtr parseTreat() {
        ExpressionPtr operand = parseCastable();
        if (!(atName("treat") && peekToken().kind == TokenKind::Name && peekToken().text == "as")) return operand;
        const size_t offset = advance().offset;
        advance();
        return std::make_unique<TreatExpression>(offset, std::move(operand), parseSequenceType());
    }

    // CastableExpr ::= CastExpr ( "castable" "as" SingleType )?
    ExpressionPtr parseCastable() {
        ExpressionPtr operand = parseCast();
        if (!(atName("castable") && peekToken().kind == TokenKind::Name && peekToken().text == "as")) return operand;
        const size_t offset = advance().offset;
        advance();
        return parseSingleTypeTarget(offset, std::move(operand), true);
    }

    // CastExpr ::= UnaryExpr ( "cast" "as" SingleType )?
    ExpressionPtr parseCast() {
        ExpressionPtr operand = parseUnary();
        if (!(atName("cast") && peekToken().kind == TokenKind::Name && peekToken().text == "as")) return operand;
        const size_t offset = advance().offset;
        advance();
        return parseSingleTypeTarget(offset, std::move(operand), false);
    }

    // SingleType ::= AtomicType "?"?
    ExpressionPtr parseSingleTypeTarget(size_t offset, ExpressionPtr operand, bool castableTest) {
        const AtomicType target = parseAtomicTypeName();
        const bool allowEmpty = accept(TokenKind::QuestionMark);
        return makeCast(offset, std::move(operand), target, allowEmpty, castableTest);
    }

    ExpressionPtr makeCast(size_t offset, ExpressionPtr operand, AtomicType target, bool allowEmpty, bool castableTest) {
        if (target == AtomicType::NOTATION || target == AtomicType::AnyAtomicType) {
            throw XPathError(ErrorCode::XPST0080,
                             "cannot cast to " + atomicTypeName(target) + " at offset " + std::to_string(offset));
        }
        std::unordered_map<std::string, std::string> namespaces;
        if (target == AtomicType::QName) {
            namespaces = context_.namespaces();
            namespaces[""] = context_.defaultElementNamespace();
        }
        return std::make_unique<CastExpression>(offset, std::move(operand), target, allowEmpty, castableTest,
                                                std::move(namespaces));
    }

    // AtomicType ::= QName, naming a type in the XML Schema namespace.
    AtomicType parseAtomicTypeName() {
        const Token& token = expect(TokenKind::Name);
        const ExpandedName name = resolveName(token, true);
        std::optional<AtomicType> type;
        if (name.namespaceURI == kSchemaNamespace) type = atomicTypeFromLocalName(name.localName);
        if (!type) {
            throw XPathError(ErrorCode::XPST0051,
                             "unknown atomic type '" + token.text + "' at offset " + std::to_string(token.offset));
        }
        return *type;
    }

    // UnaryExpr ::= ("-" | "+")* ValueExpr
    ExpressionPtr parseUnary() {
        if (!at(TokenKind::Minus) && !at(TokenKind::Plus)) return parsePath();
        NestingGuard guard(*this);
        const Token& sign = advance();
        ExpressionPtr operand = parseUnary();
        return std::make_unique<UnaryExpression>(sign.offset, sign.kind == TokenKind::Minus, std::move(operand));
    }

    // ---- Paths ------------------------------------------------------------------

    // True when the current token can begin a RelativePathExpr (decides whether a
    // leading "/" stands alone).
    bool atStepStart() const {
        switch (current().kind) {
        case TokenKind::Name:
        case TokenKind::PrefixWildcard:
        case TokenKind::LocalWildcard:
        case TokenKind::Star:
        case TokenKind::At:
        case TokenKind::Dot:
        case TokenKind::DotDot:
        case TokenKind::Dollar:
        case TokenKind::LeftParen:
        case TokenKind::StringLiteral:
        case TokenKind::IntegerLiteral:
        case TokenKind::DecimalLiteral:
        case TokenKind::DoubleLiteral:
            return true;
        default:
            return false;
        }
    }

    // descendant-or-self::node(), the step that "//" stands for.
    ExpressionPtr descendantOrSelfStep(size_t offset) const {
        return std::make_unique<AxisStep>(offset, Axis::DescendantOrSelf, NodeTest{}, PredicateList());
    }

    // PathExpr ::= ("/" RelativePathExpr?) | ("//" RelativePathExpr) | RelativePathExpr
    ExpressionPtr parsePath() {
        const size_t offset = current().offset;
        ExpressionList steps;
        if (accept(TokenKind::Slash)) {
            steps.push_back(std::make_unique<RootExpression>(offset));
            if (!atStepStart()) return std::move(steps.front());
        } else if (accept(TokenKind::DoubleSlash)) {
            steps.push_back(std::make_unique<RootExpression>(offset));
            steps.push_back(descendantOrSelfStep(offset));
        }
        parseRelativePath(steps);
        if (steps.size() == 1) return std::move(steps.front());
        simplifyDescendantSteps(steps);
        if (steps.size() == 1) return std::move(steps.front());
        return std::make_unique<PathExpression>(offset, std::move(steps));
    }

    // RelativePathExpr ::= StepExpr (("/" | "//") StepExpr)*
    void parseRelativePath(ExpressionList& steps) {
        steps.push_back(parseStep());
        for (;;) {
            const size_t offset = current().offset;
            if (accept(TokenKind::Slash)) {
                steps.push_back(parseStep());
            } else if (accept(TokenKind::DoubleSlash)) {
                steps.push_back(descendantOrSelfStep(offset));
                steps.push_back(parseStep());
            } else {
                return;
            }
        }
    }

    // descendant-or-self::node()/child::X[p] selects what descendant::X[p] selects
    // whenever no predicate depends on positions (and likewise for attribute::X and for
    // a union of such child steps, //(a | b)); the single step is far cheaper, and from
    // the root of a document it is one lookup in the document's name index.
    static void simplifyDescendantSteps(ExpressionList& steps) {
        for (size_t i = 0; i + 1 < steps.size(); ++i) {
            auto* first = expressionAs<AxisStep>(*steps[i]);
            const bool anyNode = first && first->axis() == Axis::DescendantOrSelf && !first->test().nameTest &&
                                 first->test().kind == ItemTypeKind::AnyNode && first->predicates().empty();
            if (!anyNode || !makeDescendant(*steps[i + 1])) continue;
            steps.erase(steps.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }

    // Turns a child or attribute step, or a union of them, into its descendant form;
    // false (and nothing changed) when that would change the result.
    static bool makeDescendant(Expression& step) {
        if (!canMakeDescendant(step)) return false;
        if (auto* axisStep = expressionAs<AxisStep>(step)) {
            axisStep->becomeDescendant();
            return true;
        }
        auto& set = *expressionAs<SetExpression>(step);
        return makeDescendant(set.mutableLeft()) && makeDescendant(set.mutableRight());
    }

    static bool canMakeDescendant(const Expression& step) {
        if (const auto* axisStep = expressionAs<AxisStep>(step)) {
            return (axisStep->axis() == Axis::Child || axisStep->axis() == Axis::Attribute) &&
                   !axisStep->predicates().anyPositional();
        }
        const auto* set = expressionAs<SetExpression>(step);
        return set && set->op() == SetOperator::Union && canMakeDescendant(set->left()) &&
               canMakeDescendant(set->right());
    }

    // StepExpr ::= FilterExpr | AxisStep
    ExpressionPtr parseStep() {
        NestingGuard guard(*this);
        if (atAxisStep()) return parseAxisStep();
        return parseFilter();
    }

    bool atAxisStep() const {
        switch (current().kind) {
        case TokenKind::At:
        case TokenKind::DotDot:
        case TokenKind::Star:
        case TokenKind::PrefixWildcard:
        case TokenKind::LocalWildcard:
            return true;
        case TokenKind::Name:
            if (peekIs(TokenKind::DoubleColon)) return true;
            if (peekIs(TokenKind::LeftParen)) return isKindTestName(current().text);
            return true;
        default:
            return false;
        }
    }

    // AxisStep ::= (ReverseStep | ForwardStep) PredicateList
    // ForwardStep ::= (ForwardAxis NodeTest) | AbbrevForwardStep
    // AbbrevForwardStep ::= "@"? NodeTest ; AbbrevReverseStep ::= ".."
    ExpressionPtr parseAxisStep() {
        const size_t offset = current().offset;
        Axis axis = Axis::Child;
        NodeTest test;
        if (accept(TokenKind::DotDot)) {
            axis = Axis::Parent;
        } else {
            const bool explicitAxis = at(TokenKind::At) || (at(TokenKind::Name) && peekIs(TokenKind::DoubleColon));
            if (accept(TokenKind::At)) {
                axis = Axis::Attribute;
            } else if (explicitAxis) {
                axis = parseAxisName();
            }
            test = parseNodeTest(axis);
            // Without an axis, an attribute test steps along the attribute axis.
            if (!explicitAxis && !test.nameTest && test.kind == ItemTypeKind::Attribute) axis = Axis::Attribute;
        }
        PredicateList predicates = parsePredicates();
        return std::make_unique<AxisStep>(offset, axis, std::move(test), std::move(predicates));
    }

    Axis parseAxisName() {
        const Token& name = advance();
        advance();  // ::
        if (name.text == "namespace") {
            throw XPathError(ErrorCode::XPST0010,
                             "the namespace axis is not supported, at offset " + std::to_string(name.offset));
        }
        std::optional<Axis> axis = axisNamed(name.text);
        if (!axis) {
            throw XPathError(ErrorCode::XPST0003,
                             "unknown axis '" + name.text + "' at offset " + std::to_string(name.offset));
        }
        return *axis;
    }

    // NodeTest ::= KindTest | NameTest ; NameTest ::= QName | Wildcard
    NodeTest parseNodeTest(Axis axis) {
        const ItemTypeKind principal = axis == Axis::Attribute ? ItemTypeKind::Attribute : ItemTypeKind::Element;
        NodeTest test;
        test.kind = principal;
        test.nameTest = true;
        const Token& token = current();
        switch (token.kind) {
        case TokenKind::Star:
            advance();
            return test;
        case TokenKind::PrefixWildcard:
            advance();
            test.namespaceURI = namespaceOfPrefix(token.text, token.offset);
            return test;
        case TokenKind::LocalWildcard:
            advance();
            test.localName = token.text;
            return test;
        case TokenKind::Name:
            if (peekIs(TokenKind::LeftParen) && isKindTestName(token.text)) return kindTestAsNodeTest(parseKindTest());
            {
                advance();
                // Unprefixed attribute names are in no namespace; element names in the
                // default element namespace.
                const ExpandedName name = resolveName(token, principal == ItemTypeKind::Element);
                test.namespaceURI = name.namespaceURI;
                test.localName = name.localName;
            }
            return test;
        default:
            unexpected("a node test");
        }
    }

    static NodeTest kindTestAsNodeTest(const ItemType& type) {
        NodeTest test;
        test.kind = type.kind;
        test.namespaceURI = type.namespaceURI;
        test.localName = type.localName;
        return test;
    }

    // KindTest ::= DocumentTest | ElementTest | AttributeTest | SchemaElementTest
    //            | SchemaAttributeTest | PITest | CommentTest | TextTest | AnyKindTest
    ItemType parseKindTest() {
        const Token& name = advance();
        expect(TokenKind::LeftParen);
        ItemType type;
        if (name.text == "node") {
            type.kind = ItemTypeKind::AnyNode;
        } else if (name.text == "text") {
            type.kind = ItemTypeKind::Text;
        } else if (name.text == "comment") {
            type.kind = ItemTypeKind::Comment;
        } else if (name.text == "processing-instruction") {
            type.kind = ItemTypeKind::ProcessingInstruction;
            if (at(TokenKind::Name) || at(TokenKind::StringLiteral)) type.localName = advance().text;
        } else if (name.text == "element" || name.text == "attribute") {
            type.kind = name.text == "element" ? ItemTypeKind::Element : ItemTypeKind::Attribute;
            parseElementOrAttributeTestBody(type);
        } else if (name.text == "document-node") {
            type.kind = ItemTypeKind::Document;
            if (atName("schema-element") && peekIs(TokenKind::LeftParen)) {
                advance();
                parseSchemaTest(true);
            }
            if (atName("element") && peekIs(TokenKind::LeftParen)) {
                advance();
                advance();
                ItemType element;
                element.kind = ItemTypeKind::Element;
                parseElementOrAttributeTestBody(element);
                expect(TokenKind::RightParen);
                type.documentElementTest = true;
                type.namespaceURI = element.namespaceURI;
                type.localName = element.localName;
                return closeKindTest(type);
            }
        } else {
            parseSchemaTest(name.text == "schema-element");
        }
        return closeKindTest(type);
    }

    // SchemaElementTest ::= "schema-element" "(" ElementName ")", after its "(": the
    // name must be declared in a schema, and no schema is imported here.
    [[noreturn]] void parseSchemaTest(bool element) {
        if (at(TokenKind::LeftParen)) advance();
        const Token& token = expect(TokenKind::Name);
        resolveName(token, element);  // an undeclared prefix is the first error
        expect(TokenKind::RightParen);
        throw XPathError(ErrorCode::XPST0008, std::string(element ? "element" : "attribute") + " '" + token.text +
                                                  "' is not declared in any imported schema");
    }

    ItemType closeKindTest(ItemType type) {
        expect(TokenKind::RightParen);
        return type;
    }

    // ElementTest ::= "element" "(" (ElementNameOrWildcard ("," TypeName "?"?)?)? ")"
    void parseElementOrAttributeTestBody(ItemType& type) {
        if (at(TokenKind::RightParen)) return;
        if (!accept(TokenKind::Star)) {
            const Token& token = expect(TokenKind::Name);
            const ExpandedName name = resolveName(token, type.kind == ItemTypeKind::Element);
            type.namespaceURI = name.namespaceURI;
            type.localName = name.localName;
        }
        if (!accept(TokenKind::Comma)) return;
        const Token& typeName = expect(TokenKind::Name);
        const ExpandedName resolved = resolveName(typeName, true);
        accept(TokenKind::QuestionMark);
        // Without a schema every element is xs:untyped and every attribute
        // xs:untypedAtomic; a test for another type matches nothing we have.
        const bool untyped = resolved.namespaceURI == kSchemaNamespace &&
                             (resolved.localName == "untyped" || resolved.localName == "anyType" ||
                              resolved.localName == "untypedAtomic" || resolved.localName == "anySimpleType");
        if (!untyped) {
            throw XPathError(ErrorCode::XPST0051, "type '" + typeName.text + "' is not known without a schema, at offset " +
                                                      std::to_string(typeName.offset));
        }
    }

    // PredicateList ::= ("[" Expr "]")*
    PredicateList parsePredicates() {
        ExpressionList predicates;
        while (accept(TokenKind::LeftBracket)) {
            predicates.push_back(parseExpr());
            expect(TokenKind::RightBracket);
        }
        return PredicateList(std::move(predicates));
    }

    // FilterExpr ::= PrimaryExpr PredicateList
    ExpressionPtr parseFilter() {
        const size_t offset = current().offset;
        ExpressionPtr primary = parsePrimary();
        PredicateList predicates = parsePredicates();
        if (predicates.empty()) return primary;
        return std::make_unique<FilterExpression>(offset, std::move(primary), std::move(predicates));
    }

    // PrimaryExpr ::= Literal | VarRef | ParenthesizedExpr | ContextItemExpr | FunctionCall
    ExpressionPtr parsePrimary() {
        const Token& token = current();
        switch (token.kind) {
        case TokenKind::StringLiteral:
            advance();
            return std::make_unique<LiteralExpression>(token.offset, AtomicValue::fromString(token.text));
        case TokenKind::IntegerLiteral:
        case TokenKind::DecimalLiteral:
        case TokenKind::DoubleLiteral:
            advance();
            return std::make_unique<LiteralExpression>(token.offset, numericLiteral(token));
        case TokenKind::Dollar:
            return parseVariableReference();
        case TokenKind::LeftParen:
            return parseParenthesized();
        case TokenKind::Dot:
            advance();
            return std::make_unique<ContextItemExpression>(token.offset);
        case TokenKind::Name:
            if (peekIs(TokenKind::LeftParen) && !isReservedFunctionName(token.text)) return parseFunctionCall();
            unexpected("an expression");
        default:
            unexpected("an expression");
        }
    }

    AtomicValue numericLiteral(const Token& token) const {
        switch (token.kind) {
        case TokenKind::IntegerLiteral:
            if (auto value = Decimal::parseInteger(token.text)) return AtomicValue::fromDecimal(*value, AtomicType::Integer);
            break;
        case TokenKind::DecimalLiteral:
            if (auto value = Decimal::parseDecimal(token.text)) return AtomicValue::fromDecimal(*value);
            break;
        case TokenKind::DoubleLiteral:
            if (auto value = parseDouble(token.text)) return AtomicValue::fromDouble(*value);
            break;
        default:
            break;
        }
        throw XPathError(ErrorCode::XPST0003,
                         "malformed number '" + token.text + "' at offset " + std::to_string(token.offset));
    }

    // VarRef ::= "$" VarName
    ExpressionPtr parseVariableReference() {
        const size_t offset = advance().offset;
        const Token& name = expect(TokenKind::Name);
        const ExpandedName variable = resolveName(name, false);
        if (std::optional<size_t> slot = scope_.find(variable)) {
            return std::make_unique<VariableReference>(offset, VariableScope::Local, *slot, name.text);
        }
        if (std::optional<size_t> slot = context_.variableSlot(variable)) {
            return std::make_unique<VariableReference>(offset, VariableScope::Global, *slot, name.text);
        }
        throw XPathError(ErrorCode::XPST0008,
                         "variable $" + name.text + " is not declared, at offset " + std::to_string(offset));
    }

    // ParenthesizedExpr ::= "(" Expr? ")"
    ExpressionPtr parseParenthesized() {
        const size_t offset = advance().offset;
        if (accept(TokenKind::RightParen)) return std::make_unique<SequenceExpression>(offset, ExpressionList());
        ExpressionPtr inner = parseExpr();
        expect(TokenKind::RightParen);
        return inner;
    }

    // FunctionCall ::= QName "(" (ExprSingle ("," ExprSingle)*)? ")"
    ExpressionPtr parseFunctionCall() {
        const Token& nameToken = advance();
        const ExpandedName name = resolveName(nameToken, false, kFunctionNamespace);
        advance();  // (
        ExpressionList arguments;
        if (!at(TokenKind::RightParen)) {
            do {
                arguments.push_back(parseExprSingle());
            } while (accept(TokenKind::Comma));
        }
        expect(TokenKind::RightParen);
        return bindFunction(nameToken, name, std::move(arguments));
    }

    ExpressionPtr bindFunction(const Token& nameToken, const ExpandedName& name, ExpressionList arguments) {
        const FunctionLibrary& library = context_.functions();
        const FunctionDefinition* function = library.find(name, arguments.size());
        if (!function && arguments.empty()) {
            // f() for a function whose argument defaults to the context item.
            const FunctionDefinition* withContext = library.find(name, 1);
            if (withContext && withContext->focus == FocusUse::ContextItemDefault) {
                arguments.push_back(std::make_unique<ContextItemExpression>(nameToken.offset));
                function = withContext;
            }
        }
        if (!function) {
            const std::string what = library.knows(name) ? "cannot be called with " + std::to_string(arguments.size()) +
                                                               " argument" + (arguments.size() == 1 ? "" : "s")
                                                         : "is not a known function";
            throw XPathError(ErrorCode::XPST0017, nameToken.text + "() " + what + ", at offset " +
                                                      std::to_string(nameToken.offset));
        }
        if (function->constructorType) {
            return makeCast(nameToken.offset, std::move(arguments.front()), *function->constructorType, true, false);
        }
        return std::make_unique<FunctionCall>(nameToken.offset, function, std::move(arguments));
    }

    // ---- Sequence types ---------------------------------------------------------

    // SequenceType ::= ("empty-sequence" "(" ")") | (ItemType OccurrenceIndicator?)
    SequenceType parseSequenceType() {
        if (atName("empty-sequence") && peekIs(TokenKind::LeftParen)) {
            advance();
            advance();
            expect(TokenKind::RightParen);
            SequenceType type;
            type.emptySequence = true;
            return type;
        }
        SequenceType type;
        type.itemType = parseItemType();
        if (accept(TokenKind::QuestionMark)) {
            type.occurrence = Occurrence::ZeroOrOne;
        } else if (accept(TokenKind::Star)) {
            type.occurrence = Occurrence::ZeroOrMore;
        } else if (accept(TokenKind::Plus)) {
            type.occurrence = Occurrence::OneOrMore;
        }
        return type;
    }

    // ItemType ::= KindTest | ("item" "(" ")") | AtomicType
    ItemType parseItemType() {
        if (at(TokenKind::Name) && peekIs(TokenKind::LeftParen)) {
            if (atName("item")) {
                advance();
                advance();
                expect(TokenKind::RightParen);
                return ItemType{};
            }
            if (isKindTestName(current().text)) return parseKindTest();
            fail("'" + current().text + "(' is not a sequence type");
        }
        ItemType type;
        type.kind = ItemTypeKind::Atomic;
        type.atomicType = parseAtomicTypeName();
        return type;
    }

    std::vector<Token> tokens_;
    size_t pos_ = 0;
    int depth_ = 0;      // nested parse functions
    int treeDepth_ = 0;  // levels of the tree being built above the current token
    const StaticContext& context_;
    LocalScope& scope_;
};

}  // namespace

ExpressionPtr parseExpression(std::string_view text, const StaticContext& context, LocalScope& scope) {
    return Parser(text, context, scope).parseWhole();
}

SequenceType parseSequenceType(std::string_view text, const StaticContext& context) {
    LocalScope scope;
    return Parser(text, context, scope).parseWholeSequenceType();
}

}  // namespace quillmark::xpath
