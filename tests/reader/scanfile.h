// Splits texts the way files are split.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "format/recordparser.h"
#include "input/bytesource.h"
#include "input/piecescanner.h"

namespace NS_TEST {

// A text as a file that hands out at most `step` bytes at a time.
class TextSource final : public NS_LOG_READER::ByteSource {
  public:
    explicit TextSource(std::string text, size_t step = 1 << 20)
        : text_(std::move(text)), step_(step) {}

    size_t Read(char* bytes, size_t size) override {
        const size_t count = std::min({size, step_, text_.size() - std::min(at_, text_.size())});
        std::memcpy(bytes, text_.data() + at_, count);
        at_ += count;
        return count;
    }
    void Seek(uint64_t offset) override { at_ = offset; }
    uint64_t Size() const override { return text_.size(); }
    bool IsPlain() const override { return true; }
    void Append(const std::string& text) { text_ += text; }

  private:
    std::string text_;
    size_t step_;
    size_t at_ = 0;
};

// A letter for each piece: F frame, S short, c created, x closed, T torn, G garbage.
inline std::string PieceLetters(const std::string& text, size_t step = 1 << 20) {
    TextSource source(text, step);
    NS_LOG_READER::PieceScanner scanner(source);
    NS_LOG_READER::Piece piece;
    std::string letters;
    std::string bytes;
    while (scanner.Next(piece)) {
        letters += "FScxTG"[static_cast<size_t>(piece.kind)];
        bytes += piece.bytes;
    }
    return bytes == text ? letters : letters + " and bytes are missing";
}

// All records' details, with their kind's first letter, and "!" for torn ones.
inline std::vector<std::string> RecordDetails(const std::string& text) {
    using namespace NS_LOG_READER;
    TextSource source(text);
    PieceScanner scanner(source);
    Piece piece;
    Record record;
    std::vector<std::string> details;
    const auto add = [&](const char* prefix, const Record& found) {
        details.push_back(prefix + std::string(found.torn ? "!" : "") + std::string(found.detail));
    };
    while (scanner.Next(piece)) {
        if (!ParseRecord(piece, record)) {
            continue;
        }
        add(record.kind == RecordKind::Dump    ? "dump:"
            : record.kind == RecordKind::Short ? "short:"
                                               : "",
            record);
        DumpedRecords dumped(piece, record);
        while (dumped.Next(record)) {
            add("  ", record);
        }
    }
    return details;
}

}  // namespace NS_TEST
