// Records of several threads on their way into one file.
#include "channel/waitingrecords.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "support/waiting.h"

namespace NS_LOG_SERVICE1 {
namespace {

using NS_TEST::FinishesOnAnotherThread;

class WaitingRecordsTest : public testing::Test {
  protected:
    // Writes a group of two; its threads have gone on.
    void WriteTogether() {
        waiting_.Join(first_);
        waiting_.Join(second_);
        waiting_.EndWriting(waiting_.BeginWriting(), first_);
    }

    WaitingRecord first_{UnnumberedFrame()};
    WaitingRecord second_{UnnumberedFrame()};
    WaitingRecord third_{UnnumberedFrame()};
    WaitingRecords waiting_;
};

TEST_F(WaitingRecordsTest, OneThatComesWhileNobodyWritesIsWrittenAlone) {
    EXPECT_TRUE(waiting_.MayWriteAlone());
    waiting_.BeginAlone();
    EXPECT_FALSE(waiting_.MayWriteAlone());
    waiting_.EndAlone();
    EXPECT_TRUE(waiting_.MayWriteAlone());
}

// It would pass the one that waits.
TEST_F(WaitingRecordsTest, NoneIsWrittenAloneBesideOneThatWaits) {
    waiting_.Join(first_);
    EXPECT_FALSE(waiting_.MayWriteAlone());
}

TEST_F(WaitingRecordsTest, NoneIsWrittenAloneWhileAGroupIsWritten) {
    waiting_.Join(first_);
    WaitingRecord* const group = waiting_.BeginWriting();
    EXPECT_FALSE(waiting_.MayWriteAlone());
    waiting_.EndWriting(group, first_);
    EXPECT_TRUE(waiting_.MayWriteAlone());
}

// Threads that have gone on together come back together.
TEST_F(WaitingRecordsTest, NoneIsWrittenAloneBehindAGroupOfTwo) {
    WriteTogether();
    EXPECT_FALSE(waiting_.MayWriteAlone());
}

TEST_F(WaitingRecordsTest, TheFirstOneOfAGroupWritesItInTheOrderOfArrival) {
    EXPECT_TRUE(waiting_.Join(first_));
    EXPECT_FALSE(waiting_.Join(second_));
    EXPECT_FALSE(waiting_.Join(third_));
    WaitingRecord* const group = waiting_.BeginWriting();
    EXPECT_EQ(group, &first_);
    EXPECT_EQ(group->next, &second_);
    EXPECT_EQ(group->next->next, &third_);
    EXPECT_EQ(group->next->next->next, nullptr);
}

TEST_F(WaitingRecordsTest, OneThatComesWhileAGroupIsWrittenBelongsToTheNextGroup) {
    waiting_.Join(first_);
    WaitingRecord* const group = waiting_.BeginWriting();
    EXPECT_TRUE(waiting_.Join(second_));
    waiting_.EndWriting(group, first_);
    EXPECT_EQ(waiting_.BeginWriting(), &second_);
}

TEST_F(WaitingRecordsTest, AWriterDoesNotWaitForEverForThoseWhoAreExpected) {
    WriteTogether();
    waiting_.Join(third_);
    EXPECT_TRUE(FinishesOnAnotherThread([this] { waiting_.AwaitTurn(); }));
    waiting_.EndWriting(waiting_.BeginWriting(), third_);
    EXPECT_TRUE(waiting_.MayWriteAlone());
}

// Nor for a group whose writer stands still: the file's mutex decides.
TEST_F(WaitingRecordsTest, AWriterDoesNotWaitForEverForAnotherOne) {
    waiting_.Join(first_);
    waiting_.BeginWriting();
    waiting_.Join(second_);
    EXPECT_TRUE(FinishesOnAnotherThread([this] { waiting_.AwaitTurn(); }));
}

TEST_F(WaitingRecordsTest, AThreadThatSleepsIsWokenWhenItsRecordIsHandled) {
    waiting_.Join(first_);
    waiting_.Join(second_);
    std::thread sleeper([this] { WaitingRecords::AwaitWriter(second_); });
    while (second_.state != WaitingRecord::kAsleep) {
        std::this_thread::yield();
    }
    waiting_.EndWriting(waiting_.BeginWriting(), first_);
    sleeper.join();
    EXPECT_EQ(second_.state, WaitingRecord::kHandled);
}

// A signal ends the waiting for a semaphore.
TEST_F(WaitingRecordsTest, AThreadThatSleepsIsNotWokenByASignal) {
    static std::atomic<int> signals{0};
    signals = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { ++signals; };
    ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
    waiting_.Join(first_);
    waiting_.Join(second_);
    std::atomic<int> stateAtItsEnd{WaitingRecord::kWaiting};
    std::thread sleeper([this, &stateAtItsEnd] {
        WaitingRecords::AwaitWriter(second_);
        stateAtItsEnd = second_.state.load();
    });
    while (second_.state != WaitingRecord::kAsleep) {
        std::this_thread::yield();
    }
    for (int i = 1; i <= 20; ++i) {
        ::pthread_kill(sleeper.native_handle(), SIGUSR1);
        while (signals < i && stateAtItsEnd == WaitingRecord::kWaiting) {
            std::this_thread::yield();
        }
    }
    waiting_.EndWriting(waiting_.BeginWriting(), first_);
    sleeper.join();
    EXPECT_EQ(stateAtItsEnd, WaitingRecord::kHandled);
}

TEST_F(WaitingRecordsTest, AChildProcessForgetsThoseOfItsParent) {
    WriteTogether();
    waiting_.Join(third_);
    waiting_.BeginAlone();
    waiting_.AfterForkInChild();
    EXPECT_TRUE(waiting_.MayWriteAlone());
    EXPECT_EQ(waiting_.BeginWriting(), nullptr);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
