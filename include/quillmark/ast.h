#pragma once
// The expression tree. Every node evaluates itself against an evaluator and dumps
// itself as indented text. Children may be null where the parser found nothing; the
// dump prints "(null)" for them and evaluation yields absent.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillmark/token.h"
#include "quillmark/value.h"

namespace quillmark {

class QMXPath2Evaluator;
class QMXPExprNode;
using QMXPExprNodePtr = std::unique_ptr<QMXPExprNode>;
using QMXPExprNodeList = std::vector<QMXPExprNodePtr>;

class QMXPExprNode {
public:
    virtual ~QMXPExprNode() = default;
    virtual Value evaluateWithContext(QMXPath2Evaluator& evaluator) const;
    static std::string indentStringForLevel(int64_t level);
    virtual std::string descriptionWithIndent(int64_t level) const;
    std::string description() const { return descriptionWithIndent(0); }
};

// A constant: a double, a string, an empty sequence (the parser's fallback after a
// malformed construct), or a list of values computed while parsing.
class QMXPLiteralNode : public QMXPExprNode {
public:
    Value value;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

class QMXPSequenceNode : public QMXPExprNode {
public:
    QMXPExprNodeList items;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

class QMXPVariableNode : public QMXPExprNode {
public:
    std::string name;  // without "$"
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

class QMXPBinaryOpNode : public QMXPExprNode {
public:
    QMXPExprNodePtr left;
    QMXPExprNodePtr right;
    int64_t op = 0;  // a token type, 15..27
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

class QMXPUnaryOpNode : public QMXPExprNode {
public:
    QMXPExprNodePtr operand;
    int64_t op = 0;  // 23 negates
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

class QMXPFunctionCallNode : public QMXPExprNode {
public:
    std::string name;  // as written, prefix included
    QMXPExprNodeList arguments;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

// A location path kept as XPath 1.0 text with the prefixes as written.
class QMXPPathNode : public QMXPExprNode {
public:
    std::string path;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

class QMXPIfThenElseNode : public QMXPExprNode {
public:
    QMXPExprNodePtr condition;
    QMXPExprNodePtr thenExpr;
    QMXPExprNodePtr elseExpr;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

// One predicate applied to a set of items: either the nodes of `basePath` (with
// `previousFilter` null) or the value of `previousFilter` (with `basePath` empty).
// The path may go on by `childPath`, a function step or `nextStep`.
class QMXPFilteredPathNode : public QMXPExprNode {
public:
    std::string basePath;
    QMXPExprNodePtr predicate;
    QMXPExprNodeList additionalSteps;  // declared, never filled or read
    QMXPExprNodePtr previousFilter;
    std::optional<std::string> childPath;
    std::optional<std::string> functionName;
    QMXPExprNodeList functionArgs;
    QMXPExprNodePtr nextStep;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

class QMXPQuantifiedExprNode : public QMXPExprNode {
public:
    int64_t quantifier = QMXPTokenSome;  // 31 every, 32 some
    std::string variableName;
    QMXPExprNodePtr inExpr;
    QMXPExprNodePtr satisfiesExpr;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

class QMXPForExprNode : public QMXPExprNode {
public:
    std::string variableName;
    QMXPExprNodePtr inExpr;
    QMXPExprNodePtr returnExpr;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

// A path whose last step is not a plain name step: with `functionName`, the function
// applied to each node of `basePath`; without, a step applied to the value of the
// expression in `functionArgs[0]` ("@name" in `basePath`, or `functionArgs[1]`).
class QMXPPathWithFunctionNode : public QMXPExprNode {
public:
    std::string basePath;
    std::optional<std::string> functionName;
    QMXPExprNodeList functionArgs;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

// An explicit axis step from the context node: "ancestor", "parent" or "self".
class QMXPAxisNode : public QMXPExprNode {
public:
    std::string axis;
    std::string elementName;
    QMXPExprNodeList predicates;
    Value evaluateWithContext(QMXPath2Evaluator& evaluator) const override;
    std::string descriptionWithIndent(int64_t level) const override;
};

}  // namespace quillmark
