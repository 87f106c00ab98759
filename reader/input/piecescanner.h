// Splits a log file into its pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "format/record.h"
#include "input/bytesource.h"
#include "input/literalfinder.h"

namespace NS_LOG_READER {

// A frame ends at the first "</N>" with its own number and a blank line. What can begin a piece, or
// the end of the file, must follow: details may hold tags of their own. A frame without such an end
// is torn; the next piece is looked for after its opening. A line after a short record that
// begins no piece belongs to that record's text.
//
// Reads block by block, and needs the memory of one block, or of the largest piece.
//
// Thread safety: none.
class PieceScanner {
  public:
    static constexpr size_t kBlockSize = size_t{256} * 1024;

    // Begins at `offset`, where a piece begins. `source` outlives the scanner.
    explicit PieceScanner(ByteSource& source, uint64_t offset = 0);

    // Pieces that do not hold the literal are marked; `finder` outlives the scanner. `leaps`: most
    // of them are left out, and what is torn among them as well.
    void LookFor(const LiteralFinder* finder, bool leaps) {
        finder_ = finder;
        leaps_ = leaps && finder != nullptr;
    }

    // The file is being written: what has no end yet is waited for, and Next may be called again
    // after it has returned false.
    void ExpectGrowth() { mayGrow_ = true; }

    // The next piece, good until the next call. False: the end.
    bool Next(Piece& piece);

    // Why reading ended early; empty: it did not.
    const std::string& Error() const { return error_; }

    // Where the next piece begins.
    uint64_t Offset() const { return base_ + begin_; }

  private:
    struct FrameEnd {
        size_t length = 0;   // 0: none was found
        size_t certain = 0;  // the end is surely one; else the bytes after it belong to nothing
    };

    std::string_view Rest() const { return {buffer_.get() + begin_, end_ - begin_}; }
    bool Fill();
    bool FillTo(size_t size);
    void Grow();
    bool Take(PieceKind kind, size_t length, Piece& piece);
    void FindHit();
    bool MayMatch(size_t length);
    void Leap();
    size_t LineEnd(size_t from);
    size_t NextTag(size_t at);
    FrameEnd FindFrameEnd(std::string_view digits);
    size_t FindNextPiece(bool afterTornFrame);
    bool TakeFrame(std::string_view digits, Piece& piece);
    bool TakeTorn(Piece& piece);
    bool TakeShort(Piece& piece);
    bool TakeMark(PieceKind kind, size_t labelSize, Piece& piece);
    bool TakeGarbage(Piece& piece);

    ByteSource& source_;
    const LiteralFinder* finder_ = nullptr;
    std::unique_ptr<char[]> buffer_;
    size_t capacity_ = kBlockSize;
    size_t begin_ = 0;  // of what is not taken yet, in the buffer
    size_t end_ = 0;
    uint64_t base_;                    // where the buffer begins, in the file
    size_t hit_ = 0;                   // the literal's next place in the buffer, or its end
    bool hitIsKnown_ = false;          // hit_ holds from begin_ on
    uint64_t sureFrame_ = UINT64_MAX;  // where a frame was seen to begin, in the file
    bool leaps_ = false;
    bool atEnd_ = false;
    bool noMoreEnds_ = false;  // no frame ends in what was not taken yet
    bool mayGrow_ = false;
    std::string error_;
};

}  // namespace NS_LOG_READER
