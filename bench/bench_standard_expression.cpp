// Typical EN 16931 UBL rule expressions evaluated on the full test invoice
// Invoice-Max_content.xml, each at the node its rule runs on, by three engines in the
// same run:
//   Standard/<rule>   the standard XPath 2.0 engine, compiled once, evaluated warm;
//   Compatible/<rule> the compatible engine (QMXPath2Evaluator, caches warm);
//   Libxml2/<rule>    libxml2's XPath 1.0, compiled once (xmlXPathCompiledEval), on an
//                     equivalent XPath 1.0 text where one exists.
// After the runs, a table gives each engine's time per evaluation as a multiple of
// libxml2's.
//
//   bench_standard_expression [--benchmark_filter=REGEX] [--benchmark_repetitions=N]

#include <benchmark/benchmark.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "quillmark/evaluator.h"
#include "xpath/compiled_expression.h"

namespace {

namespace xpath = quillmark::xpath;

const std::map<std::string, std::string> kPrefixes = {
    {"ubl", "urn:oasis:names:specification:ubl:schema:xsd:Invoice-2"},
    {"cn", "urn:oasis:names:specification:ubl:schema:xsd:CreditNote-2"},
    {"cac", "urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"},
    {"cbc", "urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"},
};

// A rule's test, the node it runs on, and the same test in XPath 1.0 (empty when XPath
// 1.0 cannot say it).
struct RuleCase {
    const char* name;
    const char* context;
    const char* test;
    const char* xpath1;
};

// BR-CL-14, which reads the same in XPath 1.0.
const char* const kCountryCodeTest =
    "((not(contains(normalize-space(.), ' ')) and contains(' "
    "1A AD AE AF AG AI AL AM AO AQ AR AS AT AU AW AX AZ BA BB BD BE BF BG BH BI BJ BL BM BN BO BQ BR BS "
    "BT BV BW BY BZ CA CC CD CF CG CH CI CK CL CM CN CO CR CU CV CW CX CY CZ DE DJ DK DM DO DZ EC EE EG "
    "EH ER ES ET FI FJ FK FM FO FR GA GB GD GE GF GG GH GI GL GM GN GP GQ GR GS GT GU GW GY HK HM HN HR "
    "HT HU ID IE IL IM IN IO IQ IR IS IT JE JM JO JP KE KG KH KI KM KN KP KR KW KY KZ LA LB LC LI LK LR "
    "LS LT LU LV LY MA MC MD ME MF MG MH MK ML MM MN MO MP MQ MR MS MT MU MV MW MX MY MZ NA NC NE NF NG "
    "NI NL NO NP NR NU NZ OM PA PE PF PG PH PK PL PM PN PR PS PT PW PY QA RE RO RS RU RW SA SB SC SD SE "
    "SG SH SI SJ SK SL SM SN SO SR SS ST SV SX SY SZ TC TD TF TG TH TJ TK TL TM TN TO TR TT TV TW TZ UA "
    "UG UM US UY UZ VA VC VE VG VI VN VU WF WS XI YE YT ZA ZM ZW "
    "', concat(' ', normalize-space(.), ' '))))";

const std::vector<RuleCase> kRules = {
    {"BR-CO-10_SumOfLines", "/ubl:Invoice/cac:LegalMonetaryTotal",
     "(xs:decimal(cbc:LineExtensionAmount) = xs:decimal(round(sum(//(cac:InvoiceLine|cac:CreditNoteLine)/"
     "xs:decimal(cbc:LineExtensionAmount)) * 10 * 10) div 100))",
     "(number(cbc:LineExtensionAmount) = round(sum(//cac:InvoiceLine/cbc:LineExtensionAmount | "
     "//cac:CreditNoteLine/cbc:LineExtensionAmount) * 10 * 10) div 100)"},
    {"BR-CO-11_AllowanceSum", "/ubl:Invoice/cac:LegalMonetaryTotal",
     "xs:decimal(cbc:AllowanceTotalAmount) = (round(sum(../cac:AllowanceCharge[cbc:ChargeIndicator=false()]/"
     "xs:decimal(cbc:Amount)) * 10 * 10) div 100) or  (not(cbc:AllowanceTotalAmount) and "
     "not(../cac:AllowanceCharge[cbc:ChargeIndicator=false()]))",
     "number(cbc:AllowanceTotalAmount) = (round(sum(../cac:AllowanceCharge[normalize-space(cbc:ChargeIndicator)="
     "'false']/cbc:Amount) * 10 * 10) div 100) or (not(cbc:AllowanceTotalAmount) and "
     "not(../cac:AllowanceCharge[normalize-space(cbc:ChargeIndicator)='false']))"},
    {"BR-16_Exists", "/ubl:Invoice", "exists(cac:InvoiceLine) or exists(cac:CreditNoteLine)",
     "boolean(cac:InvoiceLine) or boolean(cac:CreditNoteLine)"},
    {"BR-CO-04_UpperCase", "/ubl:Invoice/cac:InvoiceLine[1]",
     "(cac:Item/cac:ClassifiedTaxCategory[cac:TaxScheme/(normalize-space(upper-case(cbc:ID))='VAT')]/cbc:ID)",
     "boolean(cac:Item/cac:ClassifiedTaxCategory[normalize-space(translate(cac:TaxScheme/cbc:ID, "
     "'abcdefghijklmnopqrstuvwxyz', 'ABCDEFGHIJKLMNOPQRSTUVWXYZ'))='VAT']/cbc:ID)"},
    {"BR-29_Dates", "/ubl:Invoice/cac:InvoicePeriod",
     "(exists(cbc:EndDate) and exists(cbc:StartDate) and xs:date(cbc:EndDate) >= xs:date(cbc:StartDate)) or "
     "not(exists(cbc:StartDate)) or not(exists(cbc:EndDate))",
     "(cbc:EndDate and cbc:StartDate and translate(cbc:EndDate, '-', '') >= translate(cbc:StartDate, '-', '')) or "
     "not(cbc:StartDate) or not(cbc:EndDate)"},
    {"BR-DEC-01_StringLength", "/ubl:Invoice/cac:AllowanceCharge[1]",
     "string-length(substring-after(cbc:Amount,'.'))<=2", "string-length(substring-after(cbc:Amount,'.'))<=2"},
    {"UBL-SR-12_CountWithPredicate", "/ubl:Invoice",
     "(count(cac:AccountingSupplierParty/cac:Party/cac:PartyTaxScheme[cac:TaxScheme/upper-case(cbc:ID)='VAT']/"
     "cbc:CompanyID) <= 1)",
     "(count(cac:AccountingSupplierParty/cac:Party/cac:PartyTaxScheme[translate(cac:TaxScheme/cbc:ID, 'vat', "
     "'VAT')='VAT']/cbc:CompanyID) <= 1)"},
    {"UBL-SR-47_DistinctCodes", "/ubl:Invoice",
     "count(//cbc:PaymentMeansCode[not(preceding::cbc:PaymentMeansCode/. = .)]) <= 1",
     "count(//cbc:PaymentMeansCode[not(preceding::cbc:PaymentMeansCode/. = .)]) <= 1"},
    {"BR-CL-14_CodeList", "/ubl:Invoice/cac:AccountingSupplierParty/cac:Party/cac:PostalAddress/cac:Country/"
     "cbc:IdentificationCode",
     kCountryCodeTest, kCountryCodeTest},
    {"BR-O-11_VatCategories", "/ubl:Invoice",
     "(exists(cac:TaxTotal/cac:TaxSubtotal/cac:TaxCategory[cac:TaxScheme/normalize-space(upper-case(cbc:ID))='VAT']/"
     "cbc:ID[normalize-space(.) = 'O']) and count(cac:TaxTotal/cac:TaxSubtotal/cac:TaxCategory[normalize-space(cbc:ID)"
     " != 'O'][cac:TaxScheme/normalize-space(upper-case(cbc:ID))='VAT']) = 0) or not(cac:TaxTotal/cac:TaxSubtotal/"
     "cac:TaxCategory[cac:TaxScheme/normalize-space(upper-case(cbc:ID))='VAT']/cbc:ID[normalize-space(.) = 'O'])",
     "(boolean(cac:TaxTotal/cac:TaxSubtotal/cac:TaxCategory[normalize-space(cac:TaxScheme/cbc:ID)='VAT']/"
     "cbc:ID[normalize-space(.) = 'O']) and count(cac:TaxTotal/cac:TaxSubtotal/cac:TaxCategory[normalize-space(cbc:ID)"
     " != 'O'][normalize-space(cac:TaxScheme/cbc:ID)='VAT']) = 0) or not(cac:TaxTotal/cac:TaxSubtotal/"
     "cac:TaxCategory[normalize-space(cac:TaxScheme/cbc:ID)='VAT']/cbc:ID[normalize-space(.) = 'O'])"},
    {"BR-CO-15_EveryCurrency", "/ubl:Invoice",
     "every $Currency in cbc:DocumentCurrencyCode satisfies (count(cac:TaxTotal/xs:decimal(cbc:TaxAmount[@currencyID="
     "$Currency])) eq 1) and (cac:LegalMonetaryTotal/xs:decimal(cbc:TaxInclusiveAmount) = round( "
     "(cac:LegalMonetaryTotal/xs:decimal(cbc:TaxExclusiveAmount) + cac:TaxTotal/xs:decimal(cbc:TaxAmount[@currencyID="
     "$Currency])) * 10 * 10) div 100)",
     nullptr},
};

std::shared_ptr<quillmark::xml::Document> maxContentInvoice() {
    static const std::shared_ptr<quillmark::xml::Document> document = [] {
        const std::string path = QUILLMARK_CORPUS_DIR "/en16931/test/testfiles/Invoice-Max_content.xml";
        std::ifstream in(path, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        auto parsed = quillmark::xml::Document::parse(text.str(), nullptr);
        if (!parsed) std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return parsed;
    }();
    return document;
}

xpath::StaticContext standardStatics() {
    xpath::StaticContext statics;
    for (const auto& [prefix, uri] : kPrefixes) statics.declareNamespace(prefix, uri);
    return statics;
}

// The node a rule runs on, found with the standard engine.
quillmark::xml::Node ruleContext(const RuleCase& rule) {
    const auto document = maxContentInvoice();
    const xpath::CompiledExpression path(rule.context, standardStatics());
    xpath::DynamicContext context;
    context.setContextItem(xpath::Item(document->node()));
    const xpath::Sequence nodes = path.evaluate(context);
    if (nodes.empty() || !nodes.front().isNode()) throw std::runtime_error(std::string("no node at ") + rule.context);
    return nodes.front().node();
}

void standardEngine(benchmark::State& state, const RuleCase& rule) {
    const xpath::StaticContext statics = standardStatics();
    const xpath::CompiledExpression compiled(rule.test, statics);
    const xpath::Item node(ruleContext(rule));
    xpath::DynamicContext context;
    context.setContextItem(node);
    for (auto _ : state) benchmark::DoNotOptimize(compiled.effectiveBooleanValue(context));
}

void compatibleEngine(benchmark::State& state, const RuleCase& rule) {
    const quillmark::xml::Node node = ruleContext(rule);
    quillmark::QMXPath2Evaluator evaluator(kPrefixes);
    const std::string test = rule.test;
    for (auto _ : state) benchmark::DoNotOptimize(evaluator.evaluate(test, node));
}

void libxml2Engine(benchmark::State& state, const RuleCase& rule) {
    const quillmark::xml::Node node = ruleContext(rule);
    xmlXPathContextPtr context = xmlXPathNewContext(maxContentInvoice()->raw());
    for (const auto& [prefix, uri] : kPrefixes) xmlXPathRegisterNs(context, BAD_CAST prefix.c_str(), BAD_CAST uri.c_str());
    xmlXPathCompExprPtr compiled = xmlXPathCompile(BAD_CAST rule.xpath1);
    if (!compiled) {
        state.SkipWithError("libxml2 cannot compile the XPath 1.0 text");
        xmlXPathFreeContext(context);
        return;
    }
    for (auto _ : state) {
        context->node = node.raw();
        xmlXPathObjectPtr result = xmlXPathCompiledEval(compiled, context);
        benchmark::DoNotOptimize(result ? xmlXPathCastToBoolean(result) : 0);
        xmlXPathFreeObject(result);
    }
    xmlXPathFreeCompExpr(compiled);
    xmlXPathFreeContext(context);
}

// Collects the time per evaluation of every benchmark for the closing table: the
// median when the runs are repeated (--benchmark_repetitions), else the one run.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred || run.iterations <= 0) continue;
            const std::string name = run.run_name.str();
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                nanoseconds_[name] = run.GetAdjustedRealTime();
                medians_.insert(name);
            } else if (run.run_type == Run::RT_Iteration && !medians_.contains(name)) {
                nanoseconds_[name] = run.GetAdjustedRealTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // Per rule: each engine's time in microseconds and as a multiple of libxml2's.
    void printRatios() const {
        std::printf("\n%-30s %12s %12s %12s %10s %10s\n", "rule (us per evaluation)", "libxml2", "standard",
                    "compatible", "std/lx2", "cmp/lx2");
        for (const RuleCase& rule : kRules) {
            const double reference = time("Libxml2/", rule);
            const double standard = time("Standard/", rule);
            const double compatible = time("Compatible/", rule);
            std::printf("%-30s %12s %12s %12s %10s %10s\n", rule.name, micro(reference).c_str(), micro(standard).c_str(),
                        micro(compatible).c_str(), ratio(standard, reference).c_str(),
                        ratio(compatible, reference).c_str());
        }
    }

private:
    double time(const char* engine, const RuleCase& rule) const {
        const auto found = nanoseconds_.find(std::string(engine) + rule.name);
        return found == nanoseconds_.end() ? 0 : found->second;
    }
    static std::string micro(double nanoseconds) {
        if (nanoseconds <= 0) return "-";
        char text[32];
        std::snprintf(text, sizeof text, "%.3f", nanoseconds / 1000);
        return text;
    }
    static std::string ratio(double value, double reference) {
        if (value <= 0 || reference <= 0) return "-";
        char text[32];
        std::snprintf(text, sizeof text, "%.2fx", value / reference);
        return text;
    }

    std::map<std::string, double> nanoseconds_;
    std::set<std::string> medians_;
};

// Times in nanoseconds, as the closing table reads them.
void registerBenchmark(const char* engine, void (*measure)(benchmark::State&, const RuleCase&), const RuleCase& rule) {
    benchmark::RegisterBenchmark((std::string(engine) + rule.name).c_str(), measure, rule)->Unit(benchmark::kNanosecond);
}

void registerBenchmarks() {
    for (const RuleCase& rule : kRules) {
        registerBenchmark("Standard/", standardEngine, rule);
        registerBenchmark("Compatible/", compatibleEngine, rule);
        if (rule.xpath1) registerBenchmark("Libxml2/", libxml2Engine, rule);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (!maxContentInvoice()) return 1;
    registerBenchmarks();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    benchmark::Shutdown();
    return 0;
}
