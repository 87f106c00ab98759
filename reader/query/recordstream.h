// Records one after the other.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "format/record.h"

namespace NS_LOG_READER {

// A record with its place among the others.
struct Found {
    Record record;
    Time order = 0;        // its time, or that of the dump in which it stands
    bool isHit = true;     // false: context of a hit
    uint64_t ordinal = 0;  // within its series; what follows each other has consecutive ones
    size_t series = 0;
};

// Thread safety: none.
class RecordStream {
  public:
    virtual ~RecordStream() = default;

    // The next record, good until the next call. False: the end.
    virtual bool Next(Found& found) = 0;

    // Nothing that comes is older (with a stream of the newest first: newer) than this, as far as
    // is known before the first record.
    virtual Time FirstTime() const = 0;
};

// What was wrong with a file; told once it is seen.
class ProblemListener {
  public:
    virtual ~ProblemListener() = default;

    // `offset` is where in the file; negative: the whole of it.
    virtual void Report(const std::string& path, int64_t offset, const std::string& text) = 0;

    // A file was emptied: what is told of it from here on concerns other contents.
    virtual void NoteEmptied(const std::string&) {}

    // A file could not be read to its end; `reason` names it. `offset` is how far its contents were
    // read.
    virtual void ReportUnread(const std::string& reason, uint64_t offset) = 0;

    // So many bytes more have been read.
    virtual void NoteRead(uint64_t) {}
};

// A record that owns its texts.
class KeptRecord {
  public:
    explicit KeptRecord(const Found& found);
    KeptRecord(KeptRecord&&) noexcept = default;
    KeptRecord& operator=(KeptRecord&&) noexcept = default;

    Found& Get() { return found_; }
    const Found& Get() const { return found_; }

  private:
    std::unique_ptr<char[]> bytes_;
    Found found_;
};

}  // namespace NS_LOG_READER
