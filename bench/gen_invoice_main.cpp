// quillmark-gen-invoice: writes a valid EN 16931 UBL invoice with N lines, for timing
// the validators on large documents by hand or from scripts.
//
//   quillmark-gen-invoice N OUT.xml [TEMPLATE.xml]
//
// TEMPLATE defaults to the official Invoice-Max_content.xml of the shared corpus.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "generate_invoice.h"

int main(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: %s N OUT.xml [TEMPLATE.xml]\n", argv[0]);
        return 2;
    }
    char* end = nullptr;
    const unsigned long long lines = std::strtoull(argv[1], &end, 10);
    if (*end != '\0' || lines == 0) {
        std::fprintf(stderr, "%s: N must be a positive number of lines, not '%s'\n", argv[0], argv[1]);
        return 2;
    }
    const std::string templatePath =
        argc == 4 ? argv[3] : quillmark::bench::defaultInvoiceTemplate(QUILLMARK_CORPUS_DIR);
    std::string error;
    if (!quillmark::bench::writeInvoice(lines, templatePath, argv[2], &error)) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.c_str());
        return 2;
    }
    return 0;
}
