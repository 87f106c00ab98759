// The files of a running agent: what is lost, what is moved away, and what the operator does about
// it.
#include <gmock/gmock.h>
#include <signal.h>

#include <filesystem>

#include "agentctl/liveagent.h"

namespace {

using NS_TEST::ChildResult;
using NS_TEST::ReadFile;
using NS_TEST::WriteFile;
using namespace testing;

class LiveFiles : public NS_TEST::LiveAgent {};

// received = written + dumped + evicted + dropped + overwritten + queued + cached
TEST_F(LiveFiles, TheBooksOfEachChannelCloseOnceNothingLogs) {
    Start({"--sample", "--keep-running"});
    ASSERT_TRUE(agent_->WaitForError("the clients are done"));
    for (const Json::Value& channel : Channels()) {
        uint64_t sum = 0;
        for (const char* part :
             {"Written", "Dumped", "Evicted", "Dropped", "Overwritten", "Queued", "Cached"}) {
            sum += channel[std::string("records") + part].asUInt64();
        }
        EXPECT_EQ(channel["recordsReceived"].asUInt64(), sum) << channel["category"].asString();
        EXPECT_GT(sum, 0U);
    }
}

TEST_F(LiveFiles, ReopenTakesUpAFileThatWasMoved) {
    StartWithInput();
    Log("before");
    ASSERT_TRUE(AwaitCount("recordsWritten", 1));
    const std::string path = LogFiles("corbaoper").front();
    EXPECT_EQ(Control({"health"}).exitCode, 0);
    std::filesystem::rename(path, Path("moved"));
    const ChildResult health = Control({"health"});
    EXPECT_EQ(health.exitCode, 1);
    EXPECT_EQ(health.output,
              "WARNING: corbaoper: " + path + " was moved or removed while it is written\n");
    EXPECT_THAT(Succeed({"status"}), HasSubstr(path + " (moved or removed)"));
    Succeed({"reopen", "corbasys"});
    EXPECT_EQ(Control({"health"}).exitCode, 1);
    Succeed({"reopen", "corbaoper"});
    EXPECT_EQ(Control({"health"}).exitCode, 0);
    Log("after");
    ASSERT_TRUE(AwaitCount("recordsWritten", 2));
    Stop();
    EXPECT_THAT(ReadFile(Path("moved")), HasSubstr("before"));
    EXPECT_EQ(LogFiles("corbaoper"), std::vector<std::string>{path});
    EXPECT_THAT(Logged("corbaoper"), AllOf(HasSubstr("after"), Not(HasSubstr("before"))));
}

TEST_F(LiveFiles, RotateBeginsNewFiles) {
    Configure("bundles = qv_base_log, qv_control\nlogfilepolicy = keeprecords\n");
    StartWithInput();
    Log("before");
    ASSERT_TRUE(AwaitCount("recordsWritten", 1));
    EXPECT_THAT(Refusal({"rotate", "nonsense"}), HasSubstr("no category \"nonsense\""));
    EXPECT_THAT(Refusal({"reopen", "nonsense"}), HasSubstr("no category \"nonsense\""));
    // A file is not left for one of the same name, which holds the second.
    ASSERT_TRUE(Await([this] {
        Succeed({"rotate"});
        return Channel()["rotations"].asInt() > 0;
    }));
    Log("after");
    ASSERT_TRUE(AwaitCount("recordsWritten", 2));
    Stop();
    EXPECT_THAT(Logged("corbaoper"), AllOf(HasSubstr("before"), HasSubstr("after")));
}

TEST_F(LiveFiles, HealthIsCriticalWhileACategoryCannotBeWrittenAndRemembersTheLoss) {
    Configure("bundles = qv_base_log, qv_control\nlogfilepolicy = keeprecords\n");
    StartWithInput();
    EXPECT_EQ(Succeed({"health"}), "OK: no record was lost, all files are well\n");
    WriteFile(Path("log"), "in the way");
    Log("lost");
    ASSERT_TRUE(AwaitCount("recordsDropped", 1));
    ChildResult health = Control({"health"});
    EXPECT_EQ(health.exitCode, 2);
    EXPECT_THAT(health.output, StartsWith("CRITICAL: corbaoper: cannot be written (last error: "));
    EXPECT_THAT(health.output, HasSubstr("\nWARNING: corbaoper: 1 records were dropped "));
    std::filesystem::remove(Path("log"));
    ASSERT_TRUE(Await([this] {
        Log("there is room again");
        return Channel()["recordsWritten"].asInt() > 0;
    }));
    health = Control({"health", "--json"});
    EXPECT_EQ(health.exitCode, 1);
    EXPECT_EQ(NS_REFERENCE_HOST::ReadJsonObject(health.output)["health"].asInt(), 1);
    agent_->Signal(SIGTERM);
    EXPECT_EQ(agent_->Wait().exitCode, 1);
}

TEST_F(LiveFiles, RecordsThatAreStillQueuedAtTheEndAndCannotBeWrittenAreALoss) {
    StartWithInput();
    Succeed({"queue", "on"});
    WriteFile(Path("log"), "in the way");
    Log("queued");
    ASSERT_TRUE(Await([this] {
        const Json::Value channel = Channel();
        return channel["recordsQueued"].asInt() + channel["recordsDropped"].asInt() == 1;
    }));
    agent_->Signal(SIGTERM);
    EXPECT_EQ(agent_->Wait().exitCode, 1);
    EXPECT_THAT(agent_->GetErrors(), HasSubstr("corbaoper cannot be written: "));
}

TEST_F(LiveFiles, AnAgentSaysAtItsEndWhatWasLost) {
    WriteFile(Path("log"), "in the way");
    StartWithInput();
    Log("nowhere to go");
    ASSERT_TRUE(AwaitCount("recordsDropped", 1));
    Succeed({"level", "1", "off"});
    Log("kept back");
    ASSERT_TRUE(AwaitCount("recordsCached", 1));
    agent_->Signal(SIGTERM);
    EXPECT_EQ(agent_->Wait().exitCode, 1);
    EXPECT_THAT(agent_->GetErrors(),
                HasSubstr("corbaoper: 1 records could not be written (last error: "));
    EXPECT_THAT(agent_->GetErrors(), Not(HasSubstr("switched-off")));
}

}  // namespace
