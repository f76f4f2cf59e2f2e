// Explaining a test's outcome: the compiled tree says what each part is, the test's text
// (split at the offsets the tree records) what it is called, and evaluating the parts
// again in the run's context what their values were.

#include "standard/explanation.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <unordered_set>

#include "xpath/error.h"
#include "xpath/item_display.h"
#include "xpath/lexer.h"
#include "xpath/node_access.h"
#include "xpath/syntax_tree.h"
#include "xpath/xml_text.h"

namespace quillmark::standard {
namespace {

using xpath::Expression;
using xpath::Item;
using xpath::Sequence;
using xpath::Token;
using xpath::TokenKind;

// Where each character of UTF-8 text starts, and the end.
std::vector<size_t> characterStarts(const std::string& text) {
    std::vector<size_t> starts;
    for (size_t at = 0; at < text.size(); ++at) {
        if ((static_cast<unsigned char>(text[at]) & 0xC0) != 0x80) starts.push_back(at);
    }
    starts.push_back(text.size());
    return starts;
}

// The first `length` characters of UTF-8 text, "…" marking a cut.
std::string shortened(const std::string& text, size_t length) {
    const std::vector<size_t> starts = characterStarts(text);
    if (starts.size() - 1 <= length) return text;
    return text.substr(0, starts[length]) + "…";
}

// At most `length` characters of an expression's text: its start and its end, which
// tell apart long paths that begin alike, around a "…".
std::string elided(const std::string& text, size_t length) {
    const std::vector<size_t> starts = characterStarts(text);
    const size_t characters = starts.size() - 1;
    if (characters <= length || length < 2) return text;
    const size_t head = (length - 1) * 2 / 5;
    const size_t tail = length - 1 - head;
    return text.substr(0, starts[head]) + "…" + text.substr(starts[characters - tail]);
}

bool isQuotedType(xpath::AtomicType type) {
    return xpath::derivesFrom(type, xpath::AtomicType::String) || type == xpath::AtomicType::UntypedAtomic ||
           type == xpath::AtomicType::AnyURI;
}

std::string nodeLabel(const xmlNode* node) {
    switch (xpath::nodeKind(node)) {
    case xpath::NodeKind::Document: return "document";
    case xpath::NodeKind::Element: return xpath::qualifiedNameOf(node);
    case xpath::NodeKind::Attribute: return "@" + xpath::qualifiedNameOf(node);
    case xpath::NodeKind::Text: return "text()";
    case xpath::NodeKind::Comment: return "comment()";
    case xpath::NodeKind::ProcessingInstruction: return "processing-instruction(" + xpath::qualifiedNameOf(node) + ")";
    case xpath::NodeKind::Other: return "node()";
    }
    return "node()";
}

std::string displayItem(const Item& item, const ExplanationLimits& limits) {
    if (item.isNode()) {
        const xmlNode* node = item.node().raw();
        const std::string text = xpath::collapseXmlWhiteSpace(xpath::stringValueOf(node));
        return xpath::quoteText(shortened(text, limits.maxItemLength)) + " (" + nodeLabel(node) + ")";
    }
    const xpath::AtomicValue& value = item.atomic();
    const std::string text = shortened(value.toString(), limits.maxItemLength);
    return isQuotedType(value.type()) ? xpath::quoteText(text) : text;
}

// A part of the test's text, as byte offsets [begin, end).
struct Span {
    size_t begin = 0;
    size_t end = 0;
    bool empty() const { return begin >= end; }
};

// The test's tokens, with the brackets paired, for finding the text of each part.
class TestText {
public:
    explicit TestText(const std::string& text) : text_(text) {
        try {
            tokens_ = xpath::tokenize(text);
        } catch (const std::exception&) {
            tokens_.clear();  // compiled text always tokenizes; without tokens no part is named
        }
        pairBrackets();
    }

    Span whole() const { return trimmed(Span{0, text_.size()}); }
    // The span's text on one line.
    std::string of(Span span) const {
        return xpath::collapseXmlWhiteSpace(std::string_view(text_).substr(span.begin, span.end - span.begin));
    }

    // The token starting at `offset`, if one does.
    std::optional<size_t> tokenAt(size_t offset) const {
        auto it = std::lower_bound(tokens_.begin(), tokens_.end(), offset,
                                   [](const Token& token, size_t at) { return token.offset < at; });
        if (it == tokens_.end() || it->offset != offset || it->kind == TokenKind::End) return std::nullopt;
        return static_cast<size_t>(it - tokens_.begin());
    }

    // Without blanks at either end, and without parentheses around the whole.
    Span trimmed(Span span) const {
        for (;;) {
            while (span.begin < span.end && xpath::isXmlWhiteSpace(text_[span.begin])) ++span.begin;
            while (span.end > span.begin && xpath::isXmlWhiteSpace(text_[span.end - 1])) --span.end;
            const std::optional<size_t> open = tokenAt(span.begin);
            if (!open || tokens_[*open].kind != TokenKind::LeftParen) return span;
            const size_t close = partner_[*open];
            if (close != *open + 1 && tokens_[close].offset + 1 == span.end && !hasTopLevelComma(*open + 1, close)) {
                span = Span{tokens_[*open + 1].offset, tokens_[close].offset};
                continue;
            }
            return span;
        }
    }

    // The operands' texts of a binary operator at `offset`.
    std::optional<std::pair<Span, Span>> aroundOperator(Span span, size_t offset) const {
        const std::optional<size_t> op = tokenAt(offset);
        if (!op || offset <= span.begin || offset >= span.end) return std::nullopt;
        const Span left = trimmed(Span{span.begin, offset});
        const Span right = trimmed(Span{tokens_[*op + 1].offset, span.end});
        if (left.empty() || right.empty()) return std::nullopt;
        return std::pair{left, right};
    }

    // After a prefix operator or keyword at `offset`: the rest of the span.
    std::optional<Span> after(Span span, size_t offset) const {
        const std::optional<size_t> at = tokenAt(offset);
        if (!at || offset != span.begin) return std::nullopt;
        const Span rest = trimmed(Span{tokens_[*at + 1].offset, span.end});
        if (rest.empty()) return std::nullopt;
        return rest;
    }

    // The arguments' texts of a call NAME(...) that is the whole span, the name at
    // `offset`; an empty list for NAME().
    std::optional<std::vector<Span>> callArguments(Span span, size_t offset) const {
        const std::optional<size_t> name = tokenAt(offset);
        if (!name || offset != span.begin || tokens_[*name].kind != TokenKind::Name ||
            kindAt(*name + 1) != TokenKind::LeftParen) {
            return std::nullopt;
        }
        const size_t close = partner_[*name + 1];
        if (tokens_[close].offset + 1 != span.end) return std::nullopt;
        std::vector<Span> arguments;
        if (close == *name + 2) return arguments;
        size_t start = *name + 2;
        for (size_t at = start; at <= close; at = skip(at)) {
            if (at == close || tokens_[at].kind == TokenKind::Comma) {
                arguments.push_back(trimmed(Span{tokens_[start].offset, tokens_[at].offset}));
                start = at + 1;
            }
            if (at == close) break;
        }
        return arguments;
    }

    struct Binding {
        std::string name;
        Span sequence;
    };
    struct Quantified {
        std::vector<Binding> bindings;
        Span test;
    };

    // some|every $NAME in SEQUENCE (, $NAME in SEQUENCE)* satisfies TEST, the keyword at `offset`.
    std::optional<Quantified> quantified(Span span, size_t offset) const {
        const std::optional<size_t> keyword = tokenAt(offset);
        if (!keyword || offset != span.begin) return std::nullopt;
        Quantified parts;
        size_t at = *keyword + 1;
        for (;;) {
            if (kindAt(at) != TokenKind::Dollar || kindAt(at + 1) != TokenKind::Name || !isName(at + 2, "in")) {
                return std::nullopt;
            }
            const size_t start = at + 3;
            at = start;
            while (within(at, span) && !isName(at, "satisfies") &&
                   !(tokens_[at].kind == TokenKind::Comma && kindAt(at + 1) == TokenKind::Dollar)) {
                at = skip(at);
            }
            if (!within(at, span) || at == start) return std::nullopt;
            parts.bindings.push_back(
                Binding{tokens_[start - 2].text, trimmed(Span{tokens_[start].offset, tokens_[at].offset})});
            if (isName(at, "satisfies")) break;
            ++at;
        }
        parts.test = trimmed(Span{tokens_[at + 1].offset, span.end});
        if (parts.test.empty()) return std::nullopt;
        return parts;
    }

    struct Conditional {
        Span condition, thenBranch, elseBranch;
    };

    // if (CONDITION) then A else B, the keyword at `offset`.
    std::optional<Conditional> conditional(Span span, size_t offset) const {
        const std::optional<size_t> keyword = tokenAt(offset);
        if (!keyword || offset != span.begin || kindAt(*keyword + 1) != TokenKind::LeftParen) return std::nullopt;
        const size_t close = partner_[*keyword + 1];
        if (!isName(close + 1, "then")) return std::nullopt;
        size_t at = close + 2;
        int nested = 0;  // inner ifs whose else is still to come
        while (within(at, span)) {
            if (isName(at, "if") && kindAt(at + 1) == TokenKind::LeftParen) {
                ++nested;
                at = skip(at + 1);
                continue;
            }
            if (isName(at, "else") && nested-- == 0) {
                return Conditional{trimmed(Span{tokens_[*keyword + 2].offset, tokens_[close].offset}),
                                   trimmed(Span{tokens_[close + 2].offset, tokens_[at].offset}),
                                   trimmed(Span{tokens_[at + 1].offset, span.end})};
            }
            at = skip(at);
        }
        return std::nullopt;
    }

    // Names of the variables written $NAME, in order of first appearance, without those
    // that the test binds itself (for, some, every).
    std::vector<std::string> variablesRead() const {
        std::vector<std::string> bound;
        for (size_t at = 0; at + 2 < tokens_.size(); ++at) {
            if (tokens_[at].kind == TokenKind::Dollar && isName(at + 2, "in")) bound.push_back(tokens_[at + 1].text);
        }
        std::vector<std::string> names;
        for (size_t at = 0; at + 1 < tokens_.size(); ++at) {
            if (tokens_[at].kind != TokenKind::Dollar || tokens_[at + 1].kind != TokenKind::Name) continue;
            const std::string& name = tokens_[at + 1].text;
            if (std::find(bound.begin(), bound.end(), name) != bound.end()) continue;
            if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
        }
        return names;
    }

private:
    static bool isOpening(TokenKind kind) { return kind == TokenKind::LeftParen || kind == TokenKind::LeftBracket; }

    bool isName(size_t at, std::string_view name) const {
        return at < tokens_.size() && tokens_[at].kind == TokenKind::Name && tokens_[at].text == name;
    }

    bool hasTopLevelComma(size_t from, size_t to) const {
        for (size_t at = from; at < to; at = skip(at)) {
            if (tokens_[at].kind == TokenKind::Comma) return true;
        }
        return false;
    }

    // partner_[i]: for an opening bracket the index of its closing one (the End token
    // when unclosed); for other tokens i itself.
    void pairBrackets() {
        if (tokens_.empty() || tokens_.back().kind != TokenKind::End) tokens_.push_back(Token{TokenKind::End, "", text_.size()});
        partner_.resize(tokens_.size());
        std::vector<size_t> open;
        for (size_t at = 0; at < tokens_.size(); ++at) {
            partner_[at] = at;
            const TokenKind kind = tokens_[at].kind;
            if (isOpening(kind)) open.push_back(at);
            if ((kind == TokenKind::RightParen || kind == TokenKind::RightBracket) && !open.empty()) {
                partner_[open.back()] = at;
                open.pop_back();
            }
        }
        for (size_t unclosed : open) partner_[unclosed] = tokens_.size() - 1;
    }

    TokenKind kindAt(size_t at) const { return at < tokens_.size() ? tokens_[at].kind : TokenKind::End; }

    // The token after `at` and, when `at` opens brackets, everything up to their close.
    size_t skip(size_t at) const { return std::min(partner_[at] + 1, tokens_.size() - 1); }

    // True while `at` is a token before the end of `span`.
    bool within(size_t at, Span span) const { return kindAt(at) != TokenKind::End && tokens_[at].offset < span.end; }

    const std::string& text_;
    std::vector<Token> tokens_;
    std::vector<size_t> partner_;
};

// The value of an evaluation, or the error that ended it.
template <typename T>
struct Evaluated {
    std::optional<T> value;
    std::string error;
};

class Explainer {
public:
    Explainer(const xpath::CompiledExpression& test, xpath::DynamicContext& context, const LetsInScope& lets,
              const ExplanationLimits& limits)
        : test_(test), text_(test.text()), context_(context), lets_(lets), limits_(limits) {}

    std::vector<QMExplanationLine> explain(bool observed) {
        const std::vector<const CompiledLet*> variables = variablesRead();
        // Room is kept for the variables, which say most about a rule written with lets.
        lineBudget_ = limits_.maxLines - std::min(variables.size(), limits_.maxLines / 3);
        condition(test_.root(), text_.whole(), observed);
        lineBudget_ = limits_.maxLines;
        for (const CompiledLet* let : variables) showVariable(*let);
        return std::move(lines_);
    }

private:
    // The parts of a boolean that decided its value `observed`. Recursion follows the
    // compiled tree, whose depth the parser bounds.
    void condition(const Expression& node, Span span, bool observed) {
        if (finished()) return;
        if (const auto* logical = dynamic_cast<const xpath::LogicalExpression*>(&node)) {
            logicalBranches(*logical, span, observed);
            return;
        }
        if (const auto* call = dynamic_cast<const xpath::FunctionCall*>(&node)) {
            functionCondition(*call, span, observed);
            return;
        }
        if (const auto* quantified = dynamic_cast<const xpath::QuantifiedExpression*>(&node)) {
            quantifiedCondition(*quantified, span, observed);
            return;
        }
        if (const auto* conditional = dynamic_cast<const xpath::IfExpression*>(&node)) {
            ifCondition(*conditional, span, observed);
            return;
        }
        if (const auto* comparison = dynamic_cast<const xpath::ComparisonExpression*>(&node)) {
            if (const auto operands = text_.aroundOperator(span, node.offset())) {
                operand(comparison->left(), operands->first, 0);
                operand(comparison->right(), operands->second, 0);
                return;
            }
        }
        operand(node, span, 0);
    }

    // `and` false: its false branches; `or` false: both; the other way round when true.
    void logicalBranches(const xpath::LogicalExpression& node, Span span, bool observed) {
        const auto branches = text_.aroundOperator(span, node.offset());
        if (!branches) {
            operand(node, span, 0);
            return;
        }
        const bool decisive = node.op() == xpath::LogicalOperator::Or;  // the value a branch alone decides
        for (const auto& [branch, branchSpan] : {std::pair{&node.left(), branches->first},
                                                 std::pair{&node.right(), branches->second}}) {
            if (observed == decisive) {
                // Only the branches that have the observed value made it.
                const std::optional<bool> value = booleanOf(*branch, branchSpan);
                if (!value || *value != observed) continue;
            }
            condition(*branch, branchSpan, observed);
        }
    }

    void functionCondition(const xpath::FunctionCall& call, Span span, bool observed) {
        const std::optional<std::vector<Span>> arguments = argumentsOf(call, span);
        if (!arguments) {
            operand(call, span, 0);
            return;
        }
        switch (call.function().booleanForm) {
        case xpath::BooleanForm::Not:
            condition(*call.arguments().front(), arguments->front(), !observed);
            return;
        case xpath::BooleanForm::Boolean:
            condition(*call.arguments().front(), arguments->front(), observed);
            return;
        case xpath::BooleanForm::Exists:
        case xpath::BooleanForm::Empty:
        case xpath::BooleanForm::None:
            break;
        }
        argumentLines(call, *arguments, 0);
    }

    // every false / some true: the first binding that decided it; every true / some
    // false: what was ranged over, and the first binding.
    void quantifiedCondition(const xpath::QuantifiedExpression& node, Span span, bool observed) {
        const auto parts = text_.quantified(span, node.offset());
        if (!parts || parts->bindings.size() != node.bindings().size()) {
            operand(node, span, 0);
            return;
        }
        const bool every = node.quantifier() == xpath::Quantifier::Every;
        const bool decidedByOne = every != observed;
        if (!decidedByOne) {
            for (size_t index = 0; index < parts->bindings.size(); ++index) {
                operand(*node.bindings()[index].sequence, parts->bindings[index].sequence, 0);
            }
        }
        // The binding whose test has the observed value (any binding, when all have it).
        if (!bindUntil(node, 0, observed)) return;
        for (size_t index = 0; index < parts->bindings.size(); ++index) {
            const std::string variable = "$" + parts->bindings[index].name;
            if (claim(variable)) addLine(variable, displayValue(context_.locals[node.bindings()[index].slot], limits_));
        }
        condition(node.test(), parts->test, observed);
    }

    // Binds the variables from `index` on, tuple by tuple, until the test's value is
    // `wanted`; false when no tuple gives it (or an evaluation failed).
    bool bindUntil(const xpath::QuantifiedExpression& node, size_t index, bool wanted) {
        if (finished()) return false;
        if (index == node.bindings().size()) {
            const Evaluated<bool> value = evaluateBoolean(node.test());
            return value.value == wanted;
        }
        const xpath::VariableBinding& binding = node.bindings()[index];
        const Evaluated<Sequence> sequence = evaluate(*binding.sequence);
        if (!sequence.value) return false;
        for (const Item& item : *sequence.value) {
            context_.locals[binding.slot] = Sequence{item};
            if (bindUntil(node, index + 1, wanted)) return true;
            if (finished()) return false;
        }
        return false;
    }

    void ifCondition(const xpath::IfExpression& node, Span span, bool observed) {
        const auto parts = text_.conditional(span, node.offset());
        if (!parts) {
            operand(node, span, 0);
            return;
        }
        const std::optional<bool> taken = booleanOf(node.condition(), parts->condition);
        if (!taken) return;
        condition(node.condition(), parts->condition, *taken);
        if (*taken) condition(node.thenBranch(), parts->thenBranch, observed);
        else condition(node.elseBranch(), parts->elseBranch, observed);
    }

    // A line for a value that mattered, then lines for its own operands. Below the top
    // level (depth 0, the values the test compared or tested), some parts pass the line
    // on to their operands: casts, scaling by a constant (x * 100, round(x) div 100), and
    // computations that came to () because an operand was empty.
    void operand(const Expression& node, Span span, int depth) {
        if (finished() || isConstant(node)) return;
        if (depth > 0) {
            if (const auto inner = passedTo(node, span)) return operand(inner->first, inner->second, depth);
        }
        const std::string expression = text_.of(span);
        if (expression.empty() || !claim(expression)) return;
        const Evaluated<Sequence> value = evaluate(node);
        if (!value.value) {
            addLine(expression, value.error);
            return;
        }
        if (depth > 0 && value.value->empty() && isComputation(node)) return innerOperands(node, span, depth);
        addLine(expression, displayValue(*value.value, limits_));
        if (depth + 1 <= limits_.maxDepth) innerOperands(node, span, depth + 1);
    }

    // The operand that a cast or a scaling by a constant stands for.
    std::optional<std::pair<const Expression&, Span>> passedTo(const Expression& node, Span span) const {
        if (const auto* cast = dynamic_cast<const xpath::CastExpression*>(&node); cast && !cast->yieldsBoolean()) {
            if (const auto arguments = text_.callArguments(span, cast->offset()); arguments && arguments->size() == 1) {
                return std::pair<const Expression&, Span>{cast->operand(), arguments->front()};
            }
            if (const auto operands = text_.aroundOperator(span, cast->offset())) {
                return std::pair<const Expression&, Span>{cast->operand(), operands->first};
            }
            return std::nullopt;
        }
        const auto* arithmetic = dynamic_cast<const xpath::ArithmeticExpression*>(&node);
        if (!arithmetic) return std::nullopt;
        const auto operands = text_.aroundOperator(span, node.offset());
        if (operands && isConstant(arithmetic->right())) return std::pair<const Expression&, Span>{arithmetic->left(), operands->first};
        if (operands && isConstant(arithmetic->left())) return std::pair<const Expression&, Span>{arithmetic->right(), operands->second};
        return std::nullopt;
    }

    // Parts whose value comes from operands that have lines of their own.
    static bool isComputation(const Expression& node) {
        return dynamic_cast<const xpath::ArithmeticExpression*>(&node) || dynamic_cast<const xpath::FunctionCall*>(&node) ||
               dynamic_cast<const xpath::UnaryExpression*>(&node) || dynamic_cast<const xpath::CastExpression*>(&node);
    }

    void innerOperands(const Expression& node, Span span, int depth) {
        if (const auto* call = dynamic_cast<const xpath::FunctionCall*>(&node)) {
            if (const auto arguments = argumentsOf(*call, span)) argumentLines(*call, *arguments, depth);
            return;
        }
        if (const auto* arithmetic = dynamic_cast<const xpath::ArithmeticExpression*>(&node)) {
            binaryOperands(arithmetic->left(), arithmetic->right(), node.offset(), span, depth);
            return;
        }
        if (const auto* comparison = dynamic_cast<const xpath::ComparisonExpression*>(&node)) {
            binaryOperands(comparison->left(), comparison->right(), node.offset(), span, depth);
            return;
        }
        if (const auto* unary = dynamic_cast<const xpath::UnaryExpression*>(&node)) {
            if (const auto rest = text_.after(span, node.offset())) operand(unary->operand(), *rest, depth);
            return;
        }
        if (const auto* cast = dynamic_cast<const xpath::CastExpression*>(&node)) {
            castOperand(*cast, span, depth);
        }
    }

    void binaryOperands(const Expression& left, const Expression& right, size_t offset, Span span, int depth) {
        const auto operands = text_.aroundOperator(span, offset);
        if (!operands) return;
        operand(left, operands->first, depth);
        operand(right, operands->second, depth);
    }

    // xs:T(X) or X cast as T, X castable as T.
    void castOperand(const xpath::CastExpression& cast, Span span, int depth) {
        if (const auto arguments = text_.callArguments(span, cast.offset()); arguments && arguments->size() == 1) {
            operand(cast.operand(), arguments->front(), depth);
            return;
        }
        if (const auto operands = text_.aroundOperator(span, cast.offset())) operand(cast.operand(), operands->first, depth);
    }

    // The texts of a call's arguments, one per argument of the compiled call; an empty
    // span for the context item that f() stands for.
    std::optional<std::vector<Span>> argumentsOf(const xpath::FunctionCall& call, Span span) const {
        std::optional<std::vector<Span>> arguments = text_.callArguments(span, call.offset());
        if (arguments && arguments->empty() && call.arguments().size() == 1) arguments->push_back(Span{});
        if (!arguments || arguments->size() != call.arguments().size()) return std::nullopt;
        return arguments;
    }

    void argumentLines(const xpath::FunctionCall& call, const std::vector<Span>& arguments, int depth) {
        for (size_t index = 0; index < arguments.size(); ++index) {
            if (arguments[index].empty()) showContextItem();
            else operand(*call.arguments()[index], arguments[index], depth);
        }
    }

    void showContextItem() {
        if (finished() || !claim(".")) return;
        if (!context_.focus.item) {
            addLine(".", "()");
            return;
        }
        addLine(".", displayValue(Sequence{*context_.focus.item}, limits_));
    }

    void showVariable(const CompiledLet& let) {
        const std::string expression = "$" + let.name;
        if (finished() || !claim(expression)) return;
        try {
            addLine(expression, displayValue(context_.readGlobal(let.slot, let.name), limits_));
        } catch (const std::exception& error) {
            failed(error);
            addLine(expression, error.what());
        }
    }

    // The lets the test names, the rule's before the global ones of the same name.
    std::vector<const CompiledLet*> variablesRead() const {
        std::vector<const CompiledLet*> found;
        for (const std::string& name : text_.variablesRead()) {
            for (const std::vector<CompiledLet>* lets : {&lets_.rule, &lets_.global}) {
                auto it = std::find_if(lets->begin(), lets->end(), [&](const CompiledLet& let) { return let.name == name; });
                if (it == lets->end()) continue;
                found.push_back(&*it);
                break;
            }
        }
        return found;
    }

    // Literals, and sequences, casts and negations of them, say nothing the test's text
    // does not.
    static bool isConstant(const Expression& node) {
        if (node.kind() == xpath::ExpressionKind::Literal) return true;
        if (const auto* cast = dynamic_cast<const xpath::CastExpression*>(&node)) return isConstant(cast->operand());
        if (const auto* unary = dynamic_cast<const xpath::UnaryExpression*>(&node)) return isConstant(unary->operand());
        const auto* sequence = dynamic_cast<const xpath::SequenceExpression*>(&node);
        return sequence && std::all_of(sequence->items().begin(), sequence->items().end(),
                                       [](const xpath::ExpressionPtr& item) { return isConstant(*item); });
    }

    std::optional<bool> booleanOf(const Expression& node, Span span) {
        const Evaluated<bool> value = evaluateBoolean(node);
        if (value.value) return value.value;
        const std::string expression = text_.of(span);
        if (claim(expression)) addLine(expression, value.error);
        return std::nullopt;
    }

    Evaluated<bool> evaluateBoolean(const Expression& node) {
        return guarded<bool>([&] { return node.effectiveBooleanValue(context_); });
    }

    Evaluated<Sequence> evaluate(const Expression& node) {
        return guarded<Sequence>([&] { return node.evaluate(context_); });
    }

    template <typename T, typename Evaluation>
    Evaluated<T> guarded(Evaluation evaluation) {
        if (budgetSpent_) return Evaluated<T>{std::nullopt, budgetMessage_};
        try {
            return Evaluated<T>{evaluation(), ""};
        } catch (const std::exception& error) {
            failed(error);
            return Evaluated<T>{std::nullopt, error.what()};
        }
    }

    void failed(const std::exception& error) {
        const auto* xpathError = dynamic_cast<const xpath::XPathError*>(&error);
        if (!xpathError || xpathError->code() != xpath::ErrorCode::QMXP0001) return;
        budgetSpent_ = true;
        budgetMessage_ = error.what();
    }

    // True the first time a text is asked for: no text gets two lines.
    bool claim(const std::string& expression) { return shown_.insert(expression).second; }

    // A line, the expression's text cut to its length limit.
    void addLine(const std::string& expression, std::string value) {
        if (lines_.size() >= lineBudget_) return;
        lines_.push_back(QMExplanationLine{elided(expression, limits_.maxExpressionLength), std::move(value)});
    }

    bool finished() const { return budgetSpent_ || lines_.size() >= lineBudget_; }

    const xpath::CompiledExpression& test_;
    TestText text_;
    xpath::DynamicContext& context_;
    const LetsInScope& lets_;
    const ExplanationLimits& limits_;
    std::vector<QMExplanationLine> lines_;
    std::unordered_set<std::string> shown_;  // texts that have a line
    size_t lineBudget_ = 0;
    bool budgetSpent_ = false;
    std::string budgetMessage_;
};

}  // namespace

std::string displayValue(const Sequence& value, const ExplanationLimits& limits) {
    if (value.empty()) return "()";
    std::string text;
    const size_t shown = std::min(value.size(), std::max<size_t>(limits.maxItems, 1));
    for (size_t index = 0; index < shown; ++index) {
        if (index > 0) text += ", ";
        text += displayItem(value[index], limits);
    }
    if (shown < value.size()) text += ", … (" + std::to_string(value.size()) + " items)";
    return text;
}

std::vector<QMExplanationLine> explainTest(const xpath::CompiledExpression& test, xpath::DynamicContext& context,
                                           bool observed, const LetsInScope& lets, const ExplanationLimits& limits) {
    try {
        xpath::FrameScope frame(context, test.frameSize());
        return Explainer(test, context, lets, limits).explain(observed);
    } catch (const std::exception&) {
        return {};  // out of memory, say: the issue stands without its explanation
    }
}

}  // namespace quillmark::standard
