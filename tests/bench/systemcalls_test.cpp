// How many system calls a record costs, as the kernel sees it: counted by strace while a program
// records through the bundle.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "support/files.h"
#include "support/temporarydirectory.h"
#include "support/tracing.h"

namespace {

struct SystemCalls {
    long mainThread = 0;  // of any kind, made by the main thread
    long writes = 0;      // to any file, by any thread
};

// Where coverage is counted, the program also writes the counters at its end, in pieces whose
// number depends on who else does, and complains of those of another build.
bool IsWrite(const std::string& call) {
    for (const char* counting : {".gcda>", ".errors>"}) {
        if (call.find(counting) != std::string::npos) {
            return false;
        }
    }
    for (const char* name : {"write(", "writev(", "pwrite64(", "pwritev(", "pwritev2("}) {
        if (call.rfind(name, 0) == 0) {
            return true;
        }
    }
    return false;
}

// Reads lines as "12345 write(3</path>, ...". The second line of a call that was interrupted by
// another thread's counts as none.
SystemCalls ReadTrace(const std::string& path) {
    std::ifstream trace(path);
    SystemCalls calls;
    long mainThread = 0;
    long thread = 0;
    std::string call;
    while (trace >> thread >> std::ws && std::getline(trace, call)) {
        mainThread = mainThread == 0 ? thread : mainThread;
        const bool isCall =
            call.rfind("<...", 0) != 0 && call.rfind("+++", 0) != 0 && call.rfind("---", 0) != 0;
        calls.mainThread += isCall && thread == mainThread ? 1 : 0;
        calls.writes += isCall && IsWrite(call) ? 1 : 0;
    }
    return calls;
}

class SystemCallsOfARecord : public NS_TEST::DirectoryTest {
  protected:
    void SetUp() override {
        if (!NS_TEST::MayTrace()) {
            GTEST_SKIP() << NS_TEST::kNoTrace;
        }
    }

    // What the program calls for so many records of each of `threads` threads.
    SystemCalls Count(const std::string& mode, int threads, int records,
                      const std::string& filter) {
        const std::string share = Path(mode + std::to_string(records));
        const std::string trace = share + ".trace";
        // A leak cannot be looked for in a process that is traced.
        const std::string command = "ASAN_OPTIONS=detect_leaks=0 strace -f -y -qq " + filter +
                                    " -o '" + trace + "' '" QV_RECORDER "' '" + share + "' " +
                                    mode + " " + std::to_string(threads) + " " +
                                    std::to_string(records) + " 2>'" + share + ".errors'";
        const int result = std::system(command.c_str());
        EXPECT_EQ(result, 0) << NS_TEST::ReadFile(share + ".errors");
        EXPECT_GE(RecordsIn(share + "/log"), static_cast<long>(threads) * records);
        return ReadTrace(trace);
    }

    // What `threads` threads call for so many more records of each: what the start and the end of
    // the program call is not in it.
    SystemCalls CountForMore(const std::string& mode, int threads, int records,
                             const std::string& filter) {
        const SystemCalls before = Count(mode, threads, records, filter);
        const SystemCalls after = Count(mode, threads, 2 * records, filter);
        return {after.mainThread - before.mainThread, after.writes - before.writes};
    }

  private:
    static long RecordsIn(const std::string& directory) {
        long records = 0;
        for (const std::string& name : NS_TEST::ListFiles(directory)) {
            std::ifstream file(directory + "/" + name);
            for (std::string line; std::getline(file, line);) {
                records += line.rfind(" Detail: ", 0) == 0 ? 1 : 0;
            }
        }
        return records;
    }
};

constexpr char kAllCalls[] = "";
constexpr char kWrites[] = "--seccomp-bpf -e trace=write,writev,pwrite64,pwritev,pwritev2";
// Nothing that grows with the records, but now and then some memory.
constexpr long kFew = 30;

TEST_F(SystemCallsOfARecord, AreOneWriteAndNothingElseInDirectOutput) {
    constexpr int kRecords = 1000;
    const SystemCalls calls = CountForMore("direct", 1, kRecords, kAllCalls);
    EXPECT_LE(calls.writes, kRecords);
    EXPECT_LE(calls.mainThread, kRecords + kFew);
    EXPECT_GE(calls.writes, kRecords)
        << "a record alone reaches the kernel before the call returns";
}

TEST_F(SystemCallsOfARecord, AreOneWriteAtMostForEachOfManyThreads) {
    constexpr int kRecords = 500;
    // In one run: how many records share a write is another number in each.
    const SystemCalls calls = Count("direct", 8, kRecords, kWrites);
    EXPECT_LE(calls.writes, 8 * kRecords + kFew);
    EXPECT_GT(calls.writes, 0);
}

TEST_F(SystemCallsOfARecord, AreLessThanAHundredthInQueuedOutput) {
    constexpr int kRecords = 20000;
    const SystemCalls calls = CountForMore("queued", 1, kRecords, kAllCalls);
    EXPECT_LT(calls.writes, kRecords / 100);
    EXPECT_LT(calls.mainThread, kRecords / 100);
    EXPECT_GT(calls.writes, 0);
}

TEST_F(SystemCallsOfARecord, AreLessThanAHundredthForEachOfManyThreadsInQueuedOutput) {
    constexpr int kRecords = 5000;
    const SystemCalls calls = CountForMore("queued", 8, kRecords, kWrites);
    EXPECT_LT(calls.writes, 8 * kRecords / 100);
    EXPECT_GT(calls.writes, 0);
}

}  // namespace
