#include "input/piecescanner.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "format/fixedtext.h"
#include "format/framing.h"
#include "format/stamp.h"

namespace NS_LOG_READER {
namespace {

constexpr size_t kNowhere = std::string_view::npos;

// "</4294967295>\n\n"
constexpr size_t kClosingTagSize = 15;

// Splitting what is nearer costs less than finding a place to go on at.
constexpr size_t kShortestLeap = 4096;

// A frame in whose text so many others end is taken for torn: no detail quotes that many.
constexpr int kMostForeignEnds = 4096;

// So are fewer of them in so large a text.
constexpr int kManyForeignEnds = 16;
constexpr size_t kManyBytes = size_t{8} << 20;

// The length of "</N>\n\n" at the beginning of the text, of any number; 0: there is none.
size_t ClosingTagLength(std::string_view text) {
    if (!StartsWith(text, "</")) {
        return 0;
    }
    size_t at = 2;
    while (at < text.size() && IsDigit(text[at])) {
        ++at;
    }
    return at > 2 && StartsWith(text.substr(at), ">\n\n") ? at + 3 : 0;
}

bool ClosesNumber(std::string_view closingTag, std::string_view digits) {
    // A few characters: a call of the C library would take longer.
    return closingTag.size() == digits.size() + 5 &&
           std::equal(digits.begin(), digits.end(), closingTag.begin() + 2);
}

// Where a line about the file itself begins, at the newline or right after it; kNowhere: none does.
// Unlike a time stamp, such a line cannot stand inside the first lines of a frame.
size_t MarkAtNewline(std::string_view text, size_t newline) {
    if (StartsWith(text.substr(newline), kFileClosed)) {
        return newline;
    }
    return StartsWith(text.substr(newline + 1), kFileCreated) ? newline + 1 : kNowhere;
}

}  // namespace

PieceScanner::PieceScanner(ByteSource& source, uint64_t offset)
    : source_(source), buffer_(new char[kBlockSize]), base_(offset) {
    source_.Seek(offset);
}

void PieceScanner::Grow() {
    std::unique_ptr<char[]> grown(new char[2 * capacity_]);
    std::memcpy(grown.get(), buffer_.get(), end_);
    buffer_ = std::move(grown);
    capacity_ *= 2;
}

// Reads more after what is there. False: the file has ended.
bool PieceScanner::Fill() {
    if (begin_ > 0) {
        std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
        base_ += begin_;
        end_ -= begin_;
        begin_ = 0;
        hitIsKnown_ = false;
    }
    if (end_ == capacity_) {
        Grow();
    }
    size_t size = 0;
    try {
        size = error_.empty() ? source_.Read(buffer_.get() + end_, capacity_ - end_) : 0;
    } catch (const ReadError& error) {
        error_ = error.what();
    }
    atEnd_ = size == 0;
    hitIsKnown_ = hitIsKnown_ && hit_ < end_;
    end_ += size;
    return !atEnd_;
}

// Makes sure that `size` bytes of the rest are there, if the file has them.
bool PieceScanner::FillTo(size_t size) {
    while (end_ - begin_ < size) {
        if (atEnd_ || !Fill()) {
            return false;
        }
    }
    return true;
}

// Finds the literal's next place.
void PieceScanner::FindHit() {
    if (!hitIsKnown_ || hit_ < begin_) {
        const char* const found = finder_->Find(buffer_.get() + begin_, buffer_.get() + end_);
        hit_ = found == nullptr ? end_ : static_cast<size_t>(found - buffer_.get());
        hitIsKnown_ = true;
    }
}

bool PieceScanner::MayMatch(size_t length) {
    if (finder_ == nullptr) {
        return true;
    }
    FindHit();
    return hit_ < begin_ + length;
}

// Goes on at the frame around the literal's next place, or at the last one that is there.
void PieceScanner::Leap() {
    FindHit();
    if (hit_ - begin_ < kShortestLeap) {
        return;
    }
    const size_t place = FindLastFrameBoundary({buffer_.get(), end_}, begin_ + 1, hit_);
    begin_ = place == kNowhere ? begin_ : place;
}

bool PieceScanner::Take(PieceKind kind, size_t length, Piece& piece) {
    piece.kind = kind;
    piece.mayMatch = MayMatch(length);
    piece.offset = Offset();
    piece.bytes = Rest().substr(0, length);
    begin_ += length;
    return true;
}

bool PieceScanner::Next(Piece& piece) {
    if (mayGrow_) {
        atEnd_ = false;
    }
    FillTo(kPieceStartSize);
    if (leaps_) {
        Leap();
        FillTo(kPieceStartSize);
    }
    const std::string_view rest = Rest();
    if (rest.empty()) {
        return false;
    }
    piece.number = 0;
    std::string_view digits;
    switch (rest[0]) {
        case '<':
            if ((Offset() == sureFrame_ || BeginsFrame(rest)) &&
                OpeningTagLength(rest, digits) != 0) {
                return TakeFrame(digits, piece);
            }
            break;
        case '\n':
            if (StartsWith(rest, kFileClosed)) {
                return TakeMark(PieceKind::Closed, kFileClosed.size(), piece);
            }
            break;
        case 'F':
            if (StartsWith(rest, kFileCreated)) {
                return TakeMark(PieceKind::Created, kFileCreated.size(), piece);
            }
            break;
        default:
            if (BeginsPiece(rest, false) && rest[0] != '\0') {
                return TakeShort(piece);
            }
    }
    return atEnd_ && BeginsPiece(rest, true) && rest[0] != '\0' ? TakeTorn(piece)
                                                                : TakeGarbage(piece);
}

// The next '<' at `at` or after it that can be judged: what follows it is there, or the file has
// ended. kNowhere: there is none.
size_t PieceScanner::NextTag(size_t at) {
    for (;;) {
        const std::string_view rest = Rest();
        const size_t tag = FindCharacter(rest, '<', at);
        const bool isWhole =
            tag != kNowhere && rest.size() - tag >= kClosingTagSize + kPieceStartSize;
        if (isWhole || atEnd_) {
            return tag;
        }
        at = tag == kNowhere ? std::max(at, rest.size()) : tag;
        Fill();
    }
}

PieceScanner::FrameEnd PieceScanner::FindFrameEnd(std::string_view digitsInBuffer) {
    const std::string digits(digitsInBuffer);
    FrameEnd result;
    if (noMoreEnds_) {
        return result;
    }
    int foreignEnds = 0;
    for (size_t tag = NextTag(digits.size() + kPieceStartSize / 2); tag != kNowhere;
         tag = NextTag(tag + 1)) {
        const std::string_view rest = Rest();
        const size_t length = rest[tag - 1] == '\n' ? ClosingTagLength(rest.substr(tag)) : 0;
        if (length == 0) {
            continue;
        }
        const bool isOwn = ClosesNumber(rest.substr(tag, length), digits);
        const bool isCertain = BeginsPiece(rest.substr(tag + length), atEnd_);
        if (isOwn && isCertain && !atEnd_ && rest[tag + length] == '<') {
            sureFrame_ = Offset() + tag + length;
        }
        if (isOwn && (isCertain || result.length == 0)) {
            result.length = tag + length;
            result.certain = isCertain ? result.length : 0;
        }
        foreignEnds += isOwn ? 0 : 1;
        const bool isTorn =
            foreignEnds > kMostForeignEnds || (foreignEnds > kManyForeignEnds && tag > kManyBytes);
        if (isOwn ? isCertain : isTorn) {
            return result;
        }
    }
    // Frames that are torn one after the other are not searched to the end each.
    noMoreEnds_ = !mayGrow_ && foreignEnds == 0 && result.length == 0;
    return result;
}

// Where the next piece begins after bytes that belong to no whole one; the end of what is there
// when none does. After the opening of a torn frame a time stamp does not tell a short record:
// dumps are full of them.
size_t PieceScanner::FindNextPiece(bool afterTornFrame) {
    const std::string_view rest = Rest();
    const size_t afterZeros = rest.find_first_not_of('\0');
    if (!afterTornFrame && afterZeros != 0 && afterZeros != kNowhere &&
        BeginsPiece(rest.substr(afterZeros), false)) {
        return afterZeros;
    }
    size_t newline = FindCharacter(rest, '\n', 0);
    size_t tag = FindCharacter(rest, '<', 1);
    for (;;) {
        while (tag < newline && tag != kNowhere) {
            if (BeginsFrame(rest.substr(tag))) {
                return tag;
            }
            tag = FindCharacter(rest, '<', tag + 1);
        }
        if (newline == kNowhere) {
            return rest.size();
        }
        const size_t mark = newline == 0 ? kNowhere : MarkAtNewline(rest, newline);
        if (mark != kNowhere) {
            return mark;
        }
        const std::string_view line = rest.substr(newline + 1);
        if (!afterTornFrame && !line.empty() && line[0] != '\0' && BeginsPiece(line, false)) {
            return newline + 1;
        }
        newline = FindCharacter(rest, '\n', newline + 1);
    }
}

bool PieceScanner::TakeFrame(std::string_view digits, Piece& piece) {
    std::from_chars(digits.data(), digits.data() + digits.size(), piece.number);
    const FrameEnd end = FindFrameEnd(digits);
    if (end.certain != 0) {
        return Take(PieceKind::Frame, end.length, piece);
    }
    const size_t next = FindNextPiece(true);
    if (end.length != 0 && end.length <= next) {
        return Take(PieceKind::Frame, end.length, piece);
    }
    if (mayGrow_ && next == Rest().size()) {
        return false;
    }
    return Take(PieceKind::Torn, next, piece);
}

bool PieceScanner::TakeTorn(Piece& piece) {
    return !mayGrow_ && Take(PieceKind::Torn, Rest().size(), piece);
}

// The end of the line that `from` stands in, with its newline; kNowhere: it has none.
size_t PieceScanner::LineEnd(size_t from) {
    for (;;) {
        const std::string_view rest = Rest();
        const size_t newline = FindCharacter(rest, '\n', from);
        if (newline != kNowhere) {
            return newline + 1;
        }
        from = rest.size();
        if (atEnd_ || !Fill()) {
            return kNowhere;
        }
    }
}

bool PieceScanner::TakeShort(Piece& piece) {
    size_t end = LineEnd(0);
    while (end != kNowhere) {
        FillTo(end + kPieceStartSize);
        if (BeginsPiece(Rest().substr(end), atEnd_)) {
            return Take(PieceKind::Short, end, piece);
        }
        end = LineEnd(end);
    }
    return TakeTorn(piece);
}

bool PieceScanner::TakeMark(PieceKind kind, size_t labelSize, Piece& piece) {
    const size_t end = LineEnd(labelSize);
    if (end == kNowhere) {
        return TakeTorn(piece);
    }
    const std::string_view stamp = Rest().substr(labelSize, end - labelSize);
    const size_t length = StampLength(stamp);
    return length != 0 && stamp.substr(length) == ".\n" ? Take(kind, end, piece)
                                                        : TakeGarbage(piece);
}

bool PieceScanner::TakeGarbage(Piece& piece) {
    size_t next = FindNextPiece(false);
    // What begins near the end of what is there may turn out to be something else.
    while (!atEnd_ && next + kPieceStartSize > Rest().size() &&
           (next < Rest().size() || next < kBlockSize)) {
        Fill();
        next = FindNextPiece(false);
    }
    if (next < Rest().size()) {
        return Take(PieceKind::Garbage, next, piece);
    }
    if (atEnd_) {
        return !mayGrow_ && Take(PieceKind::Garbage, next, piece);
    }
    // A piece may begin in the last bytes; the rest is given up block by block.
    const size_t size = next > kPieceStartSize ? next - kPieceStartSize : next;
    return Take(PieceKind::Garbage, size, piece);
}

}  // namespace NS_LOG_READER
