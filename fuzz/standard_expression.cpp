// Fuzz target: the standard XPath 2.0 engine. The input is one expression; it is
// compiled and evaluated against the small invoice, as `quillmark eval` does, with a
// global variable in scope, and its value described as the tool prints it.

#include "fuzz_support.h"
#include "xpath/compiled_expression.h"
#include "xpath/error.h"
#include "xpath/item_display.h"

using namespace quillmark;
using namespace quillmark::xpath;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string expression = fuzz::inputText(data, size);
    const xml::Document& invoice = fuzz::smallInvoice();
    StaticContext statics;
    for (const auto& [prefix, uri] : fuzz::invoicePrefixes()) statics.declareNamespace(prefix, uri);
    const size_t lines = statics.declareVariable(ExpandedName{"", "lines"});
    try {
        const CompiledExpression compiled(expression, statics);
        DynamicContext context(fuzz::standardLimits());
        context.setContextItem(Item(invoice.node()));
        context.setGlobal(lines, CompiledExpression("//cac:InvoiceLine", statics).evaluate(context));
        describeSequence(compiled.evaluate(context));
    } catch (const XPathError&) {
        // Static and dynamic errors, and the budget's stop, are answers, not failures.
    }
    return 0;
}
