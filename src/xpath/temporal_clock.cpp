// The implicit timezone and the current dateTime, read from the system clock.
#include <chrono>
#include <ctime>

#include "xpath/temporal.h"
#include "xpath/temporal_calendar.h"

namespace quillmark::xpath {

namespace {

int localOffsetMinutes(std::time_t at) {
    std::tm local{};
    localtime_r(&at, &local);
    return static_cast<int>(local.tm_gmtoff / 60);
}

}  // namespace

int localTimezoneMinutes() { return localOffsetMinutes(std::time(nullptr)); }

TemporalValue currentDateTime() {
    using namespace std::chrono;
    auto sinceEpoch = duration_cast<microseconds>(system_clock::now().time_since_epoch());
    int timezone = localOffsetMinutes(static_cast<std::time_t>(duration_cast<seconds>(sinceEpoch).count()));
    TemporalValue now;
    now.kind = TemporalKind::DateTime;
    now.timezoneMinutes = timezone;
    calendar::setLocalNanoseconds(now, static_cast<__int128>(sinceEpoch.count()) * 1000 + timezone * calendar::kNanosPerMinute);
    return now;
}

}  // namespace quillmark::xpath
