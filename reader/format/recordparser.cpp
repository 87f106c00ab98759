#include "format/recordparser.h"

#include <charconv>
#include <cstring>

#include "format/framing.h"

namespace NS_LOG_READER {
namespace {

constexpr std::string_view kDetailLabel = "\n Detail: ";
constexpr std::string_view kDumpedDetailLabel = "\n Detail : ";
constexpr std::string_view kFlushallDetail =
    "The follow message was dump by maintenance command flushall.";

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The labels are short and their first characters rare, so that looking for these is quicker than a
// search that prepares itself.
size_t Find(std::string_view text, std::string_view wanted, size_t from = 0) {
    for (size_t at = from; at < text.size(); ++at) {
        at = text.find(wanted[0], at);
        if (at == std::string_view::npos || text.compare(at, wanted.size(), wanted) == 0) {
            return at;
        }
    }
    return std::string_view::npos;
}

size_t FindLast(std::string_view text, std::string_view wanted) {
    while (!text.empty()) {
        const void* const found = memrchr(text.data(), wanted[0], text.size());
        if (found == nullptr) {
            break;
        }
        const auto at = static_cast<size_t>(static_cast<const char*>(found) - text.data());
        if (text.compare(at, wanted.size(), wanted) == 0) {
            return at;
        }
        text = text.substr(0, at);
    }
    return std::string_view::npos;
}

// Takes a number and the label before it off the end of the text.
template <class Number>
bool TakeNumberFromEnd(std::string_view& text, std::string_view label, Number& number) {
    size_t at = text.size();
    while (at > 0 && IsDigit(text[at - 1])) {
        --at;
    }
    if (at > 0 && text[at - 1] == '-') {
        --at;
    }
    const auto result = std::from_chars(text.data() + at, text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() ||
        !EndsWith(text.substr(0, at), label)) {
        return false;
    }
    text.remove_suffix(text.size() - at + label.size());
    return true;
}

// ", T:<thread>, DL:<level>" before the last ", File: " that has them: users may write anything
// into the fields on the left, the fields on the right come from the source code.
bool TakeSource(std::string_view& header, Record& record) {
    constexpr std::string_view fileLabel = ", File: ";
    constexpr std::string_view functionLabel = " Func:";
    size_t end = header.size();
    for (;;) {
        const size_t at = FindLast(header.substr(0, end), fileLabel);
        if (at == std::string_view::npos) {
            return false;
        }
        std::string_view before = header.substr(0, at);
        const std::string_view source = header.substr(at + fileLabel.size());
        const size_t function = source.find(functionLabel);
        if (function != std::string_view::npos &&
            TakeNumberFromEnd(before, ", DL:", record.level) &&
            TakeNumberFromEnd(before, ", T:", record.thread)) {
            record.file = source.substr(0, function);
            record.function = source.substr(function + functionLabel.size());
            header = before;
            return true;
        }
        end = at;
    }
}

// "<operation>,TopT:<number>,If:<interface>,UserMsg:<user>"
bool ParseContext(std::string_view context, Record& record) {
    constexpr std::string_view threadLabel = ",TopT:";
    constexpr std::string_view interfaceLabel = ",If:";
    constexpr std::string_view userLabel = ",UserMsg:";
    const size_t thread = Find(context, threadLabel);
    const size_t interface = Find(context, interfaceLabel, thread);
    const size_t user = Find(context, userLabel, interface);
    if (user == std::string_view::npos) {
        return false;
    }
    record.operation = context.substr(0, thread);
    std::from_chars(context.data() + thread + threadLabel.size(), context.data() + interface,
                    record.operationThread);
    record.interface =
        context.substr(interface + interfaceLabel.size(), user - interface - interfaceLabel.size());
    record.user = context.substr(user + userLabel.size());
    return true;
}

// Parses everything before the detail. Returns where the detail begins in `text`; 0: it is no
// header.
size_t ParseHeader(std::string_view text, std::string_view detailLabel, Record& record) {
    const size_t stamp = ParseStamp(text, record.time);
    if (stamp == 0 || text.compare(stamp, 2, ", ") != 0) {
        return 0;
    }
    // A user's text with a newline leaves the label on a later line.
    for (size_t end = Find(text, detailLabel, stamp); end != std::string_view::npos;
         end = Find(text, detailLabel, end + 1)) {
        std::string_view header = text.substr(0, end);
        if (!TakeNumberFromEnd(header, " Line:", record.line)) {
            continue;
        }
        if (!TakeSource(header, record) || header.size() < stamp + 2 ||
            !ParseContext(header.substr(stamp + 2), record)) {
            return 0;
        }
        record.stamp = text.substr(0, stamp);
        return end + detailLabel.size();
    }
    return 0;
}

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
    const bool canBeDump =
        record.level == 0 || content.compare(detail, kFlushallDetail.size(), kFlushallDetail) == 0;
    if (!canBeDump || (!record.torn && !EndsWith(content, kDumpEnd))) {
        return std::string_view::npos;
    }
    for (size_t at = Find(content, kDumpBegin, detail); at != std::string_view::npos;
         at = Find(content, kDumpBegin, at + 1)) {
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
    if (stamp == 0 || text.compare(stamp, 2, ", ") != 0) {
        return 0;
    }
    const size_t detail = ParseHeader(text, kDumpedDetailLabel, record);
    return record.operation.find('\n') == std::string_view::npos ? detail : 0;
}

}  // namespace

bool ParseRecord(const Piece& piece, Record& record) {
    const LogFileName* const origin = record.origin;
    record = Record();
    record.origin = origin;
    record.torn = piece.kind == PieceKind::Torn;
    record.bytes = piece.bytes;
    record.offset = piece.offset;
    switch (piece.kind) {
        case PieceKind::Frame:
            return ParseFrame(piece, record);
        case PieceKind::Short:
            return ParseShort(piece, record);
        case PieceKind::Torn:
            return piece.bytes.front() == '<' ? ParseFrame(piece, record)
                                              : ParseShort(piece, record);
        default:
            return false;
    }
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
