// A service below which system calls fail, and what its files and its books say afterwards.
#pragma once

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "faults/faults.h"
#include "maintenance/maintenancefixture.h"

namespace NS_TEST {

enum class OutputKind { DIRECT, QUEUED, DUMP };

// The category's files by their names, and the numbers of its channel before its end.
struct Outcome {
    std::map<std::string, std::string> files;
    NS_LOG_SERVICE1::ChannelStatus books;
    NS_LOG_SERVICE1::ChannelBooks allBooks;
    uint64_t logged = 0;
    uint64_t faults = 0;
    std::map<FaultyCall, uint64_t> calls;
};

// What the files of an outcome hold.
struct FileContents {
    std::vector<int> written;  // the numbers in the texts, in the order of the files
    std::vector<int> dumped;
    std::vector<uint64_t> numbers;  // of the frames
    uint64_t own = 0;               // records of the channel itself
    std::set<int> All() const {
        std::set<int> all(written.begin(), written.end());
        all.insert(dumped.begin(), dumped.end());
        return all;
    }
};

// Lets the temporary directory lie in memory where it can: these tests make thousands of files.
class InMemory {
  protected:
    InMemory() {
        if (::access("/dev/shm", W_OK) == 0) {
            ::setenv("TMPDIR", "/dev/shm", 0);
        }
    }
};

// Logs into the category "corbaoper" under a clock that stands still, but for a second behind the
// creation of each file.
class FaultsTest : private InMemory, public MaintenanceTest {
  protected:
    static constexpr int64_t kStart = 1709647629;
    static constexpr uint64_t kKept = 3;
    static constexpr uint64_t kQueue = 4;

    FaultsTest() : zone_(UTC) {
        store_.Set("logfilesize", "900");
        store_.Set("queuebuflength", std::to_string(kQueue));
        store_.Set("filterbuflength", std::to_string(kKept));
    }
    ~FaultsTest() override {
        ReleaseCall();
        HurryMonotonicClock(0);
    }

    // Starts the service in an empty log directory, under the faults.
    void Begin(OutputKind kind, NS_LOG_SERVICE1::LogFilePolicy policy,
               const std::vector<Fault>& faults) {
        std::error_code ignored;  // a mounted directory stays, and is empty
        std::filesystem::remove_all(Path("log"), ignored);
        StopClock(kStart, 1);
        HurryMonotonicClock(2);
        PlanFaults(Path("log"), faults);
        logged_ = 0;
        Start();
        Maintenance().SetFilePolicy(policy);
        if (kind == OutputKind::QUEUED) {
            Maintenance().SetQueuedOutput(true);
        }
    }

    // The next text: its number, and enough to fill a file after a few.
    int LogNext(int level) {
        const int number = static_cast<int>(++logged_);
        OperLogger().Log("file.cpp", "Function", 7, level, TextOf(number));
        return number;
    }
    static std::string TextOf(int number) {
        return "text " + std::to_string(number) + " " + std::string(40, 'x');
    }

    // Ends the service and collects what is left.
    Outcome End() {
        Outcome outcome;
        Maintenance().FlushAll();
        outcome.books = Channel("corbaoper");
        std::vector<NS_LOG_SERVICE1::ChannelBooks> all;
        Maintenance().GetChannelBooks(all);
        for (const NS_LOG_SERVICE1::ChannelBooks& books : all) {
            if (books.category == "corbaoper") {
                outcome.allBooks = books;
            }
        }
        Stop();
        outcome.logged = logged_;
        outcome.faults = FaultsSoFar();
        for (const FaultyCall call :
             {FaultyCall::WRITE, FaultyCall::OPEN, FaultyCall::CLOSE, FaultyCall::TRUNCATE}) {
            outcome.calls[call] = CallsSoFar(call);
        }
        PlanFaults("", {});
        for (const std::string& name : ListLogFiles(Path("log"), "corbaoper")) {
            outcome.files[name] = ReadFile(Path("log/" + name));
        }
        return outcome;
    }

    // Takes every file apart; a byte that belongs to no whole piece is a failure, and so is a text
    // that stands there twice or was never logged.
    static FileContents Read(const Outcome& outcome) {
        FileContents found;
        std::set<int> seen;
        for (const auto& [name, bytes] : outcome.files) {
            SCOPED_TRACE(name);
            std::vector<ParsedPiece> pieces;
            EXPECT_NO_THROW(pieces = ParseLogText(bytes)) << bytes;
            for (const ParsedPiece& piece : pieces) {
                if (piece.kind != ParsedPiece::RECORD && piece.kind != ParsedPiece::DUMP) {
                    continue;
                }
                found.numbers.push_back(piece.number);
                Take(piece.record, found.written, seen, found.own);
                for (const ParsedRecord& dumped : piece.dumped) {
                    Take(dumped, found.dumped, seen, found.own);
                }
            }
        }
        return found;
    }

    // The books agree with the files, and nothing is missing that they do not count.
    static void ExpectClosedBooks(const Outcome& outcome, const FileContents& found) {
        EXPECT_EQ(outcome.books.recordsQueued, 0u);
        EXPECT_EQ(outcome.books.recordsWritten, found.written.size() + found.own);
        EXPECT_EQ(outcome.books.recordsDumped, found.dumped.size());
        const NS_LOG_SERVICE1::ChannelBooks& books = outcome.allBooks;
        EXPECT_EQ(books.recordsReceived, books.recordsWritten + books.recordsDumped +
                                             books.recordsEvicted + books.recordsDropped +
                                             books.recordsOverwritten + books.recordsQueued +
                                             books.recordsCached);
        EXPECT_EQ(books.recordsWritten, outcome.books.recordsWritten);
        EXPECT_EQ(books.recordsOverwritten, 0u);
        const uint64_t missing = outcome.logged - found.written.size() - found.dumped.size();
        const uint64_t lost = outcome.books.recordsDropped + outcome.books.recordsEvicted +
                              outcome.books.recordsCached;
        EXPECT_GE(lost, missing);
        // What was lost beside the texts of this test are records of the channel itself: the
        // notices of full queues, and a dump on order.
        EXPECT_LE(lost, missing + outcome.logged / kQueue + 1);
        EXPECT_TRUE(std::is_sorted(found.written.begin(), found.written.end()));
        EXPECT_TRUE(std::is_sorted(found.dumped.begin(), found.dumped.end()));
        EXPECT_TRUE(std::is_sorted(found.numbers.begin(), found.numbers.end()));
        EXPECT_EQ(std::set<uint64_t>(found.numbers.begin(), found.numbers.end()).size(),
                  found.numbers.size());
    }

  private:
    static void Take(const ParsedRecord& record, std::vector<int>& numbers, std::set<int>& seen,
                     uint64_t& own) {
        if (record.function.rfind("TEDebugInfoBuf::", 0) == 0) {
            ++own;
            return;
        }
        const int number = std::atoi(record.detail.c_str() + std::string("text ").size());
        EXPECT_EQ(record.detail, TextOf(number));
        EXPECT_EQ(record.file, "file.cpp");
        EXPECT_EQ(record.line, "7");
        EXPECT_TRUE(seen.insert(number).second) << number << " stands there twice";
        numbers.push_back(number);
    }

    ScopedTimeZone zone_;
    std::atomic<uint64_t> logged_{0};
};

}  // namespace NS_TEST
