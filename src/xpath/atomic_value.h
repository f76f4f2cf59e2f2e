#pragma once
// One atomic value of the XPath data model: its type and its value. Integer types and
// xs:decimal share an exact Decimal; the string-derived types, xs:untypedAtomic and
// xs:anyURI share a UTF-8 string; binary types keep their raw bytes.

#include <optional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "xpath/atomic_type.h"
#include "xpath/decimal.h"
#include "xpath/temporal.h"

namespace quillmark::xpath {

// An expanded QName value, with the prefix it was written with (kept for its text form).
struct QNameValue {
    std::string prefix;        // "" when none
    std::string namespaceURI;  // "" when none
    std::string localName;
    // Equality ignores the prefix, as XPath compares QNames.
    friend bool operator==(const QNameValue& a, const QNameValue& b) {
        return a.namespaceURI == b.namespaceURI && a.localName == b.localName;
    }
    std::string lexicalForm() const { return prefix.empty() ? localName : prefix + ":" + localName; }
};

class AtomicValue {
public:
    // xs:untypedAtomic, xs:string and its subtypes, xs:anyURI.
    static AtomicValue fromString(std::string text, AtomicType type = AtomicType::String);
    static AtomicValue untypedAtomic(std::string text) { return fromString(std::move(text), AtomicType::UntypedAtomic); }
    static AtomicValue fromBoolean(bool value);
    // xs:decimal and the integer types (the value must be integral for those).
    static AtomicValue fromDecimal(Decimal value, AtomicType type = AtomicType::Decimal);
    static AtomicValue fromInteger(int64_t value) { return fromDecimal(Decimal::fromInt64(value), AtomicType::Integer); }
    static AtomicValue fromDouble(double value);
    static AtomicValue fromFloat(float value);
    // xs:dateTime, xs:date, xs:time and the gregorian types: the type follows the kind.
    static AtomicValue fromTemporal(TemporalValue value);
    static AtomicValue fromDuration(DurationValue value);
    static AtomicValue fromQName(QNameValue value);
    // xs:hexBinary or xs:base64Binary from raw bytes.
    static AtomicValue fromBinary(std::string bytes, AtomicType type);

    AtomicType type() const { return type_; }

    // Payload accessors; each may only be called for the types that hold it.
    const std::string& stringValue() const { return std::get<std::string>(payload_); }  // string-like, binary bytes
    bool booleanValue() const { return std::get<bool>(payload_); }
    const Decimal& decimalValue() const { return std::get<Decimal>(payload_); }
    double doubleValue() const { return std::get<double>(payload_); }
    float floatValue() const { return std::get<float>(payload_); }
    const TemporalValue& temporalValue() const { return *std::get<std::shared_ptr<const TemporalValue>>(payload_); }
    const DurationValue& durationValue() const { return *std::get<std::shared_ptr<const DurationValue>>(payload_); }
    const QNameValue& qnameValue() const { return *std::get<std::shared_ptr<const QNameValue>>(payload_); }

    // The value as xs:string: the canonical text of its type ("1.0E7", "0.5", "true",
    // "2013-05-01", "PT1H", upper-case hex digits, base64 text, "p:local").
    std::string toString() const;

    // The same value relabelled with another type of the same representation (used by
    // casts and constructors after a facet check).
    AtomicValue withType(AtomicType type) const;

private:
    // The larger, rarer payloads live on the heap (shared: values never change), so that
    // an item stays small: sequences of nodes are the common case.
    using Payload = std::variant<std::string, bool, Decimal, double, float, std::shared_ptr<const TemporalValue>,
                                 std::shared_ptr<const DurationValue>, std::shared_ptr<const QNameValue>>;
    AtomicValue(AtomicType type, Payload payload) : type_(type), payload_(std::move(payload)) {}

    AtomicType type_;
    Payload payload_;
};

// The kind of the date/time and duration types, nullopt for other types; and back.
std::optional<TemporalKind> temporalKindOf(AtomicType type);
std::optional<DurationKind> durationKindOf(AtomicType type);
AtomicType atomicTypeOf(TemporalKind kind);
AtomicType atomicTypeOf(DurationKind kind);

}  // namespace quillmark::xpath
