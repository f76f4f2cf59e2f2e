#pragma once
// Why an assertion failed or a report fired: the values, at the rule's context node, of
// the parts of the test that decided the outcome, each shown by its text as written in
// the rule set. The boolean structure of the test is followed to the parts that count:
// the false branches of a failed `and` and every branch of a failed `or` (the true ones
// of a fired report), the operand of not(), the first binding for which `every` fails or
// `some` holds, the branch an `if` took. There every operand of a comparison or function
// call gets a line, and so, a few levels deep, do the operands of those operands:
//
//   sum(cac:InvoiceLine/cbc:LineExtensionAmount) = 200.01
//   cac:InvoiceLine/cbc:LineExtensionAmount = "100.00" (cbc:LineExtensionAmount), "100.01" (cbc:LineExtensionAmount)
//   cbc:LineExtensionAmount = "200.00" (cbc:LineExtensionAmount)
//   $tolerance = 0.01
//
// followed by the rule set's variables that the test reads and no line has shown yet.
// Literals get no line, and no text gets two. Subexpressions are evaluated again in the
// run's dynamic context, so the run's evaluation budget pays for them; an error becomes
// the value's text, and a spent budget ends the explanation where it stands.

#include <cstddef>
#include <string>
#include <vector>

#include "quillmark/schematron_model.h"
#include "standard/compiled_rule_set.h"
#include "xpath/compiled_expression.h"
#include "xpath/dynamic_context.h"
#include "xpath/item.h"

namespace quillmark::standard {

struct ExplanationLimits {
    size_t maxLines = 12;
    int maxDepth = 3;                  // operands of operands of operands
    size_t maxExpressionLength = 80;   // characters of a subexpression's text
    size_t maxItemLength = 40;         // characters of one item's text
    size_t maxItems = 3;               // items shown of a longer sequence
};

// The variables of the rule set a test can read: the rule's lets, then the global ones.
struct LetsInScope {
    const std::vector<CompiledLet>& rule;
    const std::vector<CompiledLet>& global;
};

// Explains `test`, whose effective boolean value was `observed` (false for a failed
// assert, true for a fired report), with `context` focused at the rule's context node
// and the lets defined. Never throws.
std::vector<QMExplanationLine> explainTest(const xpath::CompiledExpression& test, xpath::DynamicContext& context,
                                           bool observed, const LetsInScope& lets,
                                           const ExplanationLimits& limits = {});

// A value as explanations show it: "()" for the empty sequence; strings, untyped and URI
// values quoted; other atomic values by their canonical text (200.01, true, 1.0E7,
// 2024-05-02); nodes by their string value (blanks collapsed) and name ("EUR"
// (@currencyID)); of a longer sequence the first items, then "… (N items)".
std::string displayValue(const xpath::Sequence& value, const ExplanationLimits& limits = {});

}  // namespace quillmark::standard
