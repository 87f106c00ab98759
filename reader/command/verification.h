// Checks a series for what is missing.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "format/record.h"
#include "input/series.h"

namespace NS_LOG_READER {

// One thing that is wrong, or worth knowing.
struct Finding {
    std::string path;
    uint64_t offset = 0;
    std::string text;
    bool isProblem = true;
};

// What a series holds. `missing` are numbers that stand nowhere.
struct Verification {
    uint64_t frames = 0;
    uint64_t dumped = 0;
    uint64_t shortRecords = 0;
    uint64_t missing = 0;
    uint64_t torn = 0;
    uint64_t outOfOrder = 0;
    uint64_t bytes = 0;
    std::string firstStamp;
    std::string lastStamp;
    std::vector<Finding> findings;
    bool couldBeRead = true;

    uint64_t Problems() const;
};

// Checks the pieces of a series, file by file. Each record uses up a number, also a short one,
// which does not show it. A number that is neither shown nor used up by a short record belonged to
// a lost record.
//
// Thread safety: none.
class Verifier {
  public:
    // The next file, which lives as long as the verifier.
    void BeginFile(const LogFile& file);
    void Take(const Piece& piece);
    // `size`: of the file. `isWritten`: it has a right to have no end yet.
    void EndFile(uint64_t size, bool isWritten);

    // Something else about the file.
    void Note(uint64_t offset, const std::string& text, bool isProblem);
    void NoteUnreadable(uint64_t offset, const std::string& text);

    const Verification& Result() const { return result_; }

  private:
    void TakeRecord(const Piece& piece);
    void CheckOrder();
    void CheckNumber(const Piece& piece);
    std::string DescribeGap(uint32_t number, uint32_t missing) const;

    const LogFile* file_ = nullptr;
    Verification result_;
    Record record_;
    uint32_t expected_ = 1;
    PieceKind last_ = PieceKind::Garbage;
    bool isFirstFrame_ = true;  // of the file
    bool hasRecords_ = false;
    bool hasDisorder_ = false;
    Time lastTime_ = 0;
    Time closed_ = 0;
    Time created_ = 0;
};

// Reads all files of the series.
Verification VerifyFiles(const Series& series);

// Whether the process exists. Of one in another container this cannot be told.
bool IsAlive(int64_t process);

}  // namespace NS_LOG_READER
