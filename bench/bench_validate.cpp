// Validation of a full EN 16931 UBL invoice with the preprocessed EN 16931 rules, warm:
// the rule set is loaded once, each iteration parses and validates the document. A
// second benchmark measures loading the rule set, and a third validates all the
// official unit-test invoices of UBL, to show the cost per document on small inputs.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "quillmark/schematron_validator.h"

namespace {

using quillmark::QMSchematronValidator;

const std::string kCorpus = QUILLMARK_CORPUS_DIR;
const std::string kRules = kCorpus + "/en16931/ubl/schematron/preprocessed/EN16931-UBL-validation-preprocessed.sch";
const std::string kInvoice = kCorpus + "/en16931/test/testfiles/Invoice-Max_content.xml";

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
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
    std::vector<std::string> invoices;
    for (const auto& entry : std::filesystem::directory_iterator(kCorpus + "/en16931/cases/ubl-invoice")) {
        invoices.push_back(readFile(entry.path().string()));
    }
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

}  // namespace

BENCHMARK_MAIN();
