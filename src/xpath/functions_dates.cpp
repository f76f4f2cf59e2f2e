// Functions on dates, times and durations: the current date and time, fn:dateTime, the
// component accessors (year-from-dateTime ... seconds-from-duration, timezone-from-*)
// and the timezone adjustments.

#include "xpath/function_registration.h"

namespace quillmark::xpath {
namespace {

// --- The clock: fixed for one evaluation ---------------------------------------------

Sequence currentDateTime(DynamicContext& context, Arguments&) {
    return single(AtomicValue::fromTemporal(context.currentDateTime()));
}

Sequence currentDate(DynamicContext& context, Arguments&) {
    return single(AtomicValue::fromTemporal(*context.currentDateTime().convertTo(TemporalKind::Date)));
}

Sequence currentTime(DynamicContext& context, Arguments&) {
    return single(AtomicValue::fromTemporal(*context.currentDateTime().convertTo(TemporalKind::Time)));
}

DurationValue timezoneAsDuration(int minutes) {
    return DurationValue{DurationKind::DayTimeDuration, 0, static_cast<__int128>(minutes) * 60 * 1'000'000'000};
}

Sequence implicitTimezone(DynamicContext& context, Arguments&) {
    return single(AtomicValue::fromDuration(timezoneAsDuration(context.operators().implicitTimezoneMinutes)));
}

Sequence dateTime(DynamicContext&, Arguments& arguments) {
    if (arguments[0].empty() || arguments[1].empty()) return {};
    const TemporalValue& date = arguments[0].front().atomic().temporalValue();
    const TemporalValue& time = arguments[1].front().atomic().temporalValue();
    return single(AtomicValue::fromTemporal(combineDateAndTime(date, time)));
}

// --- Component accessors -------------------------------------------------------------

Sequence integerOrEmpty(std::optional<int64_t> value) {
    return value ? single(AtomicValue::fromInteger(*value)) : Sequence{};
}

const TemporalValue* temporalArgument(const Sequence& argument) {
    return argument.empty() ? nullptr : &argument.front().atomic().temporalValue();
}

const DurationValue* durationArgument(const Sequence& argument) {
    return argument.empty() ? nullptr : &argument.front().atomic().durationValue();
}

// One accessor per component; the same implementation serves dateTime, date and time
// where they share the component.
template <int64_t (*component)(const TemporalValue&)>
Sequence temporalComponent(DynamicContext&, Arguments& arguments) {
    const TemporalValue* value = temporalArgument(arguments[0]);
    return integerOrEmpty(value ? std::optional(component(*value)) : std::nullopt);
}

int64_t yearOf(const TemporalValue& value) { return value.year; }
int64_t monthOf(const TemporalValue& value) { return value.month; }
int64_t dayOf(const TemporalValue& value) { return value.day; }
int64_t hoursOf(const TemporalValue& value) { return value.hour; }
int64_t minutesOf(const TemporalValue& value) { return value.minute; }

// The seconds of a dateTime or time with the fraction rounded half up to microseconds,
// as the reference processor reports them although it keeps nanoseconds in the value:
// 10.0000005 gives 10.000001, 59.9999999 gives 60.
Sequence secondsFromTemporal(DynamicContext&, Arguments& arguments) {
    const TemporalValue* value = temporalArgument(arguments[0]);
    if (!value) return {};
    constexpr int64_t kMicrosecondsPerSecond = 1'000'000;
    const int64_t microseconds = value->second * kMicrosecondsPerSecond + (value->nanosecond + 500) / 1000;
    return single(AtomicValue::fromDecimal(
        *Decimal::divide(Decimal::fromInt64(microseconds), Decimal::fromInt64(kMicrosecondsPerSecond))));
}

Sequence timezoneFromTemporal(DynamicContext&, Arguments& arguments) {
    const TemporalValue* value = temporalArgument(arguments[0]);
    if (!value || !value->timezoneMinutes) return {};
    return single(AtomicValue::fromDuration(timezoneAsDuration(*value->timezoneMinutes)));
}

template <int64_t (DurationValue::*component)() const>
Sequence durationComponent(DynamicContext&, Arguments& arguments) {
    const DurationValue* value = durationArgument(arguments[0]);
    return integerOrEmpty(value ? std::optional((value->*component)()) : std::nullopt);
}

Sequence secondsFromDuration(DynamicContext&, Arguments& arguments) {
    const DurationValue* value = durationArgument(arguments[0]);
    if (!value) return {};
    return single(AtomicValue::fromDecimal(*Decimal::parseDecimal(value->secondsText())));
}

// --- Timezone adjustment ------------------------------------------------------------------

// With one argument the value moves to the implicit timezone; with a second, to that
// timezone, or out of any timezone when it is ().
Sequence adjustToTimezoneFunction(DynamicContext& context, Arguments& arguments) {
    const TemporalValue* value = temporalArgument(arguments[0]);
    if (!value) return {};
    std::optional<int> timezone = context.operators().implicitTimezoneMinutes;
    if (arguments.size() > 1) {
        const DurationValue* target = durationArgument(arguments[1]);
        timezone = target ? std::optional(timezoneFromDuration(*target)) : std::nullopt;
    }
    return single(AtomicValue::fromTemporal(adjustToTimezone(*value, timezone)));
}

// A component accessor: `<name>-from-<type>` returning `result`.
struct Accessor {
    std::string_view name;
    std::string_view result;
    BuiltinImplementation implementation;
};

}  // namespace

void registerDateTimeFunctions(FunctionLibrary& library) {
    define(library, {.name = "current-dateTime", .result = "xs:dateTime"}, &currentDateTime);
    define(library, {.name = "current-date", .result = "xs:date"}, &currentDate);
    define(library, {.name = "current-time", .result = "xs:time"}, &currentTime);
    define(library, {.name = "implicit-timezone", .result = "xs:dayTimeDuration"}, &implicitTimezone);
    define(library, {.name = "dateTime", .parameters = {"xs:date?", "xs:time?"}, .result = "xs:dateTime?"}, &dateTime);

    const Accessor year{"year", "xs:integer?", &temporalComponent<yearOf>};
    const Accessor month{"month", "xs:integer?", &temporalComponent<monthOf>};
    const Accessor day{"day", "xs:integer?", &temporalComponent<dayOf>};
    const Accessor hours{"hours", "xs:integer?", &temporalComponent<hoursOf>};
    const Accessor minutes{"minutes", "xs:integer?", &temporalComponent<minutesOf>};
    const Accessor seconds{"seconds", "xs:decimal?", &secondsFromTemporal};
    const Accessor timezone{"timezone", "xs:dayTimeDuration?", &timezoneFromTemporal};
    const std::pair<std::string_view, std::vector<Accessor>> accessorsOfType[] = {
        {"dateTime", {year, month, day, hours, minutes, seconds, timezone}},
        {"date", {year, month, day, timezone}},
        {"time", {hours, minutes, seconds, timezone}},
        {"duration",
         {{"years", "xs:integer?", &durationComponent<&DurationValue::years>},
          {"months", "xs:integer?", &durationComponent<&DurationValue::monthsPart>},
          {"days", "xs:integer?", &durationComponent<&DurationValue::days>},
          {"hours", "xs:integer?", &durationComponent<&DurationValue::hours>},
          {"minutes", "xs:integer?", &durationComponent<&DurationValue::minutes>},
          {"seconds", "xs:decimal?", &secondsFromDuration}}}};
    for (const auto& [type, accessors] : accessorsOfType) {
        const std::string parameter = "xs:" + std::string(type) + "?";
        for (const Accessor& accessor : accessors) {
            const std::string name = std::string(accessor.name) + "-from-" + std::string(type);
            define(library, {.name = name, .parameters = {parameter}, .result = accessor.result},
                   accessor.implementation);
        }
    }

    for (std::string_view type : {"dateTime", "date", "time"}) {
        const std::string name = "adjust-" + std::string(type) + "-to-timezone";
        const std::string parameter = "xs:" + std::string(type) + "?";
        define(library, {.name = name, .parameters = {parameter}, .result = parameter}, &adjustToTimezoneFunction);
        define(library, {.name = name, .parameters = {parameter, "xs:dayTimeDuration?"}, .result = parameter},
               &adjustToTimezoneFunction);
    }
}

}  // namespace quillmark::xpath
