#pragma once
// Helpers of the engine tests: expressions compiled against a static context with the
// UBL prefixes, evaluated with a chosen context node, and static errors reduced to
// their code and offset.
//
//   ublOutcome("count(//cac:InvoiceLine)", invoice)       -> xs:integer 3
//   ublOutcome("name()", invoice, "//cbc:ID[1]")           -> xs:string "cbc:ID"
//   staticOutcome("1 +")                                   -> XPST0003@3
//   staticOutcome("1 + 1")                                 -> compiles

#include <regex>
#include <string>
#include <string_view>

#include "expression_test_support.h"

namespace quillmark::xpath::testing {

inline constexpr const char* kUblInvoiceNamespace = "urn:oasis:names:specification:ubl:schema:xsd:Invoice-2";
inline constexpr const char* kUblCreditNoteNamespace = "urn:oasis:names:specification:ubl:schema:xsd:CreditNote-2";
inline constexpr const char* kCacNamespace = "urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2";
inline constexpr const char* kCbcNamespace = "urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2";

// The prefixes of the EN 16931 UBL rules: ubl, cn, cac, cbc (xs is always known).
inline StaticContext ublStatics() {
    StaticContext statics;
    statics.declareNamespace("ubl", kUblInvoiceNamespace);
    statics.declareNamespace("cn", kUblCreditNoteNamespace);
    statics.declareNamespace("cac", kCacNamespace);
    statics.declareNamespace("cbc", kCbcNamespace);
    return statics;
}

// The items as evaluationOutcome writes them: each described, joined by ", "; "()" for
// the empty sequence.
inline std::string describedItems(const Sequence& value) {
    if (value.empty()) return "()";
    std::string text;
    for (const Item& item : value) text += (text.empty() ? "" : ", ") + describeItem(item);
    return text;
}

// The outcome (as evaluationOutcome writes it) of `expression` compiled with the UBL
// prefixes and evaluated with the first node `at` selects from the document node as
// the context item (the document node itself when `at` is empty).
inline std::string ublOutcome(std::string_view expression, const xml::Document* document, std::string_view at = "",
                              const EvaluationLimits& limits = {}) {
    const StaticContext statics = ublStatics();
    try {
        const CompiledExpression compiled(expression, statics);
        DynamicContext context(limits);
        context.setContextItem(Item(document->node()));
        if (!at.empty()) {
            const Sequence anchor = CompiledExpression(at, statics).evaluate(context);
            if (anchor.empty()) return "no node at " + std::string(at);
            context.setContextItem(anchor.front());
        }
        return describedItems(compiled.evaluate(context));
    } catch (const XPathError& error) {
        return error.codeText();
    }
}

// Checks every case with the UBL prefixes against one document and context node.
inline void expectUblOutcomes(const std::vector<OutcomeCase>& cases, const xml::Document* document,
                              std::string_view at = "") {
    for (const OutcomeCase& testCase : cases) {
        EXPECT_EQ(ublOutcome(testCase.expression, document, at), testCase.expected) << testCase.expression;
    }
}

// "CODE@OFFSET" for an expression that does not compile (the offset its message
// names, "CODE" alone when it names none), "compiles" for one that does.
inline std::string staticOutcome(std::string_view expression, const StaticContext& statics = ublStatics()) {
    try {
        const CompiledExpression compiled(expression, statics);
        return "compiles";
    } catch (const XPathError& error) {
        static const std::regex offsetPattern("at offset ([0-9]+)");
        std::smatch match;
        if (std::regex_search(error.description(), match, offsetPattern)) return error.codeText() + "@" + match[1].str();
        return error.codeText();
    }
}

}  // namespace quillmark::xpath::testing
