#include "store/recordrows.h"

#include <algorithm>
#include <functional>
#include <optional>

#include "format/framing.h"
#include "format/recordparser.h"
#include "input/series.h"

namespace NS_LOG_FLEET {

using NS_LOG_READER::DumpedRecords;
using NS_LOG_READER::kMicrosPerSecond;
using NS_LOG_READER::ParseRecord;
using NS_LOG_READER::Piece;
using NS_LOG_READER::PieceKind;
using NS_LOG_READER::Record;
using NS_LOG_READER::RecordKind;
using NS_LOG_READER::Time;

const char* const kRecordColumns =
    "day, file, byte_offset, kind, torn, time, level, number, dump_offset, operation, "
    "operation_thread, interface, user_name, thread, source, line, function, bytes";

namespace {

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kLastDay = 84005;  // 2199-12-31

// The years 1 to 9999: clocks tell anything, the server's calendar ends somewhere.
constexpr Time kFirstTime = -62135596800 * kMicrosPerSecond;
constexpr Time kLastTime = 253402300799 * kMicrosPerSecond;

int64_t DayOf(Time time) {
    return std::clamp<int64_t>(time / kMicrosPerSecond / kSecondsPerDay, 0, kLastDay);
}

Time TimeOf(Time time) {
    return std::clamp(time, kFirstTime, kLastTime);
}

std::string_view KindLabel(RecordKind kind) {
    constexpr std::string_view labels[] = {"record", "dump", "dumped", "short"};
    return labels[static_cast<size_t>(kind)];
}

std::string_view KindLabel(PieceKind kind) {
    switch (kind) {
        case PieceKind::Created:
            return "created";
        case PieceKind::Closed:
            return "closed";
        case PieceKind::Garbage:
            return "garbage";
        default:
            return "torn";
    }
}

// The time of a mark at either end of a file. No value: the piece is none.
std::optional<Time> MarkTime(const Piece& piece) {
    const size_t label = piece.kind == PieceKind::Created  ? NS_LOG_READER::kFileCreated.size()
                         : piece.kind == PieceKind::Closed ? NS_LOG_READER::kFileClosed.size()
                                                           : 0;
    Time time = 0;
    if (label == 0 || NS_LOG_READER::ParseStamp(piece.bytes.substr(label), time) == 0) {
        return std::nullopt;
    }
    return time;
}

Time TimeWithoutRecord(const Piece& piece, const RowFile& file) {
    return MarkTime(piece).value_or(file.day * kSecondsPerDay * kMicrosPerSecond);
}

void PutPlace(const Record& record, CopyStream& copy) {
    if (record.kind == RecordKind::Short) {
        for (int i = 0; i < 8; ++i) {
            copy.PutNull();
        }
        return;
    }
    copy.PutColumnText(record.operation);
    copy.PutBigint(record.operationThread);
    copy.PutColumnText(record.interface);
    copy.PutColumnText(record.user);
    copy.PutBigint(record.thread);
    copy.PutColumnText(record.file);
    copy.PutBigint(record.line);
    copy.PutColumnText(record.function);
}

// `dump`: the dump that the record stands in, or null.
void PutRecord(const Record& record, const Record* dump, const RowFile& file, CopyStream& copy) {
    copy.BeginRow();
    copy.PutDay(DayOf(record.time));
    copy.PutBigint(file.id);
    copy.PutBigint(static_cast<int64_t>(record.offset));
    copy.PutBytes(KindLabel(record.kind));
    copy.PutBoolean(record.torn);
    copy.PutTime(TimeOf(record.time));
    copy.PutInteger(record.level);
    record.kind == RecordKind::Short ? copy.PutNull() : copy.PutBigint(record.number);
    dump == nullptr ? copy.PutNull() : copy.PutBigint(static_cast<int64_t>(dump->offset));
    PutPlace(record, copy);
    copy.PutBytes(record.bytes);
}

void PutOther(const Piece& piece, const RowFile& file, CopyStream& copy) {
    const Time time = TimeWithoutRecord(piece, file);
    copy.BeginRow();
    copy.PutDay(DayOf(time));
    copy.PutBigint(file.id);
    copy.PutBigint(static_cast<int64_t>(piece.offset));
    copy.PutBytes(KindLabel(piece.kind));
    copy.PutBoolean(piece.kind == PieceKind::Torn);
    copy.PutTime(TimeOf(time));
    for (int i = 0; i < 11; ++i) {
        copy.PutNull();
    }
    copy.PutBytes(piece.bytes);
}

}  // namespace

int64_t DayOfName(const std::string& name) {
    const auto parts = NS_LOG_READER::ParseLogFileName(name);
    if (!parts || parts->second.size() < 8) {
        return 0;
    }
    const int date = std::stoi(parts->second.substr(0, 8));
    return std::clamp<int64_t>(
        NS_LOG_READER::DaysSinceEpoch(date / 10000, static_cast<unsigned>(date / 100 % 100),
                                      static_cast<unsigned>(date % 100)),
        0, kLastDay);
}

void CollectDays(const Piece& piece, const RowFile& file, std::set<int64_t>& days) {
    Record record;
    if (!ParseRecord(piece, record)) {
        days.insert(DayOf(TimeWithoutRecord(piece, file)));
        return;
    }
    days.insert(DayOf(record.time));
    DumpedRecords inner(piece, record);
    while (inner.Next(record)) {
        days.insert(DayOf(record.time));
    }
}

uint64_t PutRows(const Piece& piece, const RowFile& file, CopyStream& copy) {
    Record record;
    if (!ParseRecord(piece, record)) {
        PutOther(piece, file, copy);
        return 1;
    }
    PutRecord(record, nullptr, file, copy);
    uint64_t rows = 1;
    Record dumped;
    DumpedRecords inner(piece, record);
    while (inner.Next(dumped)) {
        PutRecord(dumped, &record, file, copy);
        ++rows;
    }
    return rows;
}

}  // namespace NS_LOG_FLEET
