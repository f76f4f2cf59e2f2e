#include "xpath/match_pattern.h"

#include "xpath/axes.h"
#include "xpath/error.h"
#include "xpath/syntax_tree.h"
#include "xpath/upward_matcher.h"

namespace quillmark::xpath {
namespace {

Item itemOf(const xmlNode* node) { return Item(xml::Node(const_cast<xmlNode*>(node))); }

// ---- Keys -----------------------------------------------------------------------------

void collectKeys(const Expression& expression, std::vector<MatchKey>& keys) {
    if (const auto* step = expressionAs<AxisStep>(expression)) {
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
    if (expressionAs<RootExpression>(expression)) {
        keys.push_back({NodeKind::Document, std::nullopt});
        return;
    }
    if (const auto* set = expressionAs<SetExpression>(expression)) {
        collectKeys(set->left(), keys);
        collectKeys(set->right(), keys);
        return;
    }
    if (const auto* path = expressionAs<PathExpression>(expression)) {
        collectKeys(*path->steps().back(), keys);
        return;
    }
    if (const auto* filter = expressionAs<FilterExpression>(expression)) {
        collectKeys(filter->primary(), keys);
        return;
    }
    keys.push_back({std::nullopt, std::nullopt});
}

bool startsAtRoot(const Expression& expression) {
    if (expressionAs<RootExpression>(expression)) return true;
    const auto* path = expressionAs<PathExpression>(expression);
    return path && expressionAs<RootExpression>(*path->steps().front());
}

}  // namespace

MatchPattern::MatchPattern(std::string_view text, const StaticContext& context) : expression_(text, context) {
    evaluatedWhole_ = !isUpwardMatchable(expression_.root());
    absolute_ = startsAtRoot(expression_.root());
    collectKeys(expression_.root(), keys_);
}

MatchPattern::~MatchPattern() = default;
MatchPattern::MatchPattern(MatchPattern&&) noexcept = default;
MatchPattern& MatchPattern::operator=(MatchPattern&&) noexcept = default;

bool MatchPattern::matches(const xmlNode* node, DynamicContext& context) const {
    if (evaluatedWhole_) return matchesByEvaluation(node, context);
    FrameScope frame(context, expression_.frameSize());
    UpwardMatcher matcher(context, StepReading::Pattern);
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
