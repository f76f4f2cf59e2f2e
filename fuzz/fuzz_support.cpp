#include "fuzz_support.h"

#include <cstdio>
#include <cstdlib>

#include "quillmark/log.h"

namespace quillmark::fuzz {
namespace {

// Enough for every expression of the official rule sets on a small invoice, and a
// fraction of a second of work under the sanitizers.
constexpr uint64_t kMaxSteps = 200'000;
constexpr std::chrono::milliseconds kMaxTime{2'000};
constexpr int kMaxCallDepth = 64;
constexpr uint64_t kMaxInputSize = 1 << 20;

}  // namespace

const char* const kSmallInvoice = R"(<?xml version="1.0" encoding="UTF-8"?>
<?fuzz seed="1"?>
<Invoice xmlns="urn:oasis:names:specification:ubl:schema:xsd:Invoice-2"
         xmlns:cac="urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"
         xmlns:cbc="urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2">
  <cbc:CustomizationID>urn:cen.eu:en16931:2017</cbc:CustomizationID>
  <cbc:ID>INV-17</cbc:ID>
  <cbc:IssueDate>2024-02-29</cbc:IssueDate>
  <cbc:DueDate>2024-03-31</cbc:DueDate>
  <cbc:InvoiceTypeCode>380</cbc:InvoiceTypeCode>
  <!-- a comment -->
  <cbc:Note>Thank you &amp; goodbye</cbc:Note>
  <cbc:DocumentCurrencyCode>EUR</cbc:DocumentCurrencyCode>
  <cac:AccountingSupplierParty><cac:Party>
    <cac:PostalAddress><cbc:CityName>Köln</cbc:CityName><cac:Country><cbc:IdentificationCode>DE</cbc:IdentificationCode></cac:Country></cac:PostalAddress>
    <cac:PartyTaxScheme><cbc:CompanyID>DE123456789</cbc:CompanyID><cac:TaxScheme><cbc:ID>VAT</cbc:ID></cac:TaxScheme></cac:PartyTaxScheme>
  </cac:Party></cac:AccountingSupplierParty>
  <cac:TaxTotal>
    <cbc:TaxAmount currencyID="EUR">19.00</cbc:TaxAmount>
    <cac:TaxSubtotal>
      <cbc:TaxableAmount currencyID="EUR">100.00</cbc:TaxableAmount>
      <cbc:TaxAmount currencyID="EUR">19.00</cbc:TaxAmount>
      <cac:TaxCategory><cbc:ID>S</cbc:ID><cbc:Percent>19</cbc:Percent><cac:TaxScheme><cbc:ID>VAT</cbc:ID></cac:TaxScheme></cac:TaxCategory>
    </cac:TaxSubtotal>
  </cac:TaxTotal>
  <cac:LegalMonetaryTotal>
    <cbc:LineExtensionAmount currencyID="EUR">100.00</cbc:LineExtensionAmount>
    <cbc:TaxExclusiveAmount currencyID="EUR">100.00</cbc:TaxExclusiveAmount>
    <cbc:TaxInclusiveAmount currencyID="EUR">119.00</cbc:TaxInclusiveAmount>
    <cbc:PayableAmount currencyID="EUR">119.00</cbc:PayableAmount>
  </cac:LegalMonetaryTotal>
  <cac:InvoiceLine>
    <cbc:ID>1</cbc:ID>
    <cbc:InvoicedQuantity unitCode="C62">2</cbc:InvoicedQuantity>
    <cbc:LineExtensionAmount currencyID="EUR">60.00</cbc:LineExtensionAmount>
    <cac:Item><cbc:Name>Widget</cbc:Name><cac:ClassifiedTaxCategory><cbc:ID>S</cbc:ID><cbc:Percent>19</cbc:Percent></cac:ClassifiedTaxCategory></cac:Item>
    <cac:Price><cbc:PriceAmount currencyID="EUR">30</cbc:PriceAmount></cac:Price>
  </cac:InvoiceLine>
  <cac:InvoiceLine>
    <cbc:ID>2</cbc:ID>
    <cbc:InvoicedQuantity unitCode="HUR">0.5</cbc:InvoicedQuantity>
    <cbc:LineExtensionAmount currencyID="EUR">40.00</cbc:LineExtensionAmount>
    <cac:Item><cbc:Name>Service</cbc:Name><cac:ClassifiedTaxCategory><cbc:ID>S</cbc:ID><cbc:Percent>19</cbc:Percent></cac:ClassifiedTaxCategory></cac:Item>
    <cac:Price><cbc:PriceAmount currencyID="EUR">80</cbc:PriceAmount><cbc:BaseQuantity>1E0</cbc:BaseQuantity></cac:Price>
  </cac:InvoiceLine>
</Invoice>
)";

const std::map<std::string, std::string>& invoicePrefixes() {
    static const std::map<std::string, std::string> prefixes{
        {"ubl", "urn:oasis:names:specification:ubl:schema:xsd:Invoice-2"},
        {"cn", "urn:oasis:names:specification:ubl:schema:xsd:CreditNote-2"},
        {"cac", "urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"},
        {"cbc", "urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"},
        {"rsm", "urn:un:unece:uncefact:data:standard:CrossIndustryInvoice:100"},
        {"ram", "urn:un:unece:uncefact:data:standard:ReusableAggregateBusinessInformationEntity:100"},
        {"udt", "urn:un:unece:uncefact:data:standard:UnqualifiedDataType:100"},
        {"qdt", "urn:un:unece:uncefact:data:standard:QualifiedDataType:100"},
    };
    return prefixes;
}

const xml::Document& smallInvoice() {
    static const std::shared_ptr<xml::Document> document = [] {
        Error error;
        std::shared_ptr<xml::Document> parsed = xml::Document::parse(kSmallInvoice, &error);
        if (!parsed) {
            std::fprintf(stderr, "the fuzz targets' invoice does not parse: %s\n", error.message().c_str());
            std::abort();
        }
        return parsed;
    }();
    return *document;
}

xpath::EvaluationLimits standardLimits() {
    xpath::EvaluationLimits limits;
    limits.maxSteps = kMaxSteps;
    limits.maxTime = kMaxTime;
    limits.maxCallDepth = kMaxCallDepth;
    return limits;
}

EvaluationLimits compatibleLimits() { return EvaluationLimits{kMaxSteps, kMaxTime}; }

void prepareProcess() {
    // Bad input makes the engines log a line per problem; formatting it is exercised,
    // writing it would only slow the run down.
    setLogSink([](const std::string&) {});
    setDefaultEvaluationLimits(compatibleLimits());
    xml::setMaxInputSize(kMaxInputSize);
    smallInvoice();
}

std::string inputText(const uint8_t* data, size_t size) { return std::string(reinterpret_cast<const char*>(data), size); }

}  // namespace quillmark::fuzz
