// A clock that stands still, a log file and a channel, and what their records look like in a file.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "channel/channel.h"
#include "channel/logfile.h"
#include "channel/systemcalls.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/frames.h"
#include "support/logfileparser.h"
#include "support/records.h"
#include "support/temporarydirectory.h"
#include "util/threadcontext.h"

namespace NS_TEST {

using Fate = SystemCalls::Fate;

// The record of WithDetail as a file shows it.
inline ParsedRecord Shown(const std::string& detail, int level) {
    return {"2024-03-05T14:07:09.123456+00:00",
            "U,TopT:12,If:getNE,UserMsg:opr1",
            "4242",
            level,
            "ne.cpp",
            "GetNe",
            "77",
            detail};
}
inline std::string Frame(uint64_t number, const std::string& detail, int level = 1) {
    return FrameOf(number, Shown(detail, level));
}
inline std::string ShortFrame(const std::string& detail) {
    return "2024-03-05T14:07:09.123456+00:00," + detail + "\n";
}
inline std::string DumpedFrame(const std::string& detail, int level = 3) {
    return DumpedFrameOf(Shown(detail, level));
}
inline std::string DumpFrame(uint64_t number, const std::string& detail,
                             const std::string& dumped = "", int level = 0) {
    return DumpFrameOf(number, Shown(detail, level), dumped);
}

// The first and the last line of a file, so many seconds after the start of a test.
inline std::string StampAfter(int seconds) {
    return std::string("2024-03-05T14:07:") + (seconds == 0 ? "0" : "") +
           std::to_string(9 + seconds) + ".654321+00:00";
}
inline std::string Created(int seconds = 0) {
    return "File create at " + StampAfter(seconds) + ".\n";
}
inline std::string Closed(int seconds = 0) {
    return "\nFile close at " + StampAfter(seconds) + ".\n";
}
constexpr uint64_t kCreatedSize = 49;

// The creation mask of the process, read without touching it: it can only be asked for by changing
// it.
inline std::string CreationMaskNow() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("Umask:\t", 0) == 0) {
            return line.substr(7);
        }
    }
    return "";
}

// A fresh directory, in which the agent's log directory is "log", local time in UTC, and the clock
// standing at 14:07:09.654321 on 5 March 2024.
class FrozenClockTest : public DirectoryTest {
  protected:
    FrozenClockTest() : zone_(UTC), share_("_APP_SHARE_DIR", Path()) { Calls().Reset(); }
    ~FrozenClockTest() override { Calls().Reset(); }

    static SystemCalls& Calls() { return SystemCalls::Instance(); }

    // From now on each file begins a second after the one before, which ends in that second too.
    void LetFilesDiffer() {
        step_ = 1;
        Calls().SetClock(SystemCalls::kStart, step_);
    }

    // Removes the files in the directory, ends all scripts and sets the clock back to its start.
    void StartAfresh(const std::string& directory) {
        Calls().Reset();
        Calls().SetClock(SystemCalls::kStart, step_);
        std::filesystem::remove_all(Path(directory));
    }

    // No file can be created from now on.
    static void RefuseFiles() {
        Calls().ScriptOpens([](uint64_t) { return EMFILE; });
    }

    // The name that a file has when it was created at `stamp`.
    static std::string NameAt(const std::string& stamp, const std::string& prefix = "unbi_debug_") {
        return prefix + stamp + "_" + std::to_string(getpid()) + ".log";
    }
    static std::string NameNow(const std::string& prefix = "unbi_debug_") {
        return NameAt("20240305_140709", prefix);
    }

    // What the files of the directory hold, one behind the other in the order of their names.
    std::string Written(const std::string& directory = "log") const {
        std::string text;
        for (const std::string& name : ListFiles(Path(directory))) {
            text += ReadFile(Path(directory + "/" + name));
        }
        return text;
    }
    size_t CountFiles(const std::string& directory = "log") const {
        return ListFiles(Path(directory)).size();
    }

  private:
    ScopedTimeZone zone_;
    ScopedVariable share_;
    int64_t step_ = 0;
};

// A log file of the category "debug".
class LogFileTest : public FrozenClockTest {
  protected:
    LogFileTest() { Make(); }

    // Begins anew, without the directory's files.
    void Make(uint64_t sizeLimit = 100000000, const std::string& directory = "log") {
        file_.reset();
        StartAfresh(directory);
        Restart(sizeLimit, directory);
    }
    // Begins anew in the directory as it is, like the next process with this number.
    void Restart(uint64_t sizeLimit = 100000000, const std::string& directory = "log") {
        file_.reset();
        file_ = std::make_unique<NS_LOG_SERVICE1::LogFile>(Path(directory).c_str(), "unbi_debug_",
                                                           sizeLimit, 5);
        file_->SetPolicy(policy_);
    }
    void Write(const std::string& detail, int level = 1) {
        file_->WriteRecord(WithDetail(detail, level).Get());
    }
    void WriteBatch(const Texts& details) {
        NS_LOG_SERVICE1::RecordQueue queue;
        for (const std::string& detail : details) {
            AppendTo(queue, WithDetail(detail));
        }
        file_->WriteRecords(queue);
    }
    void WriteDump(const std::string& detail, std::initializer_list<OwnedRecord> kept = {}) {
        file_->WriteRecordWithDump(WithDetail(detail, 0).Get(), CacheOf(kept));
    }
    const NS_LOG_SERVICE1::LogFileStatistics& Counts() const { return file_->Statistics(); }

    // Of each file from now on.
    void SetPolicy(NS_LOG_SERVICE1::FilePolicy policy) {
        policy_ = policy;
        file_->SetPolicy(policy);
    }

    std::unique_ptr<NS_LOG_SERVICE1::LogFile> file_;

  private:
    NS_LOG_SERVICE1::FilePolicy policy_ = NS_LOG_SERVICE1::FilePolicy::kContract;
};

// The channel of the category "debug", used by a thread that has an operation's context.
class ChannelTest : public FrozenClockTest {
  protected:
    ChannelTest() { Make(); }

    // Begins anew, without the files of the channel before.
    void Make(uint32_t queueLength = 10, uint32_t cacheLength = 10, uint32_t fileSize = 100000000) {
        channel_.reset();
        StartAfresh("log");
        channel_ = std::make_unique<NS_LOG_SERVICE1::TEDebugInfoBuf>("debug", queueLength,
                                                                     cacheLength, fileSize, 5);
    }
    void Output(const std::string& detail, int level = 1) {
        channel_->Output(WithDetail(detail, level).Get());
    }
    void Queue(const std::string& detail, int level = 1) {
        channel_->AppendOutputInfo(WithDetail(detail, level).Get());
    }
    void Keep(const std::string& detail, int level = 3) {
        channel_->AppendFiltered(WithDetail(detail, level).Get());
    }
    uint64_t Queued() const { return channel_->Statistics().queued.Get(); }
    uint64_t Cached() const { return channel_->Statistics().keptBack.Get(); }

    // The notice of a full queue, and a dump on order, as this thread causes them.
    std::string Notice(uint64_t number) const {
        return FrameOf(number, OwnRecord(1, "TEDebugInfoBuf::AppendOutputInfo",
                                         "Debug cache is full, force output execute."));
    }
    std::string OrderedDump(uint64_t number, const std::string& dumped = "") const {
        return DumpFrameOf(
            number,
            OwnRecord(3, "TEDebugInfoBuf::OutputAll",
                      "The follow message was dump by maintenance command flushall."),
            dumped);
    }

    std::unique_ptr<NS_LOG_SERVICE1::TEDebugInfoBuf> channel_;

  private:
    // Its line is the one that the files show, whichever that is.
    ParsedRecord OwnRecord(int level, const std::string& function,
                           const std::string& detail) const {
        const std::string written = Written();
        const std::string label = " Func:" + function + " Line:";
        const size_t found = written.find(label);
        const size_t begin = std::min(found, written.size() - label.size()) + label.size();
        const std::string line = written.substr(begin, written.find('\n', begin) - begin);
        EXPECT_GT(std::atol(line.c_str()), 0) << "the line of " << function;
        return {StampAfter(0),
                "O,TopT:9,If:flush,UserMsg:me",
                std::to_string(static_cast<long>(pthread_self())),
                level,
                "",
                function,
                line,
                detail};
    }

    const NS_UTIL::ThreadContextScope scope_{NS_UTIL::ThreadContextInfo(9, "flush", "me", "O")};
};

}  // namespace NS_TEST
