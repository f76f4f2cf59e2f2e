// Evaluating typical rule expressions on an invoice, against libxml2's own XPath 1.0
// evaluation of the equivalent expression as the reference measured in the same run.

#include <benchmark/benchmark.h>
#include <libxml/xpath.h>

#include <fstream>
#include <sstream>

#include "quillmark/evaluator.h"

namespace {

using quillmark::QMXPath2Evaluator;

const QMXPath2Evaluator::NamespaceMap kUblPrefixes = {
    {"cac", "urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"},
    {"cbc", "urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"},
};

std::shared_ptr<quillmark::xml::Document> exampleInvoice() {
    static std::shared_ptr<quillmark::xml::Document> document = [] {
        std::ifstream in(QUILLMARK_SOURCE_DIR "/examples/invoice-valid.xml");
        std::stringstream text;
        text << in.rdbuf();
        return quillmark::xml::Document::parse(text.str(), nullptr);
    }();
    return document;
}

const char* kSumExpression = "sum(//cac:InvoiceLine/cbc:LineExtensionAmount)";
const char* kSumReference = "sum(//*[local-name()='InvoiceLine']/*[local-name()='LineExtensionAmount'])";

// Reference: libxml2 compiles and evaluates the rewritten XPath 1.0 text.
void BM_Reference_Libxml2XPath(benchmark::State& state) {
    auto document = exampleInvoice();
    xmlXPathContextPtr context = xmlXPathNewContext(document->raw());
    for (auto _ : state) {
        xmlXPathObjectPtr result = xmlXPathEvalExpression(BAD_CAST kSumReference, context);
        benchmark::DoNotOptimize(result->floatval);
        xmlXPathFreeObject(result);
    }
    xmlXPathFreeContext(context);
}
BENCHMARK(BM_Reference_Libxml2XPath);

// One evaluator per validation run: the tree and XPath caches are warm after the first node.
void BM_Evaluate_SumOfLineAmounts_Warm(benchmark::State& state) {
    auto document = exampleInvoice();
    QMXPath2Evaluator evaluator(kUblPrefixes);
    for (auto _ : state) benchmark::DoNotOptimize(evaluator.evaluate(kSumExpression, document->node()));
}
BENCHMARK(BM_Evaluate_SumOfLineAmounts_Warm);

// A fresh evaluator every time: tokenizing, parsing, rewriting and compiling included.
void BM_Evaluate_SumOfLineAmounts_Cold(benchmark::State& state) {
    auto document = exampleInvoice();
    for (auto _ : state) {
        QMXPath2Evaluator evaluator(kUblPrefixes);
        benchmark::DoNotOptimize(evaluator.evaluate(kSumExpression, document->node()));
    }
}
BENCHMARK(BM_Evaluate_SumOfLineAmounts_Cold);

// A predicate with a variable: evaluated by the engine itself, not by XPath 1.0.
void BM_Evaluate_VariablePredicate_Warm(benchmark::State& state) {
    auto document = exampleInvoice();
    QMXPath2Evaluator evaluator(kUblPrefixes);
    evaluator.setVariable("id", quillmark::Value::string("1"));
    for (auto _ : state)
        benchmark::DoNotOptimize(evaluator.evaluate("//cac:InvoiceLine[cbc:ID=$id]/cbc:LineExtensionAmount", document->node()));
}
BENCHMARK(BM_Evaluate_VariablePredicate_Warm);

}  // namespace

BENCHMARK_MAIN();
