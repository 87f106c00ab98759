#include "format/stamp.h"

#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "format/fixedtext.h"

namespace NS_LOG_READER {
namespace {

constexpr size_t kYearDigits = 4;
constexpr std::string_view kAfterYear = "-dd-ddTdd:dd:dd.ddddddsdd:dd";
constexpr size_t kMaxYearDigits = 10;

// 'd' stands for a digit, 's' for a sign.
bool Fits(const char* text) {
    for (const char wanted : kAfterYear) {
        const char found = *text++;
        const bool fits = wanted == 'd'   ? IsDigit(found)
                          : wanted == 's' ? found == '+' || found == '-'
                                          : found == wanted;
        if (!fits) {
            return false;
        }
    }
    return true;
}

size_t CountDigits(std::string_view text, size_t at, size_t most) {
    size_t count = 0;
    while (count < most && at + count < text.size() && IsDigit(text[at + count])) {
        ++count;
    }
    return count;
}

constexpr size_t kUsualLength = kYearDigits + kAfterYear.size();

uint64_t Load(const char* bytes) {
    uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// Whether the eight bytes are digits where `shape` has a 'd', and else the same as there; 's'
// stands for anything.
bool FitsWord(const char* text, const char* shape) {
    constexpr uint64_t ones = 0x0101010101010101;
    uint64_t digits = 0;  // 0xff at each digit
    uint64_t fixed = 0;
    for (size_t i = 0; i < sizeof(uint64_t); ++i) {
        const uint64_t byte = uint64_t{0xff} << (8 * i);
        digits |= shape[i] == 'd' ? byte : 0;
        fixed |= shape[i] != 'd' && shape[i] != 's' ? byte : 0;
    }
    const uint64_t word = Load(text);
    const uint64_t value = word ^ (ones * '0');
    // A digit's value is at most 9, so adding 0x76 does not reach the byte's highest bit.
    const uint64_t above = ((value & (ones * 0x7f)) + ones * 0x76) | value;
    return (above & digits & (ones * 0x80)) == 0 && ((word ^ Load(shape)) & fixed) == 0;
}

// A time stamp with a year of four digits. The shapes are known when this is compiled, and so are
// the words made of them.
bool FitsUsual(const char* text) {
    return FitsWord(text, "dddd-dd-") && FitsWord(text + 8, "ddTdd:dd") &&
           FitsWord(text + 16, ":dd.dddd") && FitsWord(text + 24, "ddsdd:dd") &&
           (text[26] == '+' || text[26] == '-');
}

// "@12.000000", of a time that no calendar holds.
size_t BareStampLength(std::string_view text) {
    const size_t first = text.size() > 1 && text[1] == '-' ? 2 : 1;
    const size_t digits = CountDigits(text, first, 20);
    const size_t point = first + digits;
    if (digits == 0 || point >= text.size() || text[point] != '.' ||
        CountDigits(text, point + 1, 6) != 6) {
        return 0;
    }
    return point + 7;
}

int Two(const char* digits) {
    return (digits[0] - '0') * 10 + (digits[1] - '0');
}

int64_t Number(std::string_view digits) {
    int64_t value = 0;
    for (const char digit : digits) {
        value = value * 10 + (digit - '0');
    }
    return value;
}

Time ParseBare(std::string_view stamp) {
    const bool negative = stamp[1] == '-';
    const size_t first = negative ? 2 : 1;
    // Times beyond what microseconds in 64 bits can tell stay at the end of the range.
    const int64_t seconds = stamp.size() - first - 7 > 12
                                ? 9000000000000
                                : Number(stamp.substr(first, stamp.size() - first - 7));
    const int64_t micros = Number(stamp.substr(stamp.size() - 6));
    return (negative ? -seconds : seconds) * kMicrosPerSecond + micros;
}

// In seconds since 1970.
int64_t StartOfMinute(std::string_view stamp) {
    const char* const rest = stamp.data() + stamp.size() - kAfterYear.size();
    const size_t sign = stamp[0] == '-' ? 1 : 0;
    int64_t year = Number(stamp.substr(sign, stamp.size() - kAfterYear.size() - sign));
    // Microseconds in 64 bits end in the year 294246.
    year = year > 290000 ? 290000 : year;
    const int64_t days =
        DaysSinceEpoch(sign != 0 ? -year : year, static_cast<unsigned>(Two(rest + 1)),
                       static_cast<unsigned>(Two(rest + 4)));
    const int offset = Two(rest + 23) * 60 + Two(rest + 26);
    const int minutes = Two(rest + 7) * 60 + Two(rest + 10) - (rest[22] == '-' ? -offset : offset);
    return days * 86400 + int64_t{minutes} * 60;
}

// The second of a time stamp, since 1970. Everything down to the minute, and the zone, is the same
// for many records in a row.
int64_t SecondOfStamp(std::string_view stamp) {
    constexpr size_t toMinute = 16;
    constexpr size_t zoneSize = 6;
    struct Minute {
        char text[toMinute];
        char zone[zoneSize];
        int64_t start;
    };
    thread_local Minute last{};
    const int second = Two(stamp.data() + stamp.size() - kAfterYear.size() + 13);
    if (stamp.size() != kUsualLength) {
        return StartOfMinute(stamp) + second;
    }
    const char* const zone = stamp.data() + kUsualLength - zoneSize;
    if (std::memcmp(last.text, stamp.data(), toMinute) != 0 ||
        std::memcmp(last.zone, zone, zoneSize) != 0) {
        last.start = StartOfMinute(stamp);
        std::memcpy(last.text, stamp.data(), toMinute);
        std::memcpy(last.zone, zone, zoneSize);
    }
    return last.start + second;
}

}  // namespace

int64_t DaysSinceEpoch(int64_t year, unsigned month, unsigned day) {
    year -= month <= 2 ? 1 : 0;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfYear =
        (153 * (static_cast<int64_t>(month) + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

size_t StampLength(std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    if (text.size() >= kUsualLength && FitsUsual(text.data())) {
        return kUsualLength;
    }
    if (text[0] == '@') {
        return BareStampLength(text);
    }
    const size_t sign = text[0] == '-' ? 1 : 0;
    size_t year = sign + kYearDigits;
    if (text.size() <= year) {
        return 0;
    }
    if (text[year] != '-' || sign != 0) {
        year = sign + CountDigits(text, sign, kMaxYearDigits);
    } else if (CountDigits(text, 0, kYearDigits) != kYearDigits) {
        return 0;
    }
    const size_t length = year + kAfterYear.size();
    return year >= kYearDigits && text.size() >= length && Fits(text.data() + year) ? length : 0;
}

size_t ParseStamp(std::string_view text, Time& time) {
    const size_t length = StampLength(text);
    if (length == 0) {
        return 0;
    }
    if (text[0] == '@') {
        time = ParseBare(text.substr(0, length));
        return length;
    }
    time = SecondOfStamp(text.substr(0, length)) * kMicrosPerSecond +
           Number({text.data() + length - kAfterYear.size() + 16, 6});
    return length;
}

std::string FormatLocalStamp(Time time) {
    time_t second = static_cast<time_t>(time / kMicrosPerSecond);
    int64_t micros = time % kMicrosPerSecond;
    if (micros < 0) {
        micros += kMicrosPerSecond;
        --second;
    }
    struct tm local {};
    localtime_r(&second, &local);
    const int minutes = static_cast<int>(local.tm_gmtoff / 60);
    char text[96];
    const int length =
        std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%06d%c%02d:%02d",
                      local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                      local.tm_min, local.tm_sec, static_cast<int>(micros), minutes < 0 ? '-' : '+',
                      std::abs(minutes) / 60, std::abs(minutes) % 60);
    return std::string(text, static_cast<size_t>(length));
}

}  // namespace NS_LOG_READER
