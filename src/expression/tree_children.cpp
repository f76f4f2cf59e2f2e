// Which children each kind of tree node has, for walks over a whole tree (what an
// expression reads, calls and binds). The order is the order of evaluation.

#include "quillmark/ast.h"

namespace quillmark {
namespace {

void visitIfPresent(const QMXPExprNodePtr& child, const QMXPExprNode::ChildVisitor& visit) {
    if (child) visit(*child);
}

void visitAll(const QMXPExprNodeList& children, const QMXPExprNode::ChildVisitor& visit) {
    for (const auto& child : children) visitIfPresent(child, visit);
}

}  // namespace

void QMXPExprNode::forEachChild(const ChildVisitor&) const {}

void QMXPSequenceNode::forEachChild(const ChildVisitor& visit) const { visitAll(items, visit); }

void QMXPBinaryOpNode::forEachChild(const ChildVisitor& visit) const {
    visitIfPresent(left, visit);
    visitIfPresent(right, visit);
}

void QMXPUnaryOpNode::forEachChild(const ChildVisitor& visit) const { visitIfPresent(operand, visit); }

void QMXPFunctionCallNode::forEachChild(const ChildVisitor& visit) const { visitAll(arguments, visit); }

void QMXPIfThenElseNode::forEachChild(const ChildVisitor& visit) const {
    visitIfPresent(condition, visit);
    visitIfPresent(thenExpr, visit);
    visitIfPresent(elseExpr, visit);
}

void QMXPFilteredPathNode::forEachChild(const ChildVisitor& visit) const {
    visitIfPresent(previousFilter, visit);
    visitIfPresent(predicate, visit);
    visitIfPresent(nextStep, visit);
    visitAll(functionArgs, visit);
    visitAll(additionalSteps, visit);
}

void QMXPQuantifiedExprNode::forEachChild(const ChildVisitor& visit) const {
    visitIfPresent(inExpr, visit);
    visitIfPresent(satisfiesExpr, visit);
}

void QMXPForExprNode::forEachChild(const ChildVisitor& visit) const {
    visitIfPresent(inExpr, visit);
    visitIfPresent(returnExpr, visit);
}

void QMXPPathWithFunctionNode::forEachChild(const ChildVisitor& visit) const { visitAll(functionArgs, visit); }

void QMXPAxisNode::forEachChild(const ChildVisitor& visit) const { visitAll(predicates, visit); }

}  // namespace quillmark
