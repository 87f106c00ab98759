// Checks a series for what is missing.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

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

// Reads all files of the series. Each record uses up a number, also a short one, which does not
// show it. A number that is neither shown nor used up by a short record belonged to a lost record.
Verification Verify(const Series& series);

// Whether the process exists. Of one in another container this cannot be told.
bool IsAlive(int64_t process);

}  // namespace NS_LOG_READER
