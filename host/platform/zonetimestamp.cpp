// Local times for log records, such as 2024-03-05T14:07:09.000123+01:00. A process that changes
// its time zone calls tzset(3) afterwards; changing the variable TZ alone is not noticed.
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "bundlemgr/logsupport.h"
#include "localtimelock.h"

namespace {

using NS_REFERENCE_HOST::Mutex;
using NS_REFERENCE_HOST::MutexLock;

// Never destroyed: it has no destructor.
Mutex localTimeLock;

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

// The text of one second, to which each record adds its microseconds. Each thread has one. The type
// is trivial, so that it can be used while the thread ends.
struct RenderedSecond {
    bool Holds(time_t which, const Zone& ofZone) const {
        return isValid && second == which && zone == ofZone;
    }

    bool isValid;
    time_t second;
    Zone zone;
    size_t length;
    size_t microsAt;  // where the six digits of the microseconds belong
    char text[64];    // room for a year of eleven characters
};

thread_local RenderedSecond rendered;

// Writes the last `count` decimal digits of `number`; returns where they end.
char* WriteDigits(int number, int count, char* out) {
    for (int i = count - 1; i >= 0; --i) {
        out[i] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
    return out + count;
}

struct DigitPairs {
    char digits[100][2];
};

constexpr DigitPairs MakeDigitPairs() {
    DigitPairs pairs{};
    for (int i = 0; i < 100; ++i) {
        pairs.digits[i][0] = static_cast<char>('0' + i / 10);
        pairs.digits[i][1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}

// The six digits in three independent pairs: each record needs them.
void WriteMicros(unsigned micros, char* out) {
    static constexpr DigitPairs kPairs = MakeDigitPairs();
    std::memcpy(out, kPairs.digits[micros / 10000], 2);
    std::memcpy(out + 2, kPairs.digits[micros / 100 % 100], 2);
    std::memcpy(out + 4, kPairs.digits[micros % 100], 2);
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

// A year of four digits makes a text of this length, which the compiler copies without a call.
constexpr size_t kUsualLength = 32;

// Returns false when the year does not fit the calendar.
bool ToLocalTime(time_t second, struct tm& local) {
    // localtime_r(3) does not have to look at the environment.
    static bool zoneIsKnown = false;
    const MutexLock guard(localTimeLock);
    if (!zoneIsKnown) {
        tzset();
        zoneIsKnown = true;
    }
    return localtime_r(&second, &local) != nullptr;
}

// Converts each second anew, because the offset of a zone may change at any second. A change of the
// zone itself takes effect within a second after a call of tzset(3).
void Render(time_t second, Zone zone, RenderedSecond& result) {
    struct tm local;
    char* out = result.text;
    if (ToLocalTime(second, local)) {
        out = WriteDateAndTime(local, out, sizeof(result.text));
        result.microsAt = static_cast<size_t>(out - result.text);
        out = WriteOffset(local, out + kMicroDigits);
    } else {
        // The bare count of seconds still tells the time.
        out += std::snprintf(out, sizeof(result.text), "@%lld.", static_cast<long long>(second));
        result.microsAt = static_cast<size_t>(out - result.text);
        out += kMicroDigits;
    }
    result.length = static_cast<size_t>(out - result.text);
    result.second = second;
    result.zone = zone;
    result.isValid = true;
}

// Not inlined: so the usual way saves no registers.
__attribute__((noinline)) void RenderStamp(const ACE_Time_Value& time, std::string& stamp) {
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
    if (!cached.Holds(second, zone)) {
        Render(second, zone, cached);
    }
    stamp.assign(cached.text, cached.length);
    WriteMicros(static_cast<unsigned>(micros), stamp.data() + cached.microsAt);
}

}  // namespace

namespace NS_REFERENCE_HOST {

Mutex& LocalTimeLock() {
    return localTimeLock;
}

}  // namespace NS_REFERENCE_HOST

namespace NS_BUNDLEMGR1 {

void GetZoneTimeStamp(const ACE_Time_Value& time, std::string& stamp) {
    const RenderedSecond& cached = rendered;
    if (time.usec() < 0 || !cached.Holds(time.sec(), Zone::Current()) ||
        cached.length != kUsualLength || stamp.size() != kUsualLength) {
        RenderStamp(time, stamp);
        return;
    }
    std::memcpy(stamp.data(), cached.text, kUsualLength);
    WriteMicros(static_cast<unsigned>(time.usec()), stamp.data() + cached.microsAt);
}

}  // namespace NS_BUNDLEMGR1
