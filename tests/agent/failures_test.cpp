// Log files that cannot be written, and signals that must not end the agent.
#include <gmock/gmock.h>
#include <signal.h>

#include <filesystem>

#include "agent/agentfixture.h"
#include "support/pipe.h"
#include "support/smallfilesystem.h"

namespace {

using namespace NS_TEST;
using namespace testing;

class AgentFailures : public AgentTest {
  protected:
    // An agent that logs each line of the pipe, category corbaoper.
    ChildStart Feeding() const { return Agent({"--traffic", "input"}, pipe_.Reader()); }

    void Log(const std::string& line) const { pipe_.Write(line + "\n"); }

    bool HasLogged(const std::string& text) const {
        return Logged("corbaoper").find(text) != std::string::npos;
    }

    // Ends it; its exit code.
    static int End(ChildProcess& agent) {
        agent.Signal(SIGTERM);
        return agent.Wait().exitCode;
    }

    Pipe pipe_;
};

TEST_F(AgentFailures, AreToldWhileItRunsAndWhenTheyAreOverAndInTheExitCode) {
    WriteFile(Path("log"), "in the way");
    ChildProcess agent(Feeding());
    ASSERT_TRUE(agent.WaitForError("serving"));
    Log("nowhere to go");
    ASSERT_TRUE(agent.WaitForError("corbaoper cannot be written: " + Path("log")));
    EXPECT_THAT(agent.GetErrors(), HasSubstr("1 records lost so far"));
    std::filesystem::remove(Path("log"));
    // The next record is the next attempt, after a pause.
    AwaitThat([this] {
        Log("there is room again");
        return !LogFiles("corbaoper").empty();
    });
    ASSERT_TRUE(agent.WaitForError("corbaoper is written again"));
    EXPECT_EQ(End(agent), 1);
    EXPECT_THAT(Details("corbaoper"), Contains("there is room again"));
}

TEST_F(AgentFailures, ThatComeBeforeTheFirstLookAreToldAtTheEnd) {
    WriteFile(Path("log"), "in the way");
    const ChildResult result = RunWith("lost\n", {"--traffic", "input"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr("corbaoper cannot be written: "));
}

TEST_F(AgentFailures, WithoutALossEndWithZero) {
    EXPECT_EQ(RunWith("kept\n", {"--traffic", "input"}).exitCode, 0);
}

TEST_F(AgentFailures, AFileAtTheProcessesLimitIsLikeAFullDisk) {
    // With the first policy the next file empties the one before, when it comes in the same second.
    for (const char* policy : {"contract", "keeprecords"}) {
        SCOPED_TRACE(policy);
        std::filesystem::remove_all(Path("log"));
        Configure(std::string("bundles = qv_base_log\nlogfilepolicy = ") + policy + "\n");
        ChildStart start = Feeding();
        start.words.insert(start.words.begin(), {"prlimit", "--fsize=4096"});
        // Where coverage is counted: the limit would cut the counters' files as well.
        start.variables["GCOV_PREFIX"] = Path("counters");
        ChildProcess agent(start);
        ASSERT_TRUE(agent.WaitForError("serving"));
        Log("short enough");
        Log(std::string(5000, 'x'));
        ASSERT_TRUE(agent.WaitForError(": File too large; "));
        EXPECT_EQ(End(agent), 1);
        EXPECT_THAT(Logged("corbaoper"), Not(HasSubstr("xxx")));
    }
    EXPECT_THAT(Details("corbaoper"), ElementsAre("short enough"));
}

TEST_F(AgentFailures, AFullDiskIsToldAndIsOverWhenThereIsRoomAgain) {
    const std::string disk = Path("disk");
    const SmallFileSystem small(disk, 65536, 100);
    if (!small.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    Configure("bundles = qv_base_log\nlogfilepolicy = keeprecords\nlogpath = " + disk + "\n");
    ChildProcess agent(Feeding());
    ASSERT_TRUE(agent.WaitForError("serving"));
    small.Fill("filler");
    Log(std::string(6000, 'x'));
    ASSERT_TRUE(agent.WaitForError("corbaoper cannot be written: " + disk));
    EXPECT_THAT(agent.GetErrors(), HasSubstr("No space left on device; 1 records lost so far"));
    std::filesystem::remove(disk + "/filler");
    AwaitThat([&] {
        Log("room");
        const std::vector<std::string> names = ListLogFiles(disk, "corbaoper");
        return !names.empty() &&
               ReadFile(disk + "/" + names.front()).find("room") != std::string::npos;
    });
    ASSERT_TRUE(agent.WaitForError("corbaoper is written again"));
    EXPECT_EQ(End(agent), 1);
}

TEST_F(AgentFailures, SignalsThatNobodySendsForAReasonDoNoHarm) {
    ChildProcess agent(Agent({"--traffic", "none"}));
    ASSERT_TRUE(agent.WaitForError("serving"));
    for (const int number : {SIGUSR1, SIGUSR2, SIGALRM, SIGXFSZ, SIGPIPE, SIGHUP}) {
        agent.Signal(number);
    }
    EXPECT_EQ(End(agent), 0);
}

TEST_F(AgentFailures, AHangupHasTheFilesOpenedAgain) {
    ChildProcess agent(Feeding());
    ASSERT_TRUE(agent.WaitForError("serving"));
    Log("before");
    AwaitThat([this] { return HasLogged("before"); });
    const std::string path = LogFiles("corbaoper").front();
    std::filesystem::rename(path, Path("moved"));
    agent.Signal(SIGHUP);
    AwaitThat([this] { return !LogFiles("corbaoper").empty(); });
    Log("after");
    AwaitThat([this] { return HasLogged("after"); });
    EXPECT_EQ(End(agent), 0);
    EXPECT_EQ(LogFiles("corbaoper"), std::vector<std::string>{path});
    EXPECT_THAT(ReadFile(Path("moved")), AllOf(HasSubstr("before"), Not(HasSubstr("after"))));
    EXPECT_THAT(ReadFile(path), AllOf(HasSubstr("after"), Not(HasSubstr("before"))));
}

}  // namespace
