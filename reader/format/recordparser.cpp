#include "format/recordparser.h"

#include <cstring>

#include "format/fixedtext.h"
#include "format/framing.h"
#include "format/headerparser.h"

namespace NS_LOG_READER {
namespace {

constexpr std::string_view kFlushallDetail =
    "The follow message was dump by maintenance command flushall.";

// What stands between the tags. Of a torn frame, what is left, without the beginning of the
// closing tag.
std::string_view FrameContent(const Piece& piece) {
    std::string_view digits;
    std::string_view content = piece.bytes;
    content.remove_prefix(OpeningTagLength(content, digits));
    if (piece.kind == PieceKind::Frame) {
        content.remove_suffix(digits.size() + std::strlen("</>\n\n"));
        return content;
    }
    const std::string closing = "\n</" + std::string(digits) + ">\n";
    for (size_t length = closing.size(); length > 0; --length) {
        if (EndsWith(content, std::string_view(closing).substr(0, length))) {
            content.remove_suffix(length - 1);
            break;
        }
    }
    return content;
}

// Where the records that were kept back begin; npos: the frame is no dump. A record of level 0
// always is one, others only when the service itself wrote them at an operator's command: so a
// detail that looks like a dump makes none.
size_t FindDump(std::string_view content, size_t detail, const Record& record) {
    const bool canBeDump = record.level == 0 || StartsWith(content.substr(detail), kFlushallDetail);
    if (!canBeDump || (!record.torn && !EndsWith(content, kDumpEnd))) {
        return std::string_view::npos;
    }
    for (size_t at = FindText(content, kDumpBegin, detail); at != std::string_view::npos;
         at = FindText(content, kDumpBegin, at + 1)) {
        const std::string_view inside = content.substr(at + kDumpBegin.size());
        if (at > 0 && content[at - 1] == '\n' &&
            (inside == kDumpEnd || inside.empty() || StampLength(inside) != 0)) {
            return at;
        }
    }
    return std::string_view::npos;
}

std::string_view WithoutNewline(std::string_view text) {
    if (!text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    return text;
}

bool ParseFrame(const Piece& piece, Record& record) {
    const std::string_view content = FrameContent(piece);
    const size_t detail = ParseHeader(content, kDetailLabel, record);
    if (detail == 0) {
        return false;
    }
    const size_t dump = FindDump(content, detail, record);
    const bool isDump = dump != std::string_view::npos;
    record.kind = isDump ? RecordKind::Dump : RecordKind::Record;
    record.number = piece.number;
    record.text = WithoutNewline(content.substr(0, dump));
    record.detail = record.text.size() < detail ? std::string_view() : record.text.substr(detail);
    return true;
}

bool ParseShort(const Piece& piece, Record& record) {
    const size_t stamp = ParseStamp(piece.bytes, record.time);
    if (stamp == 0 || stamp >= piece.bytes.size() || piece.bytes[stamp] != ',') {
        return false;
    }
    record.kind = RecordKind::Short;
    record.level = kShortLevel;
    record.stamp = piece.bytes.substr(0, stamp);
    record.text = WithoutNewline(piece.bytes);
    record.detail = record.text.substr(stamp + 1);
    return true;
}

// Parses the header of a record that was kept back, at the beginning of a line. Returns where its
// detail begins; 0: none begins there. A detail may well have a line that begins with a time, so
// the labels have to follow.
size_t ParseDumpedHeader(std::string_view text, Record& record) {
    if (text.empty() || !(IsDigit(text[0]) || text[0] == '@' || text[0] == '-')) {
        return 0;
    }
    const size_t stamp = StampLength(text);
    if (stamp == 0 || !StartsWith(text.substr(stamp), ", ")) {
        return 0;
    }
    const size_t detail = ParseHeader(text, kDumpedDetailLabel, record);
    return record.operation.find('\n') == std::string_view::npos ? detail : 0;
}

// Nothing but what the piece itself tells.
void Clear(const Piece& piece, Record& record) {
    const LogFileName* const origin = record.origin;
    record = Record();
    record.origin = origin;
    record.torn = piece.kind == PieceKind::Torn;
    record.bytes = piece.bytes;
    record.offset = piece.offset;
}

}  // namespace

bool ParseRecord(const Piece& piece, Record& record) {
    // A whole frame fills in every field.
    if (piece.kind == PieceKind::Frame) {
        record.torn = false;
        record.bytes = piece.bytes;
        record.offset = piece.offset;
        if (ParseFrame(piece, record)) {
            return true;
        }
    }
    Clear(piece, record);
    if (piece.kind == PieceKind::Short) {
        return ParseShort(piece, record);
    }
    return record.torn &&
           (piece.bytes.front() == '<' ? ParseFrame(piece, record) : ParseShort(piece, record));
}

bool ParseDumped(std::string_view bytes, Record& record) {
    const LogFileName* const origin = record.origin;
    record = Record();
    record.origin = origin;
    const size_t detail = ParseHeader(bytes, kDumpedDetailLabel, record);
    if (detail == 0) {
        return false;
    }
    record.kind = RecordKind::Dumped;
    record.bytes = bytes;
    record.text = WithoutNewline(bytes);
    record.detail = record.text.size() < detail ? std::string_view() : record.text.substr(detail);
    return true;
}

DumpedRecords::DumpedRecords(const Piece& piece, const Record& dump)
    : number_(dump.number), origin_(dump.origin) {
    if (dump.kind != RecordKind::Dump) {
        return;
    }
    const std::string_view content = FrameContent(piece);
    const char* const end = dump.text.data() + dump.text.size() + 1;
    rest_ = content.substr(static_cast<size_t>(end - content.data()) + kDumpBegin.size());
    if (EndsWith(rest_, kDumpEnd)) {
        rest_.remove_suffix(kDumpEnd.size());
    } else {
        torn_ = true;
    }
    offset_ = piece.offset + static_cast<uint64_t>(rest_.data() - piece.bytes.data());
    nextDetail_ = ParseHeader(rest_, kDumpedDetailLabel, next_);
}

bool DumpedRecords::Next(Record& record) {
    const size_t detail = nextDetail_;
    if (detail == 0) {
        return false;
    }
    record = next_;
    nextDetail_ = 0;
    size_t end = rest_.find('\n', detail);
    while (end != std::string_view::npos && nextDetail_ == 0) {
        nextDetail_ = ParseDumpedHeader(rest_.substr(end + 1), next_);
        end = nextDetail_ != 0 ? end : rest_.find('\n', end + 1);
    }
    end = end == std::string_view::npos ? rest_.size() : end + 1;
    record.kind = RecordKind::Dumped;
    record.number = number_;
    record.origin = origin_;
    record.bytes = rest_.substr(0, end);
    record.offset = offset_;
    record.text = WithoutNewline(record.bytes);
    record.detail = record.text.size() < detail ? std::string_view() : record.text.substr(detail);
    rest_.remove_prefix(end);
    offset_ += end;
    record.torn = torn_ && rest_.empty();
    return true;
}

}  // namespace NS_LOG_READER
