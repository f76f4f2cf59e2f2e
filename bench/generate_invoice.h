#pragma once
// Large, valid EN 16931 UBL invoices for benchmarks of both evaluation profiles.
//
// The generator starts from a full UBL invoice of the official EN 16931 test files
// (Invoice-Max_content.xml by default) and writes its first invoice line `lineCount`
// times, with the line ids 1 to lineCount. Every other line of the template is dropped,
// and the totals are set to what the repeated lines add up to:
//
//   LegalMonetaryTotal   LineExtensionAmount, TaxExclusiveAmount = lineCount x line net
//                        TaxInclusiveAmount, PayableAmount       = that + VAT
//   TaxTotal (document currency)  TaxAmount = VAT
//   TaxSubtotal of the line's VAT category  TaxableAmount = lines' net, TaxAmount = VAT
//
// where VAT = lines' net x the line's VAT rate / 100, rounded to cents. The template's
// document-level allowances and charges, prepaid and rounding amounts must be zero (they
// are in the default template), so the EN 16931 arithmetic rules find nothing to report:
// a generated invoice has the findings of its template, whatever its size (with the
// default template: none under XPath 2.0; BR-56 in the compatible profile, whose path
// parser does not take a parenthesised step inside a predicate).
//
// Depends on libxml2 only, so that a benchmark of either profile can link it.

#include <cstddef>
#include <optional>
#include <string>

namespace quillmark::bench {

// The default template: Invoice-Max_content.xml under `corpusDirectory` (the shared
// corpus, ../shared/corpus from the project root).
std::string defaultInvoiceTemplate(const std::string& corpusDirectory);

// The generated invoice as UTF-8 XML text; nullopt (and a reason in *error when given)
// when the template cannot be read or lacks an invoice line, its net amount, its VAT
// rate or the totals named above. `lineCount` of 0 is treated as 1.
std::optional<std::string> generateInvoice(std::size_t lineCount, const std::string& templatePath,
                                           std::string* error = nullptr);

// generateInvoice written to `outputPath`; false (and a reason) on failure.
bool writeInvoice(std::size_t lineCount, const std::string& templatePath, const std::string& outputPath,
                  std::string* error = nullptr);

}  // namespace quillmark::bench
