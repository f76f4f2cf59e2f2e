// Fuzz target: the compatible expression front end and evaluator. The input is one
// expression; it is tokenized, dumped as a tree and evaluated against the small
// invoice, as `quillmark tokens`, `quillmark ast` and `quillmark eval --semantics
// compatible` handle it, with a variable and a rule-set function in scope.

#include "fuzz_support.h"
#include "quillmark/evaluator.h"

using namespace quillmark;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string expression = fuzz::inputText(data, size);
    const xml::Document& invoice = fuzz::smallInvoice();
    QMXPath2Evaluator::NamespaceMap namespaces = fuzz::invoicePrefixes();
    namespaces.merge(invoice.rootElement().namespaceDeclarations());
    QMXPath2Evaluator evaluator(namespaces);
    evaluator.setEvaluationLimits(fuzz::compatibleLimits());
    evaluator.setVariable("lines", evaluator.evaluate("//cac:InvoiceLine", invoice.node()));
    const std::map<std::string, std::string> discount{{"name", "discount"}, {"select", "1"}};
    evaluator.registerFunction("u:net", {"line"}, "$line/cbc:LineExtensionAmount - $discount", {discount});

    evaluator.tokenize(expression);
    evaluator.dumpAST(expression);
    evaluator.evaluate(expression, invoice.node());
    return 0;
}
