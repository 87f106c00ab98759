#include "query/timeexpression.h"

#include <time.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <vector>

#include "format/fixedtext.h"
#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

constexpr Time kSecond = kMicrosPerSecond;
constexpr Time kMinute = 60 * kSecond;
constexpr Time kHour = 60 * kMinute;
constexpr Time kDay = 24 * kHour;

struct tm LocalDay(Time time, int days) {
    const time_t second = static_cast<time_t>(std::floor(static_cast<double>(time) / 1e6));
    struct tm local {};
    localtime_r(&second, &local);
    local.tm_mday += days;
    local.tm_hour = local.tm_min = local.tm_sec = 0;
    local.tm_isdst = -1;
    return local;
}

// The seconds that the local clock is ahead of UTC.
int64_t OffsetAt(time_t second) {
    struct tm local {};
    localtime_r(&second, &local);
    return local.tm_gmtoff;
}

// All times at which the local clock shows this, the earlier first: two in the hour that it shows
// again when it is set back. What it never shows, because it is set forward, is taken for a time
// nearby.
std::vector<Time> AllFromLocal(struct tm local) {
    struct tm universal = local;
    const int64_t shown = timegm(&universal);
    constexpr int64_t day = kDay / kSecond;
    std::vector<Time> times;
    for (const int64_t offset : {OffsetAt(shown - day), OffsetAt(shown + day)}) {
        if (OffsetAt(shown - offset) == offset) {
            times.push_back((shown - offset) * kSecond);
        }
    }
    if (times.empty()) {
        times.push_back(static_cast<Time>(mktime(&local)) * kSecond);
    }
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

Time FromLocal(const struct tm& local) {
    return AllFromLocal(local).front();
}

std::string Trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? ""
                                      : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool IsOneOf(const std::string& word, const char* const* words) {
    for (; *words != nullptr; ++words) {
        if (word == *words) {
            return true;
        }
    }
    return false;
}

Time Unit(const std::string& word) {
    static const char* const kSeconds[] = {"", "s", "sec", "secs", "second", "seconds", nullptr};
    static const char* const kMinutes[] = {"m", "min", "mins", "minute", "minutes", nullptr};
    static const char* const kHours[] = {"h", "hr", "hour", "hours", nullptr};
    static const char* const kDays[] = {"d", "day", "days", nullptr};
    static const char* const kWeeks[] = {"w", "week", "weeks", nullptr};
    return IsOneOf(word, kSeconds)   ? kSecond
           : IsOneOf(word, kMinutes) ? kMinute
           : IsOneOf(word, kHours)   ? kHour
           : IsOneOf(word, kDays)    ? kDay
           : IsOneOf(word, kWeeks)   ? 7 * kDay
                                     : 0;
}

std::optional<Time> ReadDuration(const std::string& text) {
    double count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    const Time unit = Unit(Trimmed(end));
    if (error != std::errc() || unit == 0 || !(count >= 0 && count < 1e11)) {
        return std::nullopt;
    }
    return static_cast<Time>(count * static_cast<double>(unit));
}

// Takes a number of so many digits off the text.
bool TakeNumber(const char*& text, int least, int most, int& number) {
    int digits = 0;
    number = 0;
    while (digits < most && IsDigit(*text)) {
        number = number * 10 + (*text++ - '0');
        ++digits;
    }
    return digits >= least;
}

bool TakeCharacter(const char*& text, char character) {
    if (*text != character) {
        return false;
    }
    ++text;
    return true;
}

// Takes "HH:MM[:SS[.fraction]]" off the text; the seconds in microseconds.
bool ReadClock(const char*& text, int& hour, int& minute, Time& second) {
    if (!TakeNumber(text, 1, 2, hour) || !TakeCharacter(text, ':') ||
        !TakeNumber(text, 2, 2, minute) || hour > 24 || minute > 59) {
        return false;
    }
    second = 0;
    if (!TakeCharacter(text, ':')) {
        return true;
    }
    double value = 0;
    const auto [end, error] =
        std::from_chars(text, text + std::strlen(text), value, std::chars_format::fixed);
    if (error != std::errc() || value < 0 || value >= 61) {
        return false;
    }
    text = end;
    second = static_cast<Time>(std::llround(value * 1e6));
    return true;
}

// Reads "Z", "+01:00", "+0100" or "+01", in minutes. No value: it is none of these.
std::optional<int> ReadZone(const std::string& zone) {
    const char* text = zone.c_str();
    if (zone == "Z" || zone == "z") {
        return 0;
    }
    int hours = 0;
    int minutes = 0;
    const bool isWest = *text == '-';
    if ((!TakeCharacter(text, '+') && !TakeCharacter(text, '-')) ||
        !TakeNumber(text, 2, 2, hours)) {
        return std::nullopt;
    }
    if (*text != '\0') {
        TakeCharacter(text, ':');
        if (!TakeNumber(text, 2, 2, minutes) || *text != '\0') {
            return std::nullopt;
        }
    }
    return (isWest ? -1 : 1) * (hours * 60 + minutes);
}

struct Date {
    int year = 0;
    int month = 0;
    int day = 0;
};

int64_t DaysOfMonth(int year, int month) {
    const bool isLast = month == 12;
    const auto next = static_cast<unsigned>(isLast ? 1 : month + 1);
    return DaysSinceEpoch(isLast ? year + 1 : year, next, 1) -
           DaysSinceEpoch(year, static_cast<unsigned>(month), 1);
}

bool TakeDate(const char*& text, Date& date) {
    return TakeNumber(text, 4, 4, date.year) && TakeCharacter(text, '-') &&
           TakeNumber(text, 2, 2, date.month) && TakeCharacter(text, '-') &&
           TakeNumber(text, 2, 2, date.day) && date.month >= 1 && date.month <= 12 &&
           date.day >= 1 && date.day <= DaysOfMonth(date.year, date.month);
}

std::optional<Time> ReadDate(const std::string& text, Bound bound) {
    const char* rest = text.c_str();
    Date date;
    int hour = 0;
    int minute = 0;
    Time second = 0;
    if (!TakeDate(rest, date)) {
        return std::nullopt;
    }
    const bool hasClock = TakeCharacter(rest, 'T') || TakeCharacter(rest, ' ');
    if (hasClock && !ReadClock(rest, hour, minute, second)) {
        return std::nullopt;
    }
    const std::string zoneText = Trimmed(rest);
    if (zoneText.empty()) {
        struct tm local {};
        local.tm_year = date.year - 1900;
        local.tm_mon = date.month - 1;
        local.tm_mday = date.day;
        local.tm_hour = hour;
        local.tm_min = minute;
        local.tm_isdst = -1;
        const std::vector<Time> times = AllFromLocal(local);
        return (hasClock && bound == Bound::Until ? times.back() : times.front()) + second;
    }
    const std::optional<int> zone = ReadZone(zoneText);
    if (!zone) {
        return std::nullopt;
    }
    const int64_t days = DaysSinceEpoch(date.year, static_cast<unsigned>(date.month),
                                        static_cast<unsigned>(date.day));
    return days * kDay + hour * kHour + (minute - *zone) * kMinute + second;
}

std::optional<Time> ReadClockTime(const std::string& text, Time now, std::optional<Time> after) {
    const char* rest = text.c_str();
    int hour = 0;
    int minute = 0;
    Time second = 0;
    if (!ReadClock(rest, hour, minute, second) || *rest != '\0') {
        return std::nullopt;
    }
    const auto onDay = [&](Time near, int days) {
        struct tm local = LocalDay(near, days);
        local.tm_hour = hour;
        local.tm_min = minute;
        std::vector<Time> times = AllFromLocal(local);
        for (Time& time : times) {
            time += second;
        }
        return times;
    };
    if (after) {
        const std::vector<Time> sameDay = onDay(*after, 0);
        const auto next = std::upper_bound(sameDay.begin(), sameDay.end(), *after);
        return next != sameDay.end() ? *next : onDay(*after, 1).front();
    }
    const std::vector<Time> today = onDay(now, 0);
    const auto next = std::upper_bound(today.begin(), today.end(), now);
    return next != today.begin() ? *std::prev(next) : onDay(now, -1).back();
}

std::optional<Time> Read(const std::string& text, Time now, std::optional<Time> after,
                         Bound bound) {
    constexpr const char* ago = " ago";
    if (text == "now") {
        return now;
    }
    if (text == "today" || text == "yesterday" || text == "tomorrow") {
        return FromLocal(LocalDay(now, text == "today" ? 0 : text == "yesterday" ? -1 : 1));
    }
    if (text.size() > 1 && (text[0] == '-' || text[0] == '@')) {
        const std::optional<Time> span =
            text[0] == '@' && text.find_first_not_of("@.0123456789") != std::string::npos
                ? std::nullopt
                : ReadDuration(text.substr(1));
        return !span || text[0] == '@' ? span : now - *span;
    }
    if (text.size() > 4 && text.compare(text.size() - 4, 4, ago) == 0) {
        const std::optional<Time> span = ReadDuration(text.substr(0, text.size() - 4));
        return span ? std::optional<Time>(now - *span) : std::nullopt;
    }
    const std::optional<Time> date = ReadDate(text, bound);
    return date ? date : ReadClockTime(text, now, after);
}

}  // namespace

Time ParseTimeExpression(const std::string& text, Time now, std::optional<Time> after,
                         Bound bound) {
    const std::optional<Time> time = Read(Trimmed(text), now, after, bound);
    if (!time) {
        throw BadRequest(
            "'" + text +
            "' is no time; write 2026-03-05T14:07, 14:07, \"10 min ago\" or yesterday");
    }
    return *time;
}

Time ParseDuration(const std::string& text) {
    const std::optional<Time> span = ReadDuration(Trimmed(text));
    if (!span || text.find_first_not_of("0123456789.") == std::string::npos) {
        throw BadRequest("'" + text + "' is no span of time; write 30d, 12h or \"90 min\"");
    }
    return *span;
}

}  // namespace NS_LOG_READER
