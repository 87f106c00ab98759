#include "channel/framing.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>

#include "channel/recordtag.h"

namespace NS_LOG_SERVICE1 {
namespace {

constexpr std::string_view kDumpBegin =
    "*********** Dump filtered debug information begin **********\n";
constexpr std::string_view kDumpEnd =
    "*********** Dump filtered debug information end **********\n";

// The pieces are written without format strings: parsing one for each record would cost more than
// writing the record. Each function returns the end of what it has written, which so stays in a
// register.

template <class Number>
char* PutDecimal(char* at, Number number) {
    return std::to_chars(at, at + std::numeric_limits<Number>::digits10 + 2, number).ptr;
}

std::string_view CutAtZero(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

bool HasZero(const char* begin, const char* end) {
    return std::memchr(begin, '\0', static_cast<size_t>(end - begin)) != nullptr;
}

// The label of the detail differs between the two places where a record is shown.
enum class Place { kWritten, kDumped };
template <Place place>
constexpr std::string_view kDetailLabel = "\n Detail: ";
// The blank before the colon marks a record that was kept back.
template <>
constexpr std::string_view kDetailLabel<Place::kDumped> = "\n Detail : ";

// Inlined into the one function for each place that all records go through.
template <Place place>
__attribute__((always_inline)) inline char* PutWholeFields(char* at, const FrameStamp& stamp,
                                                           const LogRecord& record) {
    at = Put(at, stamp.time);
    at = Put(at, ", ");
    at = Put(at, record.context);
    at = Put(at, ", T:");
    at = Put(at, stamp.thread);
    at = Put(at, ", DL:");
    at = PutDecimal(at, record.level);
    at = Put(at, ", File: ");
    at = Put(at, record.file);
    at = Put(at, " Func:");
    at = Put(at, record.function);
    at = Put(at, " Line:");
    at = PutDecimal(at, record.line);
    at = Put(at, kDetailLabel<place>);
    at = Put(at, record.detail);
    return Put(at, "\n");
}

// A record and its stamp with the texts up to their first zero bytes.
struct CutTexts {
    CutTexts(const FrameStamp& wholeStamp, const LogRecord& wholeRecord)
        : stamp{CutAtZero(wholeStamp.time), wholeStamp.thread}, record(wholeRecord) {
        for (std::string_view* text :
             {&record.context, &record.file, &record.function, &record.detail}) {
            *text = CutAtZero(*text);
        }
    }

    FrameStamp stamp;
    LogRecord record;
};

// Not inlined: seldom called.
template <Place place>
__attribute__((noinline)) char* PutCutFields(char* at, const FrameStamp& stamp,
                                             const LogRecord& record) {
    const CutTexts cut(stamp, record);
    return PutWholeFields<place>(at, cut.stamp, cut.record);
}

// Hardly a text holds a zero byte, so all are copied whole first, and looked through at once.
template <Place place>
char* PutFields(char* at, const FrameStamp& stamp, const LogRecord& record) {
    char* const end = PutWholeFields<place>(at, stamp, record);
    return HasZero(at, end) ? PutCutFields<place>(at, stamp, record) : end;
}

void AppendFileLine(FrameBuffer& buffer, std::string_view before, std::string_view time,
                    std::string_view after) {
    char* const at = buffer.Reserve(before.size() + time.size() + after.size());
    buffer.Commit(Put(Put(Put(at, before), CutAtZero(time)), after));
}

}  // namespace

char* PutUnnumbered(char* at, const FrameStamp& stamp, const LogRecord& record) {
    return PutFields<Place::kWritten>(at, stamp, record);
}

char* PutShortLine(char* at, const FrameStamp& stamp, const LogRecord& record) {
    const CutTexts cut(stamp, record);
    return Put(Put(Put(Put(at, cut.stamp.time), ","), cut.record.detail), "\n");
}

void AppendRecord(FrameBuffer& buffer, std::string_view number, const FrameStamp& stamp,
                  const LogRecord& record) {
    char* at = buffer.Reserve(RecordSizeAtMost(stamp, record));
    if (record.level == LOG_LEVEL_SHORT) {
        buffer.Commit(PutShortLine(at, stamp, record));
        return;
    }
    at = PutUnnumbered(PutTag(at, number), stamp, record);
    buffer.Commit(PutClosingTag(at, number));
}

void AppendDumpOpening(FrameBuffer& buffer, std::string_view number, const FrameStamp& stamp,
                       const LogRecord& trigger) {
    char* at = buffer.Reserve(RecordSizeAtMost(stamp, trigger));
    at = PutUnnumbered(PutTag(at, number), stamp, trigger);
    buffer.Commit(Put(at, kDumpBegin));
}

void AppendDumpedRecord(FrameBuffer& buffer, const FrameStamp& stamp, const LogRecord& record) {
    char* const at = buffer.Reserve(RecordSizeAtMost(stamp, record));
    buffer.Commit(PutFields<Place::kDumped>(at, stamp, record));
}

void AppendDumpClosing(FrameBuffer& buffer, std::string_view number) {
    char* const at = buffer.Reserve(kFixedTextSize);
    buffer.Commit(PutClosingTag(Put(at, kDumpEnd), number));
}

void AppendFileCreated(FrameBuffer& buffer, std::string_view time) {
    AppendFileLine(buffer, "File create at ", time, ".\n");
}

void AppendFileClosed(FrameBuffer& buffer, std::string_view time) {
    AppendFileLine(buffer, "\nFile close at ", time, ".\n");
}

}  // namespace NS_LOG_SERVICE1
