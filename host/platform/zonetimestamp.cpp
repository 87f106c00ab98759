// Local times for log records, such as 2024-03-05T14:07:09.000123+01:00.
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "bundlemgr/logsupport.h"

namespace {

constexpr int kMicrosPerSecond = 1000000;
constexpr size_t kMicroDigits = 6;

// The zone that the C library computes with, as far as it can be seen from outside. tzset(3)
// writes these while other threads may read them, hence the relaxed reads.
struct Zone {
    static Zone Current() {
        return {__atomic_load_n(&timezone, __ATOMIC_RELAXED),
                __atomic_load_n(&daylight, __ATOMIC_RELAXED)};
    }
    bool operator==(const Zone& other) const {
        return offset == other.offset && hasSummerTime == other.hasSummerTime;
    }

    long offset;
    int hasSummerTime;
};

// The text of one second: everything but the microseconds stays the same throughout it. One for
// each thread; trivial, so that it is good to use while the thread ends.
struct RenderedSecond {
    bool isValid;
    time_t second;
    Zone zone;
    size_t length;
    size_t microsAt;  // where the six digits of the microseconds go
    char text[64];    // room for a year of eleven characters
};

thread_local RenderedSecond rendered;

// The daylight-saving rules of a zone may change its offset at any second, so each second is
// asked for; a change of the zone itself is seen once somebody has called tzset(3), by the next
// second at the latest.
void Render(time_t second, const Zone& zone) {
    struct tm local;
    RenderedSecond& result = rendered;
    result.isValid = false;
    int head = 0;
    int tail = 0;
    if (localtime_r(&second, &local) != nullptr) {
        head = std::snprintf(result.text, sizeof(result.text), "%04lld-%02d-%02dT%02d:%02d:%02d.",
                             local.tm_year + 1900LL, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                             local.tm_min, local.tm_sec);
        const int minutes = static_cast<int>(local.tm_gmtoff / 60);
        tail = std::snprintf(result.text + head, sizeof(result.text) - static_cast<size_t>(head),
                             "000000%c%02d:%02d", minutes < 0 ? '-' : '+', std::abs(minutes) / 60,
                             std::abs(minutes) % 60);
    } else {
        // The year does not fit the calendar: the bare count of seconds still tells the time.
        head = std::snprintf(result.text, sizeof(result.text), "@%lld.",
                             static_cast<long long>(second));
        tail = std::snprintf(result.text + head, sizeof(result.text) - static_cast<size_t>(head),
                             "000000");
    }
    result.microsAt = static_cast<size_t>(head);
    result.length = static_cast<size_t>(head + tail);
    result.second = second;
    result.zone = zone;
    result.isValid = true;
}

void WriteMicros(int micros, char* digits) {
    for (size_t i = kMicroDigits; i > 0; --i) {
        digits[i - 1] = static_cast<char>('0' + micros % 10);
        micros /= 10;
    }
}

}  // namespace

namespace NS_BUNDLEMGR1 {

void GetZoneTimeStamp(const ACE_Time_Value& time, std::string& stamp) {
    // localtime_r(3) does not have to look at the environment.
    static const bool zoneIsKnown = (tzset(), true);
    static_cast<void>(zoneIsKnown);

    // Times before 1970 have negative microseconds too; the text counts them upwards.
    time_t second = time.sec();
    int micros = static_cast<int>(time.usec());
    if (micros < 0) {
        if (second == std::numeric_limits<time_t>::min()) {
            micros = 0;
        } else {
            --second;
            micros += kMicrosPerSecond;
        }
    }

    const Zone zone = Zone::Current();
    RenderedSecond& cached = rendered;
    if (!cached.isValid || cached.second != second || !(cached.zone == zone)) {
        Render(second, zone);
    }
    WriteMicros(micros, cached.text + cached.microsAt);
    stamp.assign(cached.text, cached.length);
}

}  // namespace NS_BUNDLEMGR1
