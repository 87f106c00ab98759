// Local times for log records, such as 2024-03-05T14:07:09.000123+01:00. A process that changes
// its time zone calls tzset(3) afterwards; changing the variable TZ alone is not noticed.
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "bundlemgr/logsupport.h"

namespace {

constexpr int kMicrosPerSecond = 1000000;
constexpr int kMicroDigits = 6;

// The C library's time zone, as far as it is visible. The reads are relaxed atomics because
// tzset(3) may write these while other threads read them.
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

// The text of one second, in which only the microseconds change. Each thread has one. The type is
// trivial, so that it can be used while the thread ends.
struct RenderedSecond {
    bool isValid;
    time_t second;
    Zone zone;
    size_t length;
    size_t microsAt;  // where the six digits of the microseconds go
    char text[64];    // room for a year of eleven characters
};

thread_local RenderedSecond rendered;

// Writes the last `count` decimal digits of `number`; returns the place behind them.
char* WriteDigits(int number, int count, char* out) {
    for (int i = count - 1; i >= 0; --i) {
        out[i] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
    return out + count;
}

// The six digits in three independent pairs: each record needs them.
void WriteMicros(int micros, char* out) {
    const int pairs[] = {micros / 10000, micros / 100 % 100, micros % 100};
    for (const int pair : pairs) {
        *out++ = static_cast<char>('0' + pair / 10);
        *out++ = static_cast<char>('0' + pair % 10);
    }
}

char* WriteCharacter(char character, char* out) {
    *out = character;
    return out + 1;
}

// Years of four digits do not go through snprintf: a thread that logs less than once a second comes
// here for each record.
char* WriteYear(const struct tm& local, char* out, size_t room) {
    if (local.tm_year >= -1900 && local.tm_year < 10000 - 1900) {
        return WriteDigits(local.tm_year + 1900, 4, out);
    }
    return out + std::snprintf(out, room, "%04lld", local.tm_year + 1900LL);
}

char* WriteDateAndTime(const struct tm& local, char* out, size_t room) {
    out = WriteCharacter('-', WriteYear(local, out, room));
    out = WriteCharacter('-', WriteDigits(local.tm_mon + 1, 2, out));
    out = WriteCharacter('T', WriteDigits(local.tm_mday, 2, out));
    out = WriteCharacter(':', WriteDigits(local.tm_hour, 2, out));
    out = WriteCharacter(':', WriteDigits(local.tm_min, 2, out));
    return WriteCharacter('.', WriteDigits(local.tm_sec, 2, out));
}

char* WriteOffset(const struct tm& local, char* out) {
    const int minutes = static_cast<int>(local.tm_gmtoff / 60);
    out = WriteCharacter(minutes < 0 ? '-' : '+', out);
    out = WriteCharacter(':', WriteDigits(std::abs(minutes) / 60, 2, out));
    return WriteDigits(std::abs(minutes) % 60, 2, out);
}

// Converts each second anew, because the offset of a zone may change at any second. A change of the
// zone itself takes effect within a second after a call of tzset(3).
void Render(time_t second, const Zone& zone, RenderedSecond& result) {
    struct tm local;
    char* out = result.text;
    if (localtime_r(&second, &local) != nullptr) {
        out = WriteDateAndTime(local, out, sizeof(result.text));
        result.microsAt = static_cast<size_t>(out - result.text);
        out = WriteOffset(local, out + kMicroDigits);
    } else {
        // The year does not fit the calendar: the bare count of seconds still tells the time.
        out += std::snprintf(out, sizeof(result.text), "@%lld.", static_cast<long long>(second));
        result.microsAt = static_cast<size_t>(out - result.text);
        out += kMicroDigits;
    }
    result.length = static_cast<size_t>(out - result.text);
    result.second = second;
    result.zone = zone;
    result.isValid = true;
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
        Render(second, zone, cached);
    }
    WriteMicros(micros, cached.text + cached.microsAt);
    // A string that has its size already is only written over.
    stamp.resize(cached.length);
    std::memcpy(stamp.data(), cached.text, cached.length);
}

}  // namespace NS_BUNDLEMGR1
