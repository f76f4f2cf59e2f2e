#pragma once
// Matching a node against a path from the node upwards: the node is among what a path
// selects from some origin when its last step selects it from its parent (or owner, or
// an ancestor), and that node in turn is selected by the step before, and so on. Only the
// node and its ancestors are looked at. Match patterns (rule contexts) work this way, and
// so do searches of a whole document or subtree for a name (the candidates come from the
// document's name index and are checked upwards instead of walking the tree down).

#include <libxml/tree.h>

#include <functional>
#include <memory>
#include <vector>

#include "xpath/dynamic_context.h"

namespace quillmark::xpath {

class Expression;

// What must hold of the node a step was taken from.
using OriginTest = std::function<bool(const xmlNode* origin)>;

// How a leading child step whose test is document-node() reads: in an expression it
// selects nothing (a document node is nobody's child); in an XSLT 2.0 match pattern
// (document-node(), document-node(element(a))/a) it matches the document node itself.
enum class StepReading { Expression, Pattern };

// True when the expression is made of what can be matched upwards: child, attribute and
// self steps, descendant steps and filters whose predicates do not select by position,
// the root, and unions.
bool isUpwardMatchable(const Expression& expression);

class StepPlace;  // a node's place among what a step selects, see upward_matcher.cpp

class UpwardMatcher {
public:
    explicit UpwardMatcher(DynamicContext& context, StepReading reading = StepReading::Expression)
        : context_(context), reading_(reading) {}

    // True when `node` is among what `expression` (upward matchable) selects from some
    // origin that passes `origin`. Dynamic errors of predicates propagate.
    bool match(const Expression& expression, const xmlNode* node, const OriginTest& origin);

private:
    bool matchExpression(const Expression& expression, const xmlNode* node, const OriginTest& origin, bool leading);
    bool matchSteps(const std::vector<std::unique_ptr<Expression>>& steps, size_t index, const xmlNode* node,
                    const OriginTest& origin, bool leading);
    bool selects(const class AxisStep& step, const xmlNode* from, const xmlNode* node);
    bool acceptsInPlace(const class AxisStep& step, const xmlNode* from, const xmlNode* node);
    bool accepts(const Expression& predicate, const Item& item, StepPlace& place);
    bool selectedFrom(const class AxisStep& step, const xmlNode* from, const xmlNode* node);
    bool matchStep(const class AxisStep& step, const xmlNode* node, const OriginTest& origin);

    bool readsAsDocumentNode(const class AxisStep& step) const;
    bool matchDocumentNode(const class AxisStep& step, const xmlNode* node, const OriginTest& origin);

    DynamicContext& context_;
    StepReading reading_;
};

}  // namespace quillmark::xpath
