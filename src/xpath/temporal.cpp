#include "xpath/temporal.h"

// Stub bodies: the implementation follows.
namespace quillmark::xpath {

std::optional<TemporalValue> TemporalValue::parse(TemporalKind, std::string_view) { return std::nullopt; }
std::string TemporalValue::toString() const { return {}; }
std::optional<TemporalValue> TemporalValue::convertTo(TemporalKind) const { return std::nullopt; }
std::string TemporalValue::secondsText() const { return {}; }
std::optional<DurationValue> TemporalValue::timezoneDuration() const { return std::nullopt; }
std::strong_ordering compareTemporal(const TemporalValue&, const TemporalValue&, int) { return std::strong_ordering::equal; }

std::optional<DurationValue> DurationValue::parse(DurationKind, std::string_view) { return std::nullopt; }
std::string DurationValue::toString() const { return {}; }
DurationValue DurationValue::convertTo(DurationKind target) const { return DurationValue{target, 0, 0}; }
std::string DurationValue::secondsText() const { return {}; }
int64_t DurationValue::years() const { return 0; }
int64_t DurationValue::monthsPart() const { return 0; }
int64_t DurationValue::days() const { return 0; }
int64_t DurationValue::hours() const { return 0; }
int64_t DurationValue::minutes() const { return 0; }
bool equalDurations(const DurationValue&, const DurationValue&) { return false; }
std::strong_ordering compareDurations(const DurationValue&, const DurationValue&) { return std::strong_ordering::equal; }

TemporalValue addDuration(const TemporalValue& value, const DurationValue&) { return value; }
TemporalValue subtractDuration(const TemporalValue& value, const DurationValue&) { return value; }
DurationValue subtractTemporals(const TemporalValue&, const TemporalValue&, int) { return {}; }
DurationValue addDurations(const DurationValue& a, const DurationValue&) { return a; }
DurationValue subtractDurations(const DurationValue& a, const DurationValue&) { return a; }
DurationValue multiplyDuration(const DurationValue& duration, double) { return duration; }
DurationValue divideDuration(const DurationValue& duration, double) { return duration; }
std::string divideDurations(const DurationValue&, const DurationValue&) { return {}; }
int timezoneFromDuration(const DurationValue&) { return 0; }
TemporalValue adjustToTimezone(const TemporalValue& value, std::optional<int>) { return value; }
TemporalValue combineDateAndTime(const TemporalValue& date, const TemporalValue&) { return date; }
int localTimezoneMinutes() { return 0; }
TemporalValue currentDateTime() { return {}; }

}  // namespace quillmark::xpath
