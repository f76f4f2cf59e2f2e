#pragma once
// Helpers of the function tests: an expression compiled and evaluated in one call, with
// its outcome as one comparable string.
//
//   evaluationOutcome("substring('12345', 1.5, 2.6)")   -> xs:string "234"
//   evaluationOutcome("(1, 'a')")                       -> xs:integer 1, xs:string "a"
//   evaluationOutcome("()")                             -> ()
//   evaluationOutcome("error()")                        -> FOER0000

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/xml.h"
#include "xpath/compiled_expression.h"
#include "xpath/error.h"
#include "xpath/item_display.h"

namespace quillmark::xpath::testing {

inline std::shared_ptr<xml::Document> parseDocument(std::string_view text) {
    Error error;
    std::shared_ptr<xml::Document> document = xml::Document::parse(text, &error);
    EXPECT_TRUE(document) << error.message();
    return document;
}

// The items of a result, each as describeItem writes it, joined by ", "; "()" for the
// empty sequence.
inline std::string describeOutcome(const Sequence& value) {
    if (value.empty()) return "()";
    std::string outcome;
    for (const Item& item : value) outcome += (outcome.empty() ? "" : ", ") + describeItem(item);
    return outcome;
}

// Sets up the dynamic context of one evaluation (context item, implicit timezone...).
using ContextSetup = std::function<void(DynamicContext&)>;

// What evaluating `expression` compiled against `statics` gives: describeOutcome of the
// result, or the error code when compiling, setting up or evaluating fails.
inline std::string evaluationOutcome(std::string_view expression, const StaticContext& statics,
                                     const ContextSetup& setup, const EvaluationLimits& limits = {}) {
    try {
        const CompiledExpression compiled(expression, statics);
        DynamicContext context(limits);
        setup(context);
        return describeOutcome(compiled.evaluate(context));
    } catch (const XPathError& error) {
        return error.codeText();
    }
}

inline std::string evaluationOutcome(std::string_view expression, const ContextSetup& setup,
                                     const EvaluationLimits& limits = {}) {
    return evaluationOutcome(expression, StaticContext(), setup, limits);
}

// The same with the document node as the context item when a document is given, else
// with the context item absent.
inline std::string evaluationOutcome(std::string_view expression, const xml::Document* document = nullptr,
                                     const EvaluationLimits& limits = {}) {
    const auto setup = [document](DynamicContext& context) {
        if (document) context.setContextItem(Item(document->node()));
    };
    return evaluationOutcome(expression, setup, limits);
}

// An expression and what evaluating it must give.
struct OutcomeCase {
    std::string expression;
    std::string expected;
};

// Checks every case against one document (or none), naming the failing expression.
inline void expectOutcomes(const std::vector<OutcomeCase>& cases, const xml::Document* document = nullptr) {
    for (const OutcomeCase& testCase : cases) {
        EXPECT_EQ(evaluationOutcome(testCase.expression, document), testCase.expected) << testCase.expression;
    }
}

}  // namespace quillmark::xpath::testing
