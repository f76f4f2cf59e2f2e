#pragma once
// What the fuzz targets share: the small invoice they evaluate against, the tight work
// budgets that make a slow input end with the engines' own limit error instead of a
// libFuzzer timeout, and the input as text.
//
// Each target defines LLVMFuzzerInitialize and LLVMFuzzerTestOneInput. libFuzzer calls
// them when the target is built with -fsanitize=fuzzer; the kept-inputs test
// (tests/fuzz_regressions) calls the same two functions without libFuzzer.

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "quillmark/evaluation_budget.h"
#include "quillmark/xml.h"
#include "xpath/evaluation_limits.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace quillmark::fuzz {

// The prefixes the official rule sets bind (UBL's and CII's), so that their
// expressions, the seeds of the expression targets, compile.
const std::map<std::string, std::string>& invoicePrefixes();

// A UBL invoice of a few lines: namespaces, attributes, amounts, dates, repeated
// elements, a comment and a processing instruction, so that paths, comparisons, casts
// and aggregates all find something to work on.
extern const char* const kSmallInvoice;

// The small invoice, parsed once per process.
const xml::Document& smallInvoice();

// Budgets far below the engines' defaults: an input that loops or grows stops early.
xpath::EvaluationLimits standardLimits();
EvaluationLimits compatibleLimits();

// Once per process, from LLVMFuzzerInitialize: the evaluation limits above as the
// defaults of every compatible run, a small input size limit for every file the
// library reads (includes), the library's log silenced, and the small invoice parsed.
void prepareProcess();

std::string inputText(const uint8_t* data, size_t size);

}  // namespace quillmark::fuzz
