// Threads that are cancelled while they log.
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#include "faults/faultsfixture.h"
#include "support/waiting.h"

namespace NS_TEST {
namespace {

// Sizes of files.
constexpr uint64_t kNeverFull = 100000000;
constexpr uint64_t kFullByOneRecord = 100;

class CancelledThread : public FaultsTest {
  protected:
    CancelledThread() { SetFileSize(kNeverFull); }

    void SetFileSize(uint64_t size) { store_.Set("logfilesize", std::to_string(size)); }

    // A thread of a client, which ends at its next cancellation point behind the call.
    class Client {
      public:
        Client(CancelledThread& test, int level)
            : thread_([this, &test, level] {
                  number_ = ::gettid();
                  test.LogNext(level);
                  returned_ = true;
                  ::pthread_testcancel();
                  survived_ = true;
              }) {}

        void Cancel() { ::pthread_cancel(thread_.native_handle()); }

        void AwaitSleep() const {
            while (!IsAsleep(number_)) {
                std::this_thread::yield();
            }
        }

        void ExpectEndBehindTheCall() {
            thread_.join();
            EXPECT_TRUE(returned_);
            EXPECT_FALSE(survived_);
        }

      private:
        std::atomic<pid_t> number_{0};
        std::atomic<bool> returned_{false};
        std::atomic<bool> survived_{false};
        std::thread thread_;
    };

    static void AwaitHeldCall() {
        while (!IsCallHeld()) {
            std::this_thread::yield();
        }
    }

    // Cancels a thread that logs a record of this level, in its next call of that kind.
    void CancelWithin(FaultyCall call, int level) {
        HoldNextCall(call);
        Client client(*this, level);
        AwaitHeldCall();
        client.Cancel();
        ReleaseCall();
        client.ExpectEndBehindTheCall();
    }

    // Others can log afterwards, and nothing is lost but `lost` records.
    void ExpectAllWritten(uint64_t lost = 0) {
        LogNext(1);
        const Outcome outcome = End();
        const FileContents found = Read(outcome);
        ExpectClosedBooks(outcome, found);
        EXPECT_EQ(found.All().size() + lost, outcome.logged);
    }
};

struct HeldMoment {
    const char* description;
    OutputKind kind;
    int before;  // records that are logged first
    FaultyCall call;
    int level;
    uint64_t fileSize = kNeverFull;
};

TEST_F(CancelledThread, CompletesWhatItWrites) {
    constexpr HeldMoment kMoments[] = {
        {"the first record opens the file", OutputKind::DIRECT, 0, FaultyCall::OPEN, 1},
        {"a record is written", OutputKind::DIRECT, 1, FaultyCall::WRITE, 1},
        {"a record fills the file", OutputKind::DIRECT, 1, FaultyCall::OPEN, 1, kFullByOneRecord},
        {"a dump is written", OutputKind::DIRECT, 1, FaultyCall::WRITE, 0},
        {"a record fills the queue", OutputKind::QUEUED, int{kQueue} - 1, FaultyCall::WRITE, 1},
        {"a dump follows the queue", OutputKind::QUEUED, 1, FaultyCall::WRITE, 0},
    };
    for (const HeldMoment& each : kMoments) {
        SCOPED_TRACE(each.description);
        SetFileSize(each.fileSize);
        Begin(each.kind, NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT, {});
        for (int i = 0; i < each.before; ++i) {
            LogNext(1);
        }
        CancelWithin(each.call, each.level);
        ExpectAllWritten();
    }
}

// The record whose write fails is lost. The same call opens the next file.
TEST_F(CancelledThread, OpensTheNextFileWhenAWriteFails) {
    Begin(OutputKind::DIRECT, NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT,
          {{FaultyCall::WRITE, 3, 3, EIO}});
    LogNext(1);
    CancelWithin(FaultyCall::OPEN, 1);
    ExpectAllWritten(1);
}

// Here the next record does it, behind the pause.
TEST_F(CancelledThread, OpensTheNextFileBehindAWriteThatFailed) {
    Begin(OutputKind::DIRECT, NS_LOG_SERVICE1::LOG_FILE_POLICY_KEEP_RECORDS,
          {{FaultyCall::WRITE, 3, 3, EIO}});
    LogNext(1);
    LogNext(1);
    CancelWithin(FaultyCall::OPEN, 1);
    ExpectAllWritten(1);
}

TEST_F(CancelledThread, WaitsForTheThreadThatWritesItsRecord) {
    Begin(OutputKind::DIRECT, NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT, {});
    LogNext(1);
    HoldNextCall(FaultyCall::WRITE);
    Client writer(*this, 1);
    AwaitHeldCall();
    Client next(*this, 1);  // writes its record and those that come after it
    next.AwaitSleep();
    Client waiting(*this, 1);
    waiting.AwaitSleep();
    for (Client* client : {&writer, &next, &waiting}) {
        client->Cancel();
    }
    ReleaseCall();
    for (Client* client : {&writer, &next, &waiting}) {
        client->ExpectEndBehindTheCall();
    }
    ExpectAllWritten();
}

}  // namespace
}  // namespace NS_TEST
