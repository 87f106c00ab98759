// Finds the last record of a log file.
#pragma once

#include <cstdint>
#include <string>

namespace NS_REFERENCE_HOST {

// A record as it is in the file. A value.
struct LastRecord {
    std::string begin;          // all of it, or its first bytes when it is a long one
    std::string end;            // its last bytes when it is a long one
    std::uint64_t leftOut = 0;  // how many bytes stand between the two
};

// Searches the file at `path` from its end, so the time depends on the record's length only. For a
// record that is longer than 256 MiB, returns its last line. Returns empty texts when the file has
// no record. Throws std::system_error when it cannot be read.
LastRecord FindLastRecord(const std::string& path);

}  // namespace NS_REFERENCE_HOST
