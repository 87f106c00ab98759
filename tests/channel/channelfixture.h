// What the tests of log files and channels have in common: a clock that stands still, records
// whose texts are known, and what they must look like in a file.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "channel/systemcalls.h"
#include "record/comparerecords.h"
#include "record/keptrecords.h"
#include "record/recordqueue.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/logfileparser.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

// A record that shows `detail`; everything else is as frames below say.
inline OwnedRecord WithDetail(int32_t level, const std::string& detail) {
    OwnedRecord record;
    record.level = level;
    record.detail = detail;
    return record;
}

// What such a record is in a file.
inline std::string Frame(uint64_t number, int level, const std::string& detail) {
    const std::string n = std::to_string(number);
    return "<" + n +
           ">\n2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:" +
           std::to_string(level) + ", File: ne.cpp Func:GetNe Line:77\n Detail: " + detail +
           "\n</" + n + ">\n\n";
}

// What it is inside a dump.
inline std::string DumpedFrame(int level, const std::string& detail) {
    return "2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:" +
           std::to_string(level) + ", File: ne.cpp Func:GetNe Line:77\n Detail : " + detail + "\n";
}

// A dump of such a trigger around the frames in `dumped`.
inline std::string DumpFrame(uint64_t number, int level, const std::string& detail,
                             const std::string& dumped) {
    const std::string n = std::to_string(number);
    return "<" + n +
           ">\n2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:" +
           std::to_string(level) + ", File: ne.cpp Func:GetNe Line:77\n Detail: " + detail +
           "\n*********** Dump filtered debug information begin **********\n" + dumped +
           "*********** Dump filtered debug information end **********\n</" + n + ">\n\n";
}

// The first and the last line of a file while the clock of the fixture stands still.
static const char* const kCreated = "File create at 2024-03-05T14:07:09.654321+00:00.\n";
static const char* const kClosed = "\nFile close at 2024-03-05T14:07:09.654321+00:00.\n";

// The same at another time of that day.
inline std::string CreatedAt(const std::string& time) {
    return "File create at 2024-03-05T" + time + ".654321+00:00.\n";
}
inline std::string ClosedAt(const std::string& time) {
    return "\nFile close at 2024-03-05T" + time + ".654321+00:00.\n";
}

// Appends a copy of the record, and a chunk for it where there is no room.
inline void AppendTo(NS_LOG_SERVICE1::RecordQueue& queue, const OwnedRecord& record) {
    const size_t size = NS_LOG_SERVICE1::PackedSize(record.Get());
    if (!queue.HasRoomFor(size)) {
        auto chunk = NS_LOG_SERVICE1::RecordQueue::MakeChunk(size);
        queue.AddChunk(chunk);
    }
    queue.Append(record.Get());
}

// The value in the line of /proc/self/status that begins with `key`; read without touching the
// creation mask, which could only be read by changing it.
inline std::string ProcessStatus(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, key.size() + 2, key + ":\t") == 0) {
            return line.substr(key.size() + 2);
        }
    }
    return "";
}

// A fresh directory, local time in UTC, and the clock standing at 14:07:09.654321 on 5 March 2024.
class ChannelTest : public DirectoryTest {
  protected:
    static constexpr int64_t kNow = 1709647629;

    ChannelTest() : zone_(UTC), share_("_APP_SHARE_DIR", Path()) {
        Calls().Reset();
        Calls().SetClock(kNow, 654321, 0);
    }
    ~ChannelTest() override { Calls().Reset(); }

    static SystemCalls& Calls() { return SystemCalls::Instance(); }

    // From now on each file begins a second after the one before, which ends in that second too.
    static void LetFilesDiffer() { Calls().SetClock(kNow, 654321, 1); }

    // The name that a file of this prefix has when it was created at `stamp`.
    static std::string NameAt(const std::string& stamp, const std::string& prefix = "unbi_debug_") {
        return prefix + stamp + "_" + std::to_string(getpid()) + ".log";
    }
    static std::string NameNow(const std::string& prefix = "unbi_debug_") {
        return NameAt("20240305_140709", prefix);
    }

    // What the files of the directory hold, in the order of their names.
    static std::vector<std::string> Contents(const std::string& directory) {
        std::vector<std::string> contents;
        for (const std::string& name : ListFiles(directory)) {
            contents.push_back(ReadFile(directory + "/" + name));
        }
        return contents;
    }

  private:
    ScopedTimeZone zone_;
    ScopedVariable share_;
};

}  // namespace NS_TEST
