// The channels of the log categories.
#include "channel/channelmap.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <string>

#include "channel/channelfixture.h"
#include "support/waiting.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class Channels : public FrozenClockTest {
  protected:
    Texts Names() {
        Texts names;
        channels_.ForEach(
            [&names](const std::string& name, TEDebugInfoBuf&) { names.push_back(name); });
        return names;
    }
    // A record with the name of its category waits in each channel, except in that of "debug".
    void QueueNames() {
        channels_.ForEach([](const std::string& name, TEDebugInfoBuf& channel) {
            if (name != "debug") {
                channel.AppendOutputInfo(WithDetail(name).Get());
            }
        });
    }
    std::string WrittenBy(const std::string& category) const {
        return ReadFile(Path("log/" + NameNow("unbi_" + category + "_")));
    }
    // The details of the records that `action` writes, in the order of writing.
    static Texts OrderOfWriting(const std::function<void()>& action) {
        Texts order;
        Calls().ScriptWrites([&order](uint64_t, std::string_view bytes) {
            for (const auto& piece : ParseLogText(std::string(bytes))) {
                if (piece.kind == ParsedPiece::RECORD) {
                    order.push_back(piece.record.detail);
                }
            }
            return Fate();
        });
        action();
        Calls().ScriptWrites(nullptr);
        return order;
    }

    const Texts sorted_ = {"corba_alarm", "corba_internal_oper", "corbadebug",
                           "corbanotify", "corbaoper",           "corbasys",
                           "debug"};
    const Texts allButDebug_{sorted_.begin(), sorted_.end() - 1};
    LogSettings settings_;
    ChannelMap channels_;
};

TEST_F(Channels, ExistForSevenCategories) {
    EXPECT_EQ(Texts(kLogCategories.begin(), kLogCategories.end()),
              Texts({"debug", "corbadebug", "corbanotify", "corba_alarm", "corbasys", "corbaoper",
                     "corba_internal_oper"}));
    EXPECT_EQ(Names(), Texts());
    channels_.Create(settings_);
    EXPECT_EQ(Names(), sorted_);
    for (const std::string& name : sorted_) {
        EXPECT_NE(channels_.Find(name), nullptr);
        EXPECT_TRUE(IsLogCategory(name));
    }
    EXPECT_EQ(ListFiles(Path()), Texts());
}

TEST_F(Channels, HaveNothingToWriteBeforeDeathUntilTheyExist) {
    channels_.WriteBeforeDeath();
    EXPECT_EQ(Names(), Texts());
    EXPECT_EQ(ListFiles(Path()), Texts());
}

TEST_F(Channels, AreFoundByTheExactName) {
    channels_.Create(settings_);
    for (const char* const name : {"CorbaOper", "corba", "corbaope", "corbaoperx", " debug", ""}) {
        EXPECT_FALSE(IsLogCategory(name));
        EXPECT_EQ(channels_.Find(name), nullptr);
    }
    EXPECT_FALSE(IsLogCategory(std::string("debug\0", 6)));
    EXPECT_EQ(Names(), sorted_);
    channels_.FlushAll();
    channels_.Destroy();
}

TEST_F(Channels, AreCreatedOnceWithTheSizesOfThatMoment) {
    settings_.queuebuflength = 7;
    settings_.filterbuflength = 4'000'000'000;
    settings_.logfilesize = 1;
    settings_.logfilecount = 9;
    channels_.Create(settings_);
    TEDebugInfoBuf* const debug = channels_.Find("debug");
    settings_.queuebuflength = 70;
    settings_.filterbuflength = 80;
    channels_.Create(settings_);
    EXPECT_EQ(channels_.Find("debug"), debug);
    EXPECT_EQ(Names(), sorted_);
    channels_.ForEach([](const std::string&, TEDebugInfoBuf& channel) {
        EXPECT_EQ(channel.QueueCapacity(), 7u);
        EXPECT_EQ(channel.KeptCapacity(), 4'000'000'000u);
        channel.Output(WithDetail("text").Get());
        EXPECT_EQ(channel.FileStatistics().rotations.Get(), 1u);
    });
}

TEST_F(Channels, AreFlushedTogetherInTheOrderOfTheirNames) {
    channels_.Create(settings_);
    QueueNames();
    EXPECT_EQ(OrderOfWriting([this] { channels_.FlushAll(); }), allButDebug_);
    for (const std::string& name : allButDebug_) {
        EXPECT_EQ(WrittenBy(name), Created() + Frame(1, name));
    }
    EXPECT_EQ(WrittenBy("debug"), Created());
}

// A new logger looks for its channel, and an operator for the statistics. Neither must wait for the
// disk.
TEST_F(Channels, AreFoundAndListedWhileTheyAreWrittenOut) {
    channels_.Create(settings_);
    const auto flushOneByOne = [this] {
        channels_.ForEach([](const std::string&, TEDebugInfoBuf& channel) { channel.Flush(); });
    };
    for (const std::function<void()>& writeOut :
         {std::function<void()>(flushOneByOne),
          std::function<void()>([this] { channels_.FlushAll(); })}) {
        QueueNames();
        size_t writes = 0;
        Calls().ScriptWrites([this, &writes](uint64_t, std::string_view bytes) {
            if (bytes.find("Detail: ") != std::string_view::npos) {
                ++writes;
                EXPECT_TRUE(FinishesOnAnotherThread([this] {
                    for (const std::string& name : sorted_) {
                        EXPECT_NE(channels_.Find(name), nullptr);
                    }
                    EXPECT_EQ(Names(), sorted_);
                    EXPECT_EQ(channels_.Policy(), FilePolicy::kContract);
                }));
            }
            return Fate();
        });
        writeOut();
        Calls().ScriptWrites(nullptr);
        EXPECT_EQ(writes, allButDebug_.size());
    }
}

TEST_F(Channels, AreNotFoundFromBeforeAForkUntilAfterIt) {
    channels_.BeforeFork();
    std::future<TEDebugInfoBuf*> found =
        std::async(std::launch::async, [this] { return channels_.Find("debug"); });
    EXPECT_TRUE(IsStillBlocked(found));
    channels_.AfterForkInParent();
    EXPECT_TRUE(Finishes(found));
}

TEST_F(Channels, AreWrittenAndClosedInTheOrderOfTheirNamesWhenTheyAreDestroyed) {
    channels_.Create(settings_);
    QueueNames();
    channels_.Find("corbasys")->AppendFiltered(WithDetail("kept").Get());
    EXPECT_EQ(OrderOfWriting([this] { channels_.Destroy(); }), allButDebug_);
    for (const std::string& name : allButDebug_) {
        EXPECT_EQ(WrittenBy(name), Created() + Frame(1, name) + Closed());
    }
    EXPECT_EQ(WrittenBy("debug"), Created() + Closed());
    EXPECT_EQ(Names(), Texts());
    EXPECT_EQ(channels_.Find("debug"), nullptr);
    channels_.Destroy();
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
