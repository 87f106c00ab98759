// The selected records of one series, in the order in which they stand in its files.
#pragma once

#include <memory>
#include <optional>

#include "format/recordparser.h"
#include "input/bytesource.h"
#include "input/piecescanner.h"
#include "query/recordstream.h"
#include "query/selection.h"

namespace NS_LOG_READER {

// How a stream reads.
struct StreamOptions {
    bool withContext = false;  // what does not match comes too, marked
    size_t before = 0;         // of which so many records are shown around hits
    size_t after = 0;
    size_t among = 1;        // so many series are read at once
    bool withMarks = false;  // the lines about creation and end come as well, as `bytes` only
};

class SeriesStream final : public RecordStream {
  public:
    // All arguments outlive the stream. No file is opened yet.
    SeriesStream(const Series& series, size_t index, const Matcher& matcher, StreamOptions options,
                 ProblemListener& problems);

    bool Next(Found& found) override;
    Time FirstTime() const override;

  private:
    bool OpenNextFile();
    void CloseFile();
    bool NextPiece();
    bool IsOutOfRange(size_t file) const;
    bool NextDumped(Record& record);
    bool Judge(Found& found);
    void ReportTorn();

    const Series& series_;
    const size_t index_;
    const Matcher& matcher_;
    const StreamOptions options_;
    ProblemListener& problems_;
    size_t file_ = 0;     // the next one to open
    uint64_t noted_ = 0;  // how far the file was told to be read
    uint64_t ordinal_ = 0;
    std::unique_ptr<ByteSource> source_;
    std::optional<PieceScanner> scanner_;
    uint64_t stopAt_ = 0;  // no piece from here on
    Piece piece_;
    Time lastTime_ = 0;  // of the piece before: marks and garbage come after it
    std::optional<DumpedRecords> dumped_;
    const char* dumpedHit_ = nullptr;  // where the literal stands next in the dump
};

// The text for a torn piece or for garbage; empty: the piece is whole.
std::string DescribeProblem(const Piece& piece);

}  // namespace NS_LOG_READER
