#include "xpath/atomic_value.h"

#include "xpath/binary_text.h"
#include "xpath/numeric_text.h"

namespace quillmark::xpath {

AtomicValue AtomicValue::fromString(std::string text, AtomicType type) { return AtomicValue(type, std::move(text)); }

AtomicValue AtomicValue::fromBoolean(bool value) { return AtomicValue(AtomicType::Boolean, value); }

AtomicValue AtomicValue::fromDecimal(Decimal value, AtomicType type) { return AtomicValue(type, std::move(value)); }

AtomicValue AtomicValue::fromDouble(double value) { return AtomicValue(AtomicType::Double, value); }

AtomicValue AtomicValue::fromFloat(float value) { return AtomicValue(AtomicType::Float, value); }

AtomicValue AtomicValue::fromTemporal(TemporalValue value) {
    const AtomicType type = atomicTypeOf(value.kind);
    return AtomicValue(type, std::make_shared<const TemporalValue>(value));
}

AtomicValue AtomicValue::fromDuration(DurationValue value) {
    const AtomicType type = atomicTypeOf(value.kind);
    return AtomicValue(type, std::make_shared<const DurationValue>(value));
}

AtomicValue AtomicValue::fromQName(QNameValue value) {
    return AtomicValue(AtomicType::QName, std::make_shared<const QNameValue>(std::move(value)));
}

AtomicValue AtomicValue::fromBinary(std::string bytes, AtomicType type) { return AtomicValue(type, std::move(bytes)); }

std::string AtomicValue::toString() const {
    struct Canonical {
        AtomicType type;
        std::string operator()(const std::string& text) const {
            if (type == AtomicType::HexBinary) return encodeHex(text);
            if (type == AtomicType::Base64Binary) return encodeBase64(text);
            return text;
        }
        std::string operator()(bool value) const { return value ? "true" : "false"; }
        std::string operator()(const Decimal& value) const { return value.toString(); }
        std::string operator()(double value) const { return formatDouble(value); }
        std::string operator()(float value) const { return formatFloat(value); }
        std::string operator()(const std::shared_ptr<const TemporalValue>& value) const { return value->toString(); }
        std::string operator()(const std::shared_ptr<const DurationValue>& value) const { return value->toString(); }
        std::string operator()(const std::shared_ptr<const QNameValue>& value) const { return value->lexicalForm(); }
    };
    return std::visit(Canonical{type_}, payload_);
}

AtomicValue AtomicValue::withType(AtomicType type) const { return AtomicValue(type, payload_); }

std::optional<TemporalKind> temporalKindOf(AtomicType type) {
    if (type == AtomicType::DateTime) return TemporalKind::DateTime;
    if (type == AtomicType::Date) return TemporalKind::Date;
    if (type == AtomicType::Time) return TemporalKind::Time;
    if (type == AtomicType::GYearMonth) return TemporalKind::GYearMonth;
    if (type == AtomicType::GYear) return TemporalKind::GYear;
    if (type == AtomicType::GMonthDay) return TemporalKind::GMonthDay;
    if (type == AtomicType::GDay) return TemporalKind::GDay;
    if (type == AtomicType::GMonth) return TemporalKind::GMonth;
    return std::nullopt;
}

std::optional<DurationKind> durationKindOf(AtomicType type) {
    if (type == AtomicType::Duration) return DurationKind::Duration;
    if (type == AtomicType::YearMonthDuration) return DurationKind::YearMonthDuration;
    if (type == AtomicType::DayTimeDuration) return DurationKind::DayTimeDuration;
    return std::nullopt;
}

AtomicType atomicTypeOf(TemporalKind kind) {
    switch (kind) {
    case TemporalKind::DateTime: return AtomicType::DateTime;
    case TemporalKind::Date: return AtomicType::Date;
    case TemporalKind::Time: return AtomicType::Time;
    case TemporalKind::GYearMonth: return AtomicType::GYearMonth;
    case TemporalKind::GYear: return AtomicType::GYear;
    case TemporalKind::GMonthDay: return AtomicType::GMonthDay;
    case TemporalKind::GDay: return AtomicType::GDay;
    case TemporalKind::GMonth: return AtomicType::GMonth;
    }
    return AtomicType::DateTime;
}

AtomicType atomicTypeOf(DurationKind kind) {
    switch (kind) {
    case DurationKind::Duration: return AtomicType::Duration;
    case DurationKind::YearMonthDuration: return AtomicType::YearMonthDuration;
    case DurationKind::DayTimeDuration: return AtomicType::DayTimeDuration;
    }
    return AtomicType::Duration;
}

}  // namespace quillmark::xpath
