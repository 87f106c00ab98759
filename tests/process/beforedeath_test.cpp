// Writing out the queues for a process that dies.
#include <csignal>
#include <cstdlib>
#include <functional>
#include <future>
#include <thread>

#include "channel/systemcalls.h"
#include "exithandler.h"
#include "process/processfixture.h"
#include "support/allocations.h"

namespace NS_TEST {
namespace {

using namespace NS_LOG_SERVICE1;
using namespace testing;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

// Registered before the service is there, so what this does comes behind what the service does at
// the exit.
void (*g_atTheVeryEnd)() = nullptr;
const int kRegistered = std::atexit([] {
    if (g_atTheVeryEnd != nullptr) {
        g_atTheVeryEnd();
    }
});

class BeforeDeath : public ProcessTest {
  protected:
    // The file of the category is open and output is queued.
    BeforeDeath() {
        Start();
        Manager().outputmode = kQueuedOutput;
        OpenFile("corbaoper");
    }

    static void OpenFile(const std::string& category) {
        Manager().Channels().Find(category)->Flush();
    }
    static void LogTo(const std::string& category, const std::string& text) {
        Manager().GetLogger("a", "b", category)->Log("f", "g", 1, 1, text);
    }

    std::vector<std::string> Details(const std::string& category = "corbaoper") const {
        return DetailsOf(::getpid(), category);
    }
};

class ExitOfAProcess : public BeforeDeath {
  protected:
    void SetUp() override {
        if (kIsSanitized) {
            GTEST_SKIP() << "what a sanitizer does at the exit of a child is not the service's";
        }
    }

    // A child process that logs a text into the queue, does something and calls exit.
    static pid_t LetExit(const std::string& text, const std::function<void()>& prepare) {
        const pid_t child = Fork([&] {
            HandleExit();
            Manager().outputmode = kQueuedOutput;
            Log(1, text);
            prepare();
            std::exit(7);
            return 0;
        });
        EXPECT_EQ(AwaitChild(child), 7);
        return child;
    }
};

TEST_F(BeforeDeath, QueuesAreWrittenAsAFlushWritesThem) {
    OpenFile("debug");
    Log(1, "one");
    Log(-2, "two");
    Log(-1, "three");
    LogTo("debug", "one");
    Maintenance().WriteQueuesBeforeDeath();
    EXPECT_THAT(Details(), ElementsAre("one", "two", "three"));
    EXPECT_THAT(Details("debug"), ElementsAre("one"));
    const auto pieces = PiecesOf(::getpid())["corbaoper"];
    EXPECT_EQ(pieces[1].number, 1U);
    EXPECT_EQ(pieces[3].number, 3U);
    EXPECT_EQ(Channel("corbaoper").recordsQueued, 0U);
    EXPECT_EQ(Channel("corbaoper").recordsWritten, 3U);
    EXPECT_EQ(Channel("corbaoper").bytesWritten, ReadFile(Channel("corbaoper").currentFile).size());
    EXPECT_EQ(Channel("corbaoper").recordsDropped, 0U);
}

TEST_F(BeforeDeath, NothingIsAllocatedOrFreed) {
    std::vector<std::string> logged;
    for (int i = 0; i < 3000; ++i) {
        logged.push_back(std::to_string(i) + std::string(1000, 'x'));
        Log(1, logged.back());
    }
    LogMaintenanceInterface& maintenance = Maintenance();
    ForgetAllocations();
    FailAllocationsAfter(0);
    maintenance.WriteQueuesBeforeDeath();
    FailAllocationsAfter(-1);
    const Allocations made = AllocationsOfThisThread();
    EXPECT_EQ(made.count, 0U);
    EXPECT_EQ(made.freed, 0U);
    EXPECT_EQ(Details(), logged);
}

TEST_F(BeforeDeath, NothingIsAllocatedForAWriteThatFails) {
    Log(1, std::string(1000, 'x'));
    const FileSizeLimit limit(500);
    LogMaintenanceInterface& maintenance = Maintenance();
    ForgetAllocations();
    maintenance.WriteQueuesBeforeDeath();
    EXPECT_EQ(AllocationsOfThisThread().count, 0U);
    EXPECT_EQ(Channel("corbaoper").recordsDropped, 1U);
}

TEST_F(BeforeDeath, NoFileIsOpened) {
    LogTo("debug", "still queued");
    Maintenance().WriteQueuesBeforeDeath();
    EXPECT_THAT(Details("debug"), IsEmpty());
    EXPECT_EQ(Channel("debug").recordsQueued, 1U);
    EXPECT_EQ(Channel("debug").recordsDropped, 0U);
    Maintenance().FlushAll();
    EXPECT_THAT(Details("debug"), ElementsAre("still queued"));
}

TEST_F(BeforeDeath, ARecordThatDoesNotFitIsDropped) {
    Log(1, "one");
    Log(1, std::string(LastWords::kPieceSize, 'x'));
    Log(1, "three");
    Maintenance().WriteQueuesBeforeDeath();
    EXPECT_THAT(Details(), ElementsAre("one", "three"));
    EXPECT_EQ(Channel("corbaoper").recordsDropped, 1U);
    EXPECT_EQ(Channel("corbaoper").recordsWritten, 2U);
}

TEST_F(BeforeDeath, WhatAFullDiskDoesNotTakeIsDropped) {
    std::vector<std::string> logged;
    for (int i = 0; i < 300; ++i) {
        logged.push_back(std::to_string(i) + std::string(10000, 'x'));
        Log(1, logged.back());
    }
    {
        const FileSizeLimit limit(2000000);
        Maintenance().WriteQueuesBeforeDeath();
    }
    const std::vector<std::string> found = Details();
    EXPECT_GT(found.size(), 50U);
    EXPECT_LT(found.size(), 200U);
    EXPECT_EQ(found, std::vector<std::string>(logged.begin(),
                                              logged.begin() + static_cast<long>(found.size())));
    EXPECT_EQ(Channel("corbaoper").recordsDropped, 300U - found.size());
    EXPECT_EQ(Channel("corbaoper").recordsQueued, 0U);
}

// The other categories are written all the same, and the call returns.
TEST_F(BeforeDeath, ALockThatIsHeldForEverIsNotWaitedForForEver) {
    OpenFile("corba_alarm");
    OpenFile("debug");
    LogTo("corba_alarm", "held up");
    std::promise<void> held;
    std::promise<void> ended;
    TEDebugInfoBuf* const channel = Manager().Channels().Find("corba_alarm");
    std::thread holder([&] {
        channel->BeforeFork();
        held.set_value();
        ended.get_future().wait();
        channel->AfterForkInParent();
    });
    held.get_future().wait();
    LogTo("debug", "one");
    Log(1, "one");
    Maintenance().WriteQueuesBeforeDeath();
    EXPECT_THAT(Details("debug"), ElementsAre("one"));
    EXPECT_THAT(Details(), ElementsAre("one"));
    EXPECT_THAT(Details("corba_alarm"), IsEmpty());
    ended.set_value();
    holder.join();
    EXPECT_EQ(Channel("corba_alarm").recordsQueued, 1U);
}

// The child's channels have no file yet, and there is no memory for the name of one.
TEST_F(ExitOfAProcess, EndsLikeAnyOtherWithoutMemory) {
    const pid_t child = LetExit("lost", [] { FailAllocationsAfter(0); });
    EXPECT_THAT(DetailsOf(child), IsEmpty());
}

// As the periodic output holds it while it writes to a disk that does not answer.
TEST_F(ExitOfAProcess, DoesNotWaitForTheMutexOfTheChannels) {
    const pid_t child = LetExit("one", [] {
        std::vector<TEDebugInfoBuf*> channels;
        for (const char* const category : kLogCategories) {
            channels.push_back(Manager().Channels().Find(category));
        }
        Manager().Channels().BeforeFork();
        for (TEDebugInfoBuf* const channel : channels) {
            channel->AfterForkInParent();
        }
    });
    EXPECT_THAT(DetailsOf(child), ElementsAre("one"));
}

// Nobody writes the queues any more.
TEST_F(ExitOfAProcess, WritesARecordAtOnceThatComesBehindTheEndOfTheService) {
    ASSERT_EQ(kRegistered, 0);
    const pid_t child = LetExit("one", [] { g_atTheVeryEnd = [] { Log(1, "two"); }; });
    EXPECT_THAT(DetailsOf(child), ElementsAre("one", "two"));
}

TEST_F(BeforeDeath, TheProcessMayLiveOn) {
    Log(1, "one");
    Maintenance().WriteQueuesBeforeDeath();
    Log(1, "two");
    Maintenance().WriteQueuesBeforeDeath();
    Log(1, "three");
    Maintenance().FlushAll();
    Log(0, "four");
    EXPECT_THAT(Details(), ElementsAre("one", "two", "three", "four"));
    Stop();
    EXPECT_NO_THROW(PiecesOf(::getpid()));
}

}  // namespace
}  // namespace NS_TEST
