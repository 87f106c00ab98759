// How many records a channel has written into which file.
#pragma once

#include <cstdint>
#include <deque>

#include "channel/filestream.h"

namespace NS_LOG_SERVICE1 {

struct RecordCounts {
    uint64_t written = 0;
    uint64_t dumped = 0;
};

// The files that the channel has left, so that their records can be counted when a name comes round
// and the file is emptied or continued. Names come round within their second, when the clock is set
// back, and in the hour that local time repeats each autumn. The newest files are remembered,
// enough for one in each second of that hour.
//
// Thread safety: none; the owner's lock guards it.
class WrittenFiles {
  public:
    // Remembers the file. Forgets the oldest one when there are too many.
    void Add(const FileIdentity& file, const RecordCounts& records);

    // Returns the records of the file and forgets it. None for a file that is not remembered.
    RecordCounts Take(const FileIdentity& file);

  private:
    struct Entry {
        FileIdentity file;
        RecordCounts records;
    };
    std::deque<Entry> files_;
};

}  // namespace NS_LOG_SERVICE1
