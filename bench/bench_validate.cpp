// Validation of a full EN 16931 UBL invoice, warm: the rule set is loaded once, each
// iteration parses and validates the document. The compatible profile runs the
// preprocessed EN 16931 UBL rules, the standard profile the raw edition with its
// includes (the bundled rules/). Further benchmarks measure loading the rule sets, and
// validating all the official unit-test invoices of UBL, to show the cost per document
// on small inputs.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "quillmark/schematron_validator.h"

namespace {

using quillmark::QMSchematronValidator;

const std::string kCorpus = QUILLMARK_CORPUS_DIR;
const std::string kRules = kCorpus + "/en16931/ubl/schematron/preprocessed/EN16931-UBL-validation-preprocessed.sch";
const std::string kRawRules = std::string(QUILLMARK_SOURCE_DIR) + "/rules/en16931/ubl/EN16931-UBL-validation.sch";
const std::string kInvoice = kCorpus + "/en16931/test/testfiles/Invoice-Max_content.xml";

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// The texts of the official UBL unit-test invoices.
std::vector<std::string> readUnitTestInvoices() {
    std::vector<std::string> invoices;
    for (const auto& entry : std::filesystem::directory_iterator(kCorpus + "/en16931/cases/ubl-invoice")) {
        invoices.push_back(readFile(entry.path().string()));
    }
    return invoices;
}

std::shared_ptr<quillmark::SchematronSchema> loadRules(QMSchematronValidator& validator, benchmark::State& state) {
    quillmark::Error error;
    auto schema = validator.loadSchemaFile(kRules, &error);
    if (!schema) state.SkipWithError(("cannot load rules: " + error.message()).c_str());
    return schema;
}

void BM_ValidateMaxContentInvoice(benchmark::State& state) {
    QMSchematronValidator validator;
    auto schema = loadRules(validator, state);
    const std::string invoice = readFile(kInvoice);
    if (!schema || invoice.empty()) return;
    size_t issues = 0;
    for (auto _ : state) {
        auto document = quillmark::xml::Document::parse(invoice, nullptr);
        auto result = validator.validateDocument(*document, *schema, nullptr);
        issues = result.errors.size() + result.warnings.size();
        benchmark::DoNotOptimize(result);
    }
    state.counters["issues"] = static_cast<double>(issues);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * invoice.size()));
}
BENCHMARK(BM_ValidateMaxContentInvoice)->Unit(benchmark::kMillisecond);

void BM_LoadRules(benchmark::State& state) {
    QMSchematronValidator validator;
    for (auto _ : state) benchmark::DoNotOptimize(loadRules(validator, state));
}
BENCHMARK(BM_LoadRules)->Unit(benchmark::kMillisecond);

void BM_ValidateUnitTestInvoices(benchmark::State& state) {
    QMSchematronValidator validator;
    auto schema = loadRules(validator, state);
    if (!schema) return;
    const std::vector<std::string> invoices = readUnitTestInvoices();
    for (auto _ : state) {
        for (const auto& invoice : invoices) {
            auto document = quillmark::xml::Document::parse(invoice, nullptr);
            if (document) benchmark::DoNotOptimize(validator.validateDocument(*document, *schema, nullptr));
        }
    }
    state.counters["documents"] = static_cast<double>(invoices.size());
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * invoices.size()));
}
BENCHMARK(BM_ValidateUnitTestInvoices)->Unit(benchmark::kMillisecond)->Iterations(3);

// ---- standard profile ----------------------------------------------------------------

// A validator in the standard profile with the raw EN 16931 UBL rules compiled; false
// (and the benchmark skipped) when they cannot be compiled.
bool compileStandardRules(QMSchematronValidator& validator, benchmark::State& state) {
    validator.setSemantics(quillmark::Semantics::Standard);
    quillmark::Error error;
    if (validator.compiledRuleSet(kRawRules, &error)) return true;
    state.SkipWithError(("cannot compile rules: " + error.message()).c_str());
    return false;
}

void BM_StandardValidateMaxContentInvoice(benchmark::State& state) {
    QMSchematronValidator validator;
    const std::string invoice = readFile(kInvoice);
    if (!compileStandardRules(validator, state) || invoice.empty()) return;
    size_t issues = 0;
    for (auto _ : state) {
        auto document = quillmark::xml::Document::parse(invoice, nullptr);
        auto result = validator.validateDocumentWithSchemaFile(*document, kRawRules, nullptr);
        if (result) issues = result->errors.size() + result->warnings.size();
        benchmark::DoNotOptimize(result);
    }
    state.counters["issues"] = static_cast<double>(issues);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * invoice.size()));
}
BENCHMARK(BM_StandardValidateMaxContentInvoice)->Unit(benchmark::kMillisecond);

void BM_StandardCompileRules(benchmark::State& state) {
    for (auto _ : state) {
        QMSchematronValidator validator;
        if (!compileStandardRules(validator, state)) return;
    }
}
BENCHMARK(BM_StandardCompileRules)->Unit(benchmark::kMillisecond);

void BM_StandardValidateUnitTestInvoices(benchmark::State& state) {
    QMSchematronValidator validator;
    if (!compileStandardRules(validator, state)) return;
    const std::vector<std::string> invoices = readUnitTestInvoices();
    for (auto _ : state) {
        for (const auto& invoice : invoices) {
            auto document = quillmark::xml::Document::parse(invoice, nullptr);
            if (document) benchmark::DoNotOptimize(validator.validateDocumentWithSchemaFile(*document, kRawRules, nullptr));
        }
    }
    state.counters["documents"] = static_cast<double>(invoices.size());
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * invoices.size()));
}
BENCHMARK(BM_StandardValidateUnitTestInvoices)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
