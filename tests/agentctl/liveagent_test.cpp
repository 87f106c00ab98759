// Every command of the control program against a running agent.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>

#include "agentctl/liveagent.h"
#include "support/onthreads.h"

namespace {

using namespace NS_TEST;
using namespace testing;

TEST_F(LiveAgent, StatusShowsTheSevenChannels) {
    Start();
    const std::string status = Succeed({"status"});
    EXPECT_THAT(status, HasSubstr("output: direct (mode 0)\n"));
    for (const std::string& category : kCategories) {
        EXPECT_THAT(status, HasSubstr("\n" + category + " "));
    }
    EXPECT_EQ(Channels().size(), kCategories.size());
    Stop();
    EXPECT_FALSE(std::filesystem::exists(socket_));
}

TEST_F(LiveAgent, StatusCountsWhatIsWritten) {
    StartWithInput();
    Log("one");
    Log("two");
    ASSERT_TRUE(AwaitCount("recordsWritten", 2));
    const Json::Value channel = Channel();
    EXPECT_EQ(channel["bytesWritten"].asUInt64(),
              std::filesystem::file_size(channel["currentFile"].asString()));
    EXPECT_EQ(channel["lastError"].asInt(), 0);
    EXPECT_THAT(Succeed({"status"}), HasSubstr(channel["currentFile"].asString()));
}

TEST_F(LiveAgent, QueuedRecordsAreWrittenAfterTheIntervalOrAtTheEndWithoutAnyFlush) {
    StartWithInput();
    EXPECT_THAT(Succeed({"queue", "on"}), HasSubstr("queued (mode 1), written out periodically"));
    EXPECT_TRUE(IsPeriodic());
    Log("written by the schedule service");
    ASSERT_TRUE(AwaitCount("recordsWritten", 1));
    EXPECT_EQ(Channel()["recordsQueuedMost"].asInt(), 1);
    EXPECT_THAT(Logged("corbaoper"), HasSubstr("written by the schedule service"));
    Log("once more");
    EXPECT_TRUE(
        Await([this] { return Logged("corbaoper").find("once more") != std::string::npos; }));
    EXPECT_THAT(Succeed({"queue", "off"}), HasSubstr("direct"));
    EXPECT_FALSE(IsPeriodic());
    Succeed({"queue", "on"});
    Log("the last word");
    ASSERT_TRUE(Await([this] {
        const Json::Value channel = Channel();
        return channel["recordsWritten"].asInt() + channel["recordsQueued"].asInt() == 3;
    }));
    Stop();
    EXPECT_THAT(Logged("corbaoper"), HasSubstr("the last word"));
}

// The product's own interval: nothing shortens it from outside.
TEST_F(LiveAgent, AppliesAChangeOfTheConfigurationWithinHalfAMinute) {
    StartWithInput();
    Log("known before");
    ASSERT_TRUE(AwaitCount("recordsWritten", 1));
    const auto later = std::filesystem::last_write_time(configFile_) + std::chrono::seconds(10);
    std::string text = ReadFile(configFile_);
    const std::string levels = "logswitch = 1,1,1,1";
    WriteFile(Path("new"), text.replace(text.find(levels), levels.size(), "logswitch = 1,0,1,1"));
    std::filesystem::last_write_time(Path("new"), later);
    std::filesystem::rename(Path("new"), configFile_);
    ASSERT_TRUE(agent_->WaitForError("LogLevel_1 close ")) << agent_->GetErrors();
    ASSERT_TRUE(Await([this] { return !Loggers()[0]["levels"][1].asBool(); }));
    Log("kept back now");
    ASSERT_TRUE(AwaitCount("recordsCached", 1));
    EXPECT_EQ(Channel()["recordsWritten"].asInt(), 1);
    Stop();
}

TEST_F(LiveAgent, WithoutTheScheduleServiceQueuedRecordsWaitForFlushOrTheQueuesEnd) {
    Configure("bundles = qv_base_log, qv_control\n");
    StartWithInput();
    EXPECT_THAT(Succeed({"queue", "on"}), HasSubstr("not written out periodically"));
    Log("waiting");
    ASSERT_TRUE(AwaitCount("recordsQueued", 1));
    EXPECT_THAT(Logged("corbaoper"), Not(HasSubstr("waiting")));
    EXPECT_THAT(Succeed({"flush"}), IsEmpty());
    EXPECT_THAT(Logged("corbaoper"), HasSubstr("waiting"));
    EXPECT_EQ(Channel()["recordsQueued"].asInt(), 0);
    Log("the last");
    ASSERT_TRUE(AwaitCount("recordsQueued", 1));
    Succeed({"queue", "off"});
    EXPECT_THAT(Logged("corbaoper"), HasSubstr("the last"));
}

TEST_F(LiveAgent, LevelsAreSwitchedGloballyAndPerLogger) {
    Start({"--sample", "--keep-running"});
    ASSERT_TRUE(agent_->WaitForError("the clients are done"));
    Succeed({"level", "1", "off"});
    const Json::Value all = Loggers();
    for (const Json::Value& logger : all) {
        EXPECT_FALSE(logger["levels"][1].asBool());
    }
    const Json::Value chosen = all[2];
    Succeed({"level", "1", "on", chosen["first"].asString(), chosen["second"].asString(),
             chosen["category"].asString()});
    const Json::Value changed = Loggers();
    for (Json::ArrayIndex index = 0; index < all.size(); ++index) {
        EXPECT_EQ(changed[index]["levels"][1].asBool(), index == 2);
    }
    EXPECT_THAT(Succeed({"loggers"}), HasSubstr(chosen["second"].asString()));
    EXPECT_THAT(Refusal({"level", "1", "on", "no", "such", "logger"}), HasSubstr("no such logger"));
}

TEST_F(LiveAgent, ALevelThatIsOffKeepsRecordsBackAndFlushallWritesThem) {
    StartWithInput();
    Log("first");
    ASSERT_TRUE(AwaitCount("recordsWritten", 1));
    Succeed({"level", "1", "off"});
    Log("kept back");
    ASSERT_TRUE(AwaitCount("recordsCached", 1));
    Succeed({"flushall", "debug"});
    EXPECT_THAT(Logged("corbaoper"), Not(HasSubstr("kept back")));
    Succeed({"flushall", "corbaoper"});
    EXPECT_THAT(Logged("corbaoper"), HasSubstr("kept back"));
    EXPECT_EQ(Channel()["recordsCached"].asInt(), 0);
    EXPECT_EQ(Channel()["recordsDumped"].asInt(), 1);
}

TEST_F(LiveAgent, FlushallWithoutACategoryDumpsEveryChannel) {
    Start();
    Succeed({"flushall"});
    const Json::Value channels = Channels();
    for (const Json::Value& channel : channels) {
        EXPECT_THAT(Logged(channel["category"].asString()), HasSubstr("maintenance command"));
    }
    EXPECT_THAT(Refusal({"flushall", "nonsense"}), HasSubstr("no category \"nonsense\""));
}

TEST_F(LiveAgent, ModulesAreSwitched) {
    Start();
    EXPECT_THAT(Succeed({"module", "show"}), HasSubstr("all modules are on"));
    EXPECT_EQ(Succeed({"module", "7", "show"}), "module 7 is on\n");
    EXPECT_EQ(Succeed({"module", "7", "off"}), "module 7 is off\n");
    EXPECT_EQ(Succeed({"module", "2147483647", "off"}), "module 2147483647 is off\n");
    EXPECT_EQ(Succeed({"module", "7", "show"}), "module 7 is off\n");
    const Json::Value modules = Data({"module", "show"})["modules"];
    ASSERT_EQ(modules.size(), 2U);
    EXPECT_EQ(modules[0]["module"].asInt(), 7);
    EXPECT_EQ(modules[1]["module"].asInt(), 2147483647);
    EXPECT_EQ(Succeed({"module", "7", "on"}), "module 7 is on\n");
}

TEST_F(LiveAgent, ModeEndsThePeriodicOutputAndRefusesWhatItDoesNotKnow) {
    Start();
    EXPECT_THAT(Succeed({"mode", "0"}), IsEmpty());
    EXPECT_THAT(Succeed({"mode", "1"}), IsEmpty());
    EXPECT_EQ(Data({"status"})["mode"].asInt(), 0);
    EXPECT_THAT(Refusal({"mode", "2"}), HasSubstr("neither 0 nor 1 (0x41180003)"));
    Succeed({"queue", "on"});
    Succeed({"mode", "0"});
    EXPECT_FALSE(IsPeriodic());
    // The task has gone and can be deleted no second time; there is nothing more to end either.
    EXPECT_THAT(Refusal({"mode", "0"}), HasSubstr("refused to delete the periodic output task"));
    Succeed({"queue", "on"});
    EXPECT_TRUE(IsPeriodic());
    Succeed({"queue", "off"});
    EXPECT_EQ(Data({"status"})["mode"].asInt(), 0);
}

TEST_F(LiveAgent, StatusTellsWhatTheAgentIsAndWhichLevelsAreOn) {
    const time_t before = time(nullptr);
    Start();
    Succeed({"level", "2", "off"});
    const Json::Value data = Data({"status"});
    EXPECT_EQ(data["agent"]["process"].asInt(), agent_->GetId());
    EXPECT_EQ(data["agent"]["configuration"].asString(), configFile_);
    EXPECT_GE(data["agent"]["startTime"].asInt64(), before);
    EXPECT_LE(data["agent"]["startTime"].asInt64(), time(nullptr));
    EXPECT_THAT(Succeed({"status"}),
                HasSubstr("levels: 0 on, 1 on, 2 off, 3 on; ASN messages on; output parameters "
                          "off\nfiles: emptied"));
    Stop();
    Configure("bundles = qv_base_log, qv_control\nlogfilepolicy = keeprecords\n");
    Start();
    EXPECT_THAT(Succeed({"status"}), HasSubstr("files: continued"));
}

TEST_F(LiveAgent, WithoutTheLoggingServiceEveryCommandIsRefused) {
    Configure("bundles = qv_control\n");
    Start();
    for (const char* command :
         {"status", "reopen", "rotate", "flush", "flushall", "queue on", "loggers", "mode 0",
          "module show", "level 1 on", "module 7 show"}) {
        EXPECT_THAT(Refusal(SplitText(command, ' ')), HasSubstr("runs no logging service"));
    }
    const ChildResult health = Control({"health"});
    EXPECT_EQ(health.exitCode, 4);
    EXPECT_THAT(health.errors, HasSubstr("runs no logging service"));
    Stop();
}

TEST_F(LiveAgent, ASecondAgentInTheSameDirectoryStartsOnlyOnceTheFirstWasKilled) {
    Start();
    const ChildResult second = Run({"--traffic", "none"});
    EXPECT_EQ(second.exitCode, 7);
    EXPECT_THAT(second.errors, HasSubstr("another agent serves this directory"));
    EXPECT_THAT(Succeed({"status"}), HasSubstr("output: direct"));
    agent_->Signal(SIGKILL);
    EXPECT_EQ(agent_->Wait().exitCode, -SIGKILL);
    EXPECT_TRUE(std::filesystem::exists(socket_));
    EXPECT_EQ(Control({"status"}).exitCode, 3);
    Start();
    EXPECT_THAT(Succeed({"status"}), HasSubstr("output: direct"));
    struct stat found {};
    ASSERT_EQ(stat(socket_.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0600U);
}

TEST_F(LiveAgent, EightOperatorsAtOnceWhileEightThreadsLog) {
    Start({"--sample", "--threads", "8", "--operations", "1000000"});
    ASSERT_TRUE(Await([this] { return Channel()["recordsWritten"].asInt() > 0; }));
    const std::vector<std::string> commands = {"status",    "flush",       "flushall",   "queue on",
                                               "queue off", "level 3 off", "level 3 on", "loggers",
                                               "reopen",    "rotate"};
    std::atomic<int> failed{0};
    OnThreads(commands.size(), [&](std::size_t index) {
        for (std::size_t round = 0; round < 4; ++round) {
            const std::string& command = commands[(index + round) % commands.size()];
            failed += Control(SplitText(command, ' ')).exitCode == 0 ? 0 : 1;
        }
    });
    EXPECT_EQ(failed, 0);
    Succeed({"queue", "off"});
    const Json::Value channels = Channels();
    for (const Json::Value& channel : channels) {
        EXPECT_EQ(channel["recordsDropped"].asUInt64(), 0U);
    }
    Stop();
}

}  // namespace
