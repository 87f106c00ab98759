// The seven channels of the manager.
#include <cstdint>
#include <map>

#include "manager/managertest.h"

using NS_LOG_SERVICE1::kLogCategories;
using NS_LOG_SERVICE1::LogMgr;
using NS_LOG_SERVICE1::TEDebugInfoBuf;
using NS_TEST::Frame;
using testing::ElementsAre;

namespace {

using Channels = NS_TEST::BareManagerTest;

std::vector<std::string> ChannelNames() {
    std::vector<std::string> names;
    LogMgr::Instance()->Channels().ForEach(
        [&names](const std::string& name, TEDebugInfoBuf&) { names.push_back(name); });
    return names;
}

std::vector<const TEDebugInfoBuf*> AllChannels() {
    std::vector<const TEDebugInfoBuf*> all;
    LogMgr::Instance()->Channels().ForEach(
        [&all](const std::string&, TEDebugInfoBuf& channel) { all.push_back(&channel); });
    return all;
}

TEST_F(Channels, AreNamedInAFixedOrder) {
    EXPECT_THAT(std::vector<std::string>(kLogCategories.begin(), kLogCategories.end()),
                ElementsAre("debug", "corbadebug", "corbanotify", "corba_alarm", "corbasys",
                            "corbaoper", "corba_internal_oper"));
}

TEST_F(Channels, DoNotExistBeforeTheyAreCreated) {
    EXPECT_TRUE(ChannelNames().empty());
}

TEST_F(Channels, AreOnePerCategoryInTheOrderOfTheNames) {
    Manager().CreateChannels();
    EXPECT_THAT(ChannelNames(), ElementsAre("corba_alarm", "corba_internal_oper", "corbadebug",
                                            "corbanotify", "corbaoper", "corbasys", "debug"));
    for (const char* category : kLogCategories) {
        EXPECT_NE(Manager().Channels().Find(category), nullptr) << category;
    }
}

TEST_F(Channels, HaveTheCapacitiesOfTheMomentOfTheirCreation) {
    Manager().queuebuflength = 17;
    Manager().filterbuflength = 4'000'000'000;
    Manager().CreateChannels();
    Manager().queuebuflength = 18;
    Manager().filterbuflength = 19;
    ASSERT_EQ(AllChannels().size(), 7u);
    for (const TEDebugInfoBuf* channel : AllChannels()) {
        EXPECT_EQ(channel->QueueCapacity(), 17u);
        EXPECT_EQ(channel->KeptCapacity(), 4'000'000'000u);
    }
}

TEST_F(Channels, HaveTheCapacitiesThatAManagerStartsWith) {
    Manager().CreateChannels();
    ASSERT_EQ(AllChannels().size(), 7u);
    for (const TEDebugInfoBuf* channel : AllChannels()) {
        EXPECT_EQ(channel->QueueCapacity(), 16384u);
        EXPECT_EQ(channel->KeptCapacity(), 128u);
    }
}

TEST_F(Channels, RotateAtTheFileSizeOfTheMomentOfTheirCreation) {
    Manager().logfilesize = 1;
    Manager().CreateChannels();
    Manager().logfilesize = 1'000'000;
    Manager().GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, -1, "text");
    EXPECT_EQ(Manager().Channels().Find("debug")->FileStatistics().rotations.Get(), 1u);
}

TEST_F(Channels, AreTheSameAfterASecondCreation) {
    Manager().queuebuflength = 17;
    Manager().CreateChannels();
    const auto before = AllChannels();
    Manager().queuebuflength = 18;
    Manager().CreateChannels();
    EXPECT_EQ(AllChannels(), before);
    for (const TEDebugInfoBuf* channel : AllChannels()) {
        EXPECT_EQ(channel->QueueCapacity(), 17u);
    }
    Manager().GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, -1, "text");
    EXPECT_EQ(Written("debug"), Frame(1, -1, "text"));
}

TEST_F(Channels, TouchNoFileBeforeTheFirstRecord) {
    Manager().CreateChannels();
    Manager().GetLogger("a", "b", "debug");
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
}

TEST_F(Channels, RememberAnUnknownNameWithoutAChannel) {
    Manager().CreateChannels();
    EXPECT_EQ(Manager().Channels().Find("nonsense"), nullptr);
    EXPECT_EQ(Manager().Channels().Find("nonsense"), nullptr);
    EXPECT_EQ(ChannelNames().size(), 7u);
    Manager().FlushAll();
    EXPECT_EQ(NS_TEST::ListFiles(Path("log")).size(), 7u);
}

TEST_F(Channels, HaveFileNamesThatShowTheirCategory) {
    Manager().CreateChannels();
    for (const char* category : kLogCategories) {
        Manager().GetLogger("a", "b", category)->Log("f.cpp", "Run", 7, -1, category);
    }
    for (const char* category : kLogCategories) {
        ASSERT_EQ(Files(category).size(), 1u) << category;
        EXPECT_THAT(Files(category).front(),
                    testing::MatchesRegex("unbi_" + std::string(category) + "_[0-9]{8}_[0-9]{6}_" +
                                          std::to_string(getpid()) + "\\.log"));
        EXPECT_EQ(Written(category), Frame(1, -1, category));
    }
}

TEST_F(Channels, AreAllWrittenOutByOneCall) {
    Manager().CreateChannels();
    Manager().outputmode = 1;
    for (const char* category : kLogCategories) {
        Manager().GetLogger("a", "b", category)->Log("f.cpp", "Run", 7, -1, category);
    }
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    Manager().FlushAll();
    for (const char* category : kLogCategories) {
        EXPECT_EQ(Written(category), Frame(1, -1, category));
    }
    Manager().FlushAll();
    EXPECT_EQ(Written("debug"), Frame(1, -1, "debug"));
}

TEST_F(Channels, HoldNoLockAfterTheyWereWrittenOut) {
    Manager().CreateChannels();
    Manager().FlushAll();
    EXPECT_TRUE(NS_TEST::EndsOnAnotherThread([] {
        Manager().GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, -1, "text");
        Manager().FlushAll();
    }));
}

// Loggers are made, written and flushed at once: the locks are always taken in one order.
TEST_F(Channels, AreWrittenOutWhileOthersMakeLoggers) {
    Manager().CreateChannels();
    Manager().outputmode = 1;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([number] {
            for (int round = 0; round < 100; ++round) {
                Manager()
                    .GetLogger(std::to_string(number), std::to_string(round), "debug")
                    ->Log("f.cpp", "Run", 7, -1, "text");
            }
        });
        threads.emplace_back([] {
            for (int round = 0; round < 100; ++round) {
                Manager().FlushAll();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Manager().FlushAll();
    EXPECT_EQ(Manager().Channels().Find("debug")->FileStatistics().recordsWritten.Get(), 400u);
}

}  // namespace
