// Threads that are cancelled while they log.
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <thread>

#include "faults/faultsfixture.h"

namespace NS_TEST {
namespace {

class CancelledThread : public FaultsTest {
  protected:
    CancelledThread() { store_.Set("logfilesize", "100000000"); }

    // A thread of a client, which ends at its next cancellation point behind the call.
    class Client {
      public:
        Client(CancelledThread& test, int level)
            : thread_([this, &test, level] {
                  test.LogNext(level);
                  returned_ = true;
                  ::pthread_testcancel();
                  survived_ = true;
              }) {}

        void Cancel() { ::pthread_cancel(thread_.native_handle()); }

        void ExpectEndBehindTheCall() {
            thread_.join();
            EXPECT_TRUE(returned_);
            EXPECT_FALSE(survived_);
        }

      private:
        std::atomic<bool> returned_{false};
        std::atomic<bool> survived_{false};
        std::thread thread_;
    };

    static void AwaitHeldCall() {
        while (!IsCallHeld()) {
            std::this_thread::yield();
        }
    }

    // Others can log afterwards, and nothing is lost.
    void ExpectAllWritten() {
        LogNext(1);
        const Outcome outcome = End();
        const FileContents found = Read(outcome);
        ExpectClosedBooks(outcome, found);
        EXPECT_EQ(found.All().size(), outcome.logged);
    }
};

struct HeldMoment {
    const char* description;
    OutputKind kind;
    int before;  // records that are logged first
    FaultyCall call;
    int level;
};

TEST_F(CancelledThread, CompletesWhatItWrites) {
    constexpr HeldMoment kMoments[] = {
        {"the first record opens the file", OutputKind::DIRECT, 0, FaultyCall::OPEN, 1},
        {"a record is written", OutputKind::DIRECT, 1, FaultyCall::WRITE, 1},
        {"a dump is written", OutputKind::DIRECT, 1, FaultyCall::WRITE, 0},
        {"a record fills the queue", OutputKind::QUEUED, int{kQueue} - 1, FaultyCall::WRITE, 1},
        {"a dump follows the queue", OutputKind::QUEUED, 1, FaultyCall::WRITE, 0},
    };
    for (const HeldMoment& each : kMoments) {
        SCOPED_TRACE(each.description);
        Begin(each.kind, NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT, {});
        for (int i = 0; i < each.before; ++i) {
            LogNext(1);
        }
        HoldNextCall(each.call);
        Client client(*this, each.level);
        AwaitHeldCall();
        client.Cancel();
        ReleaseCall();
        client.ExpectEndBehindTheCall();
        ExpectAllWritten();
    }
}

TEST_F(CancelledThread, WaitsForTheThreadThatWritesItsRecord) {
    Begin(OutputKind::DIRECT, NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT, {});
    LogNext(1);
    HoldNextCall(FaultyCall::WRITE);
    Client writer(*this, 1);
    AwaitHeldCall();
    Client waiting(*this, 1);
    waiting.Cancel();
    writer.Cancel();
    ReleaseCall();
    writer.ExpectEndBehindTheCall();
    waiting.ExpectEndBehindTheCall();
    ExpectAllWritten();
}

}  // namespace
}  // namespace NS_TEST
