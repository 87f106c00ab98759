// What a channel counts, and that nobody waits for it.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#include "channel/channel.h"
#include "channel/channelfixture.h"
#include "support/onthreads.h"
#include "support/waiting.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class ChannelBooksKept : public ChannelTest {
  protected:
    uint64_t Received() const {
        return channel_->Statistics().received.Get() +
               channel_->Statistics().receivedDirectly.Get();
    }
    const LogFileStatistics& File() const { return channel_->FileStatistics(); }
    // Where the received records are now.
    uint64_t AccountedFor() const {
        return File().recordsWritten.Get() + File().recordsDumped.Get() +
               File().recordsDropped.Get() + channel_->Statistics().evicted.Get() + Queued() +
               Cached();
    }
};

TEST_F(ChannelBooksKept, CountEachRecordThatIsGivenAndEachOfTheChannelsOwn) {
    Make(3, 2);
    Output("one");
    EXPECT_EQ(Received(), 1u);
    Output("error", 0);
    EXPECT_EQ(Received(), 2u);
    Queue("three");
    Queue("four");
    EXPECT_EQ(Received(), 4u);
    EXPECT_EQ(channel_->Statistics().queuedBytes.Get(),
              2 * std::string("ne.cppGetNeU,TopT:12,If:getNE,UserMsg:opr1").size() +
                  std::string("threefour").size());
    Queue("five");  // and the notice
    EXPECT_EQ(Received(), 6u);
    EXPECT_EQ(channel_->Statistics().queuedBytes.Get(), 0u);
    Keep("seven");
    Keep("eight");
    Keep("nine");
    EXPECT_EQ(Received(), 9u);
    EXPECT_EQ(AccountedFor(), 9u);
    channel_->OutputAll();  // and the record that heads the dump
    Queue("eleven");
    Queue("error", 0);
    EXPECT_EQ(Received(), 12u);
    EXPECT_EQ(AccountedFor(), 12u);
}

TEST_F(ChannelBooksKept, CloseWhateverFailsUnderEitherPolicy) {
    for (const FilePolicy policy : {FilePolicy::kContract, FilePolicy::kKeepRecords}) {
        Make(7, 3);
        channel_->SetFilePolicy(policy);
        Calls().ScriptWrites([](uint64_t number, std::string_view) {
            return number % 5 == 0 ? Fate{0, ENOSPC} : number % 7 == 0 ? Fate{70, 0} : Fate();
        });
        Calls().ScriptOpens([](uint64_t number) { return number % 3 == 0 ? EMFILE : 0; });
        OnThreads(4, [this](int thread) {
            for (int i = 0; i < 100; ++i) {
                thread % 2 == 0 ? Output("text", i % 9 == 0 ? 0 : 1)
                                : Queue("text", i % 30 == 0 ? 0 : 1);
                Keep("text");
            }
        });
        EXPECT_GT(File().recordsDropped.Get(), 0u);
        EXPECT_GE(Received(), 800u);
        EXPECT_EQ(AccountedFor(), Received());
    }
}

// A disk may take its time.
TEST_F(ChannelBooksKept, AreReadWhileTheFileIsWritten) {
    Output("first");
    std::atomic<bool> goOn{false};
    Calls().ScriptWrites([&goOn](uint64_t, std::string_view) {
        while (!goOn) {
            std::this_thread::yield();
        }
        return Fate();
    });
    std::thread slow([this] { Output("slow"); });
    while (Calls().Writes() == 0) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(FinishesOnAnotherThread([this] {
        EXPECT_EQ(channel_->CurrentPath(), Path("log/" + NameNow()));
        EXPECT_EQ(channel_->FileStatistics().recordsWritten.Get(), 1u);
        EXPECT_EQ(channel_->FileStatistics().lastErrorFile.Get(), "");
    }));
    goOn = true;
    slow.join();
    Calls().ScriptWrites(nullptr);
}

TEST_F(ChannelBooksKept, ShowTheFileThatWasOpened) {
    EXPECT_EQ(channel_->CurrentFileOpened().path, "");
    Output("one");
    struct stat status {};
    ASSERT_EQ(stat(channel_->CurrentPath().c_str(), &status), 0);
    const FileIdentity identity{status.st_dev, status.st_ino};
    EXPECT_TRUE(channel_->CurrentFileOpened().identity == identity);
    EXPECT_FALSE(channel_->CurrentFileOpened().identity == FileIdentity());
}

TEST_F(ChannelBooksKept, CountAPauseForEveryThreadThatComes) {
    channel_->SetFilePolicy(FilePolicy::kKeepRecords);
    Calls().StopMonotonicClock();
    RefuseFiles();
    OnThreads(4, [this](int) {
        for (int i = 0; i < 100; ++i) {
            Output("lost");
        }
    });
    EXPECT_EQ(File().recordsDropped.Get(), 400u);
    EXPECT_EQ(Calls().Opens(), 1u);
    channel_->AppendOutputInfo(WithDetail("lost").Get());
    channel_->Flush();
    EXPECT_EQ(File().recordsDropped.Get(), 401u);
    EXPECT_EQ(Calls().Opens(), 1u);
    Calls().LetPass(1000);
    Calls().ScriptOpens(nullptr);
    Output("back");
    EXPECT_EQ(Written(), Created() + Frame(402, "back"));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
