// The selected records of one series, the last one first.
#pragma once

#include <memory>
#include <vector>

#include "input/bytesource.h"
#include "query/recordstream.h"
#include "query/selection.h"
#include "query/seriesstream.h"

namespace NS_LOG_READER {

// Reads each file segment by segment from its end. Compressed files are unpacked into an unnamed
// temporary file first.
class ReverseStream final : public RecordStream {
  public:
    // All arguments outlive the stream.
    ReverseStream(const Series& series, size_t index, const Matcher& matcher, StreamOptions options,
                  ProblemListener& problems);

    bool Next(Found& found) override;
    Time FirstTime() const override;

  private:
    bool OpenPreviousFile();
    void ReadSegment();
    void KeepPiece(const Piece& piece, Found& found);
    void Keep(Found& found);

    const Series& series_;
    const size_t index_;
    const Matcher& matcher_;
    const StreamOptions options_;
    ProblemListener& problems_;
    const uint64_t segment_;
    size_t file_;  // the one that is open, or the one after the next
    std::unique_ptr<ByteSource> source_;
    uint64_t begin_ = 0;  // nothing before is wanted
    uint64_t end_ = 0;    // everything from here on is done
    uint64_t ordinal_ = 0;
    std::vector<KeptRecord> kept_;  // of the segment, the next one last
    bool hasGivenLast_ = false;
};

}  // namespace NS_LOG_READER
