// Reads made-up log files in every way. The pieces give the file back byte by byte, whatever the
// size of what is read at once. A literal is found in no piece that is said not to hold it. Nothing
// is read beyond the input.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "format/recordparser.h"
#include "input/boundary.h"
#include "input/piecescanner.h"

namespace {

using namespace NS_LOG_READER;

// An allocation of exactly the text, so that the sanitizer sees every step beyond it.
class Input final : public ByteSource {
  public:
    Input(const std::uint8_t* data, std::size_t size, std::size_t step)
        : data_(data), size_(size), step_(step) {}

    size_t Read(char* bytes, size_t size) override {
        const size_t count = std::min({size, step_, size_ - std::min(at_, size_)});
        if (count > 0) {
            std::memcpy(bytes, data_ + at_, count);
        }
        at_ += count;
        return count;
    }
    void Seek(uint64_t offset) override { at_ = offset; }
    uint64_t Size() const override { return size_; }
    bool IsPlain() const override { return true; }

  private:
    const std::uint8_t* data_;
    size_t size_;
    size_t step_;
    size_t at_ = 0;
};

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

void RequireInside(std::string_view part, std::string_view whole) {
    Require(part.empty() || (part.data() >= whole.data() &&
                             part.data() + part.size() <= whole.data() + whole.size()),
            "a field lies outside of its record");
}

// Everything that a record says, in one text.
std::string Describe(const Record& record, const Piece& piece) {
    std::string text = std::to_string(record.offset) + " " + std::to_string(record.level) + " " +
                       std::to_string(record.number) + " " + std::to_string(record.line);
    for (const std::string_view field :
         {record.stamp, record.operation, record.interface, record.user, record.file,
          record.function, record.detail, record.text, record.bytes}) {
        RequireInside(field, piece.bytes);
        text += "|" + std::string(field);
    }
    return text + "\n";
}

std::string ReadAll(Input& input, bool checksBytes, const std::string& whole) {
    const LiteralFinder finder("DL:0");
    PieceScanner scanner(input);
    scanner.LookFor(&finder, false);
    Piece piece;
    Record record;
    std::string bytes;
    std::string records;
    while (scanner.Next(piece)) {
        Require(!piece.bytes.empty(), "an empty piece");
        Require(piece.offset == bytes.size(), "pieces with a gap between them");
        Require(piece.mayMatch || piece.bytes.find("DL:0") == std::string_view::npos,
                "a piece holds the literal all the same");
        bytes += piece.bytes;
        if (piece.kind != PieceKind::Garbage) {
            records += std::to_string(static_cast<int>(piece.kind)) + " ";
        }
        if (!ParseRecord(piece, record)) {
            continue;
        }
        records += Describe(record, piece);
        DumpedRecords dumped(piece, record);
        while (dumped.Next(record)) {
            records += Describe(record, piece);
        }
    }
    Require(!checksBytes || bytes == whole, "the pieces are not the file");
    return records;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string whole(reinterpret_cast<const char*>(data), size);
    Input atOnce(data, size, size + 1);
    const std::string records = ReadAll(atOnce, true, whole);
    Input inSteps(data, size, 97);
    Require(ReadAll(inSteps, true, whole) == records, "small steps give other records");

    PieceScanner growing(atOnce);
    growing.ExpectGrowth();
    Piece piece;
    while (growing.Next(piece)) {
    }
    FindTime(atOnce, 1772716029000000);
    FindBoundary(atOnce, size / 2, size);
    return 0;
}
