// The manager's seven channels: made with its sizes, reached by its loggers, written out together.
#include "manager/managerfixture.h"
#include "support/onthreads.h"

using NS_LOG_SERVICE1::kLogCategories;
using NS_LOG_SERVICE1::LogMgr;
using NS_LOG_SERVICE1::TEDebugInfoBuf;
using NS_TEST::Frame;

namespace {

class ManagerChannels : public NS_TEST::BareManagerTest {
  protected:
    static std::vector<TEDebugInfoBuf*> AllChannels() {
        std::vector<TEDebugInfoBuf*> all;
        Manager().Channels().ForEach(
            [&all](const std::string&, TEDebugInfoBuf& channel) { all.push_back(&channel); });
        return all;
    }
    static void LogIntoEachCategory() {
        for (const char* category : kLogCategories) {
            Manager().GetLogger("a", "b", category)->Log("f.cpp", "Run", 7, -1, category);
        }
    }
};

TEST_F(ManagerChannels, HaveTheSizesOfTheMomentOfTheirFirstCreation) {
    Manager().queuebuflength = 17;
    Manager().filterbuflength = 4'000'000'000;
    Manager().logfilesize = 1;
    Manager().CreateChannels();
    const auto before = AllChannels();
    Manager().queuebuflength = 18;
    Manager().filterbuflength = 19;
    Manager().logfilesize = 1'000'000;
    Manager().CreateChannels();
    EXPECT_EQ(AllChannels(), before);
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    LogIntoEachCategory();
    ASSERT_EQ(AllChannels().size(), 7u);
    for (const TEDebugInfoBuf* channel : AllChannels()) {
        EXPECT_EQ(channel->QueueCapacity(), 17u);
        EXPECT_EQ(channel->KeptCapacity(), 4'000'000'000u);
        EXPECT_EQ(channel->FileStatistics().rotations.Get(), 1u);
    }
}

TEST_F(ManagerChannels, WriteTheirCategorysRecordsIntoFilesOfItsName) {
    Manager().CreateChannels();
    LogIntoEachCategory();
    for (const char* category : kLogCategories) {
        EXPECT_THAT(Files(category), testing::ElementsAre(testing::MatchesRegex(
                                         "unbi_" + std::string(category) + "_[0-9]{8}_[0-9]{6}_" +
                                         std::to_string(getpid()) + "\\.log")));
        EXPECT_EQ(Written(category), Frame(1, -1, category));
    }
}

TEST_F(ManagerChannels, AreAllWrittenOutByOneCallThatHoldsNoLockAfterwards) {
    Manager().CreateChannels();
    Manager().outputmode = 1;
    LogIntoEachCategory();
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    Manager().FlushAll();
    EXPECT_TRUE(NS_TEST::EndsOnAnotherThread([] { Manager().FlushAll(); }));
    for (const char* category : kLogCategories) {
        EXPECT_EQ(Written(category), Frame(1, -1, category));
    }
}

// Loggers are made, written and flushed at once: the locks are always taken in one order.
TEST_F(ManagerChannels, AreWrittenOutWhileOthersMakeLoggers) {
    Manager().CreateChannels();
    Manager().outputmode = 1;
    NS_TEST::OnThreads(8, [](int number) {
        for (int round = 0; round < 100; ++round) {
            if (number % 2 == 0) {
                Manager()
                    .GetLogger(std::to_string(number), std::to_string(round), "debug")
                    ->Log("f.cpp", "Run", 7, -1, "text");
            } else {
                Manager().FlushAll();
            }
        }
    });
    Manager().FlushAll();
    EXPECT_EQ(Manager().Channels().Find("debug")->FileStatistics().recordsWritten.Get(), 400u);
}

}  // namespace
