// How the compatible profile scales with the size of an invoice: generated EN 16931 UBL
// invoices of 1,000 and 10,000 lines (or the line counts given) are validated with the
// preprocessed EN 16931 UBL rules, each in a process of its own, so that the peak
// memory reported (ru_maxrss) belongs to that size alone. Per size it reports the time
// to load the rules, parse the invoice and validate it, the findings, the whole
// process's wall time and its peak memory; then the ratio of the validation times of
// the largest and the smallest size.
//
//   bench_compatible_scaling [LINES...]          (default: 1000 10000)
//
// The same program, started as `bench_compatible_scaling --run FILE`, is the measured
// child: it prints "load parse validate validate-CPU errors warnings" (milliseconds and
// counts).

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "generate_invoice.h"
#include "quillmark/schematron_validator.h"

extern char** environ;

namespace {

const std::string kCorpus = QUILLMARK_CORPUS_DIR;
const std::string kRules = kCorpus + "/en16931/ubl/schematron/preprocessed/EN16931-UBL-validation-preprocessed.sch";

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// CPU time of this process: on a machine shared with other work it varies less than the
// wall time.
double cpuMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// ---- the measured child -------------------------------------------------------------

int runChild(const std::string& invoicePath) {
    quillmark::QMSchematronValidator validator;
    quillmark::Error error;
    auto start = Clock::now();
    auto schema = validator.loadSchemaFile(kRules, &error);
    const double load = millisecondsSince(start);
    if (!schema) {
        std::fprintf(stderr, "cannot load %s: %s\n", kRules.c_str(), error.message().c_str());
        return 1;
    }
    const std::string text = readFile(invoicePath);
    start = Clock::now();
    auto document = quillmark::xml::Document::parse(text, &error);
    const double parse = millisecondsSince(start);
    if (!document) {
        std::fprintf(stderr, "cannot parse %s: %s\n", invoicePath.c_str(), error.message().c_str());
        return 1;
    }
    start = Clock::now();
    const double cpuStart = cpuMilliseconds();
    const quillmark::QMValidationResult result = validator.validateDocument(*document, *schema, nullptr);
    const double validate = millisecondsSince(start);
    const double validateCpu = cpuMilliseconds() - cpuStart;
    std::printf("%.1f %.1f %.1f %.1f %zu %zu\n", load, parse, validate, validateCpu, result.errors.size(),
                result.warnings.size());
    return 0;
}

// ---- the driver ---------------------------------------------------------------------

struct Measurement {
    double loadMs = 0, parseMs = 0, validateMs = 0, validateCpuMs = 0, wallMs = 0;
    size_t errors = 0, warnings = 0;
    long peakKilobytes = 0;
    bool ok = false;
};

// Runs this program as the child on `invoicePath` and collects its figures and rusage.
Measurement measure(const std::string& self, const std::string& invoicePath) {
    Measurement m;
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) return m;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
    std::vector<std::string> arguments = {self, "--run", invoicePath};
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);

    const auto start = Clock::now();
    pid_t child = 0;
    const int spawned = posix_spawn(&child, self.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    std::string output;
    char buffer[256];
    for (ssize_t n; (n = read(pipeEnds[0], buffer, sizeof buffer)) > 0;) output.append(buffer, static_cast<size_t>(n));
    close(pipeEnds[0]);
    if (spawned != 0) return m;

    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    m.wallMs = millisecondsSince(start);
    m.peakKilobytes = usage.ru_maxrss;
    std::istringstream figures(output);
    figures >> m.loadMs >> m.parseMs >> m.validateMs >> m.validateCpuMs >> m.errors >> m.warnings;
    m.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0 && !figures.fail();
    return m;
}

std::vector<size_t> lineCounts(int argc, char** argv) {
    std::vector<size_t> counts;
    for (int i = 1; i < argc; ++i) counts.push_back(std::strtoull(argv[i], nullptr, 10));
    if (counts.empty()) counts = {1000, 10000};
    return counts;
}

int runDriver(const std::string& self, const std::vector<size_t>& counts) {
    const std::string templatePath = quillmark::bench::defaultInvoiceTemplate(kCorpus);
    std::printf("rules:    %s\ntemplate: %s\n\n", kRules.c_str(), templatePath.c_str());
    std::printf("%8s %8s %9s %9s %12s %11s %7s %9s %11s %8s\n", "lines", "size MB", "rules ms", "parse ms",
                "validate ms", "(CPU ms)", "errors", "warnings", "process ms", "peak MB");
    std::vector<Measurement> measurements;
    for (size_t count : counts) {
        const auto path = std::filesystem::temp_directory_path() /
                          ("quillmark-bench-" + std::to_string(getpid()) + "-" + std::to_string(count) + ".xml");
        std::string error;
        if (!quillmark::bench::writeInvoice(count, templatePath, path.string(), &error)) {
            std::fprintf(stderr, "%s\n", error.c_str());
            return 1;
        }
        const double megabytes = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
        const Measurement m = measure(self, path.string());
        std::filesystem::remove(path);
        if (!m.ok) {
            std::fprintf(stderr, "the validation of %zu lines failed\n", count);
            return 1;
        }
        std::printf("%8zu %8.1f %9.1f %9.1f %12.1f %11.1f %7zu %9zu %11.1f %8.1f\n", count, megabytes, m.loadMs,
                    m.parseMs, m.validateMs, m.validateCpuMs, m.errors, m.warnings, m.wallMs,
                    static_cast<double>(m.peakKilobytes) / 1024.0);
        measurements.push_back(m);
    }
    if (measurements.size() >= 2 && measurements.front().validateMs > 0) {
        std::printf("\nvalidation time, %zu lines / %zu lines: %.2f (CPU time: %.2f; linear: %.0f)\n", counts.back(),
                    counts.front(), measurements.back().validateMs / measurements.front().validateMs,
                    measurements.back().validateCpuMs / measurements.front().validateCpuMs,
                    static_cast<double>(counts.back()) / static_cast<double>(counts.front()));
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--run") return runChild(argv[2]);
    const std::string self = std::filesystem::canonical("/proc/self/exe").string();
    return runDriver(self, lineCounts(argc, argv));
}
