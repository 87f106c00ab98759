// What a channel does when its process dies.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "channel/channelfixture.h"
#include "channel/lastwords.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class ChannelBeforeDeath : public ChannelTest {
  protected:
    bool Write() { return channel_->WriteBeforeDeath(memory_, Deadline(2000)); }

    LastWords memory_;
};

TEST_F(ChannelBeforeDeath, WaitsForNoThreadThatWrites) {
    Output("one");
    Queue("two");
    std::atomic<bool> writes{false};
    std::atomic<bool> goOn{false};
    Calls().ScriptWrites([&](uint64_t, std::string_view) {
        for (writes = true; !goOn;) {
            std::this_thread::yield();
        }
        return SystemCalls::Fate{};
    });
    std::thread slow([this] { channel_->Flush(); });
    while (!writes) {
        std::this_thread::yield();
    }
    Queue("three");
    EXPECT_FALSE(Write());
    goOn = true;
    slow.join();
    Calls().ScriptWrites(nullptr);
    EXPECT_TRUE(Write());
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(2, "two") + Frame(3, "three"));
}

// With records kept, the gap in the numbers tells how many are missing.
TEST_F(ChannelBeforeDeath, LosesWhatCannotBeWrittenAndCountsIt) {
    for (const FilePolicy policy : {FilePolicy::kContract, FilePolicy::kKeepRecords}) {
        Make();
        channel_->SetFilePolicy(policy);
        Output("one");
        Queue("lost");
        Queue("lost");
        Calls().StopMonotonicClock();
        Calls().ScriptWrites([](uint64_t, std::string_view) {
            return SystemCalls::Fate{0, ENOSPC};
        });
        EXPECT_TRUE(Write());
        Calls().ScriptWrites(nullptr);
        Calls().LetPass(1000000);
        EXPECT_EQ(channel_->FileStatistics().recordsDropped.Get(), 2u);
        EXPECT_EQ(Queued(), 0u);
        Output("after");
        EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(4, "after"));
    }
}

// A process may live on after all. The name of the file is left out only where it would allocate.
TEST_F(ChannelBeforeDeath, DoesNotKeepLaterFailuresFromTellingTheirFile) {
    Output("one");
    Queue("two");
    EXPECT_TRUE(Write());
    EXPECT_EQ(channel_->FileStatistics().lastErrorFile.Get(), "");
    const std::string path = channel_->CurrentPath();
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number == 1 ? SystemCalls::Fate{0, ENOSPC} : SystemCalls::Fate();
    });
    Output("lost");
    EXPECT_EQ(channel_->FileStatistics().lastErrorFile.Get(), path);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
