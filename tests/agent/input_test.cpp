// How the agent tells an input that is to be logged from one that is none.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <filesystem>

#include "agent/agentfixture.h"
#include "support/pipe.h"

namespace {

using namespace NS_TEST;
using namespace testing;

class AgentInput : public AgentTest {
  protected:
    // The sample uses all categories, the input only one.
    bool HasRunSample() const { return !Records("corba_alarm").empty(); }

    ChildStart AgentWith(int input) const { return Agent({}, input); }

    // Expects an agent that serves nothing but requests, and plays the sample when it is told to.
    void ExpectNoInput(ChildStart start) const {
        std::filesystem::remove_all(Path("log"));
        ChildProcess agent(start);
        EXPECT_EQ(EndOnce(agent, "serving"), 0);
        EXPECT_FALSE(HasRunSample());
        std::filesystem::remove_all(Path("log"));
        start.words.insert(start.words.end(), {"--traffic", "input-or-sample"});
        EXPECT_EQ(RunProgram(start).exitCode, 0);
        EXPECT_TRUE(HasRunSample());
    }

    int Open(const std::string& path, int flags) {
        const int descriptor = open(path.c_str(), flags | O_CLOEXEC, 0600);
        EXPECT_GE(descriptor, 0) << path;
        return descriptor;
    }
};

// Besides what ends without a byte below.
TEST_F(AgentInput, NullDeviceClosedInputAndEmptyFileAreNoInput) {
    ChildStart closed = Agent({});
    closed.closeInput = true;
    const int empty = Open(Path("empty"), O_RDONLY | O_CREAT);
    for (const ChildStart& start : {Agent({}), closed, AgentWith(empty)}) {
        ExpectNoInput(start);
    }
    close(empty);
}

TEST_F(AgentInput, APipeThatClosesWithoutAByteIsNoInput) {
    Pipe pipe;
    pipe.CloseWriter();
    ExpectNoInput(AgentWith(pipe.Reader()));
}

TEST_F(AgentInput, ATerminalIsNoInput) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const int input = Open(ptsname(terminal), O_RDWR | O_NOCTTY);
    ExpectNoInput(AgentWith(input));
    close(input);
    close(terminal);
}

TEST_F(AgentInput, IsNotWaitedForWhenTheConfigurationIsWrong) {
    for (const char* text : {"bundles = a b\n", "bundles = qv_base_log\nlogfilepolicy = keep\n"}) {
        Configure(text);
        const Pipe pipe;
        ChildProcess agent(AgentWith(pipe.Reader()));
        ASSERT_FALSE(agent.WaitForError("waiting for standard input")) << text;
        EXPECT_EQ(agent.Wait().exitCode, 3) << text;
    }
}

// The items are read behind the wait, and the monitor looks for changes from then on.
TEST_F(AgentInput, WhatChangesInTheConfigurationBeforeTheFirstByteCounts) {
    Pipe pipe;
    ChildProcess agent(AgentWith(pipe.Reader()));
    ASSERT_TRUE(agent.WaitForError("waiting for standard input"));
    Configure("bundles = qv_base_log\nlogswitch = 0,1,0,1\nlogpath = " + Path("changed") + "\n");
    pipe.Write("one\n");
    pipe.CloseWriter();
    EXPECT_EQ(agent.Wait().exitCode, 0);
    ASSERT_EQ(ListLogFiles(Path("changed"), "corbaoper").size(), 1U);
    EXPECT_TRUE(ListFiles(Path("log")).empty());
}

TEST_F(AgentInput, OneByteIsAnInputAndIsNotLost) {
    EXPECT_EQ(RunWith("x", {}).exitCode, 0);
    EXPECT_THAT(Details("corbaoper"), ElementsAre("x"));
    EXPECT_FALSE(HasRunSample());
}

TEST_F(AgentInput, ALateWriterIsWaitedFor) {
    Pipe pipe;
    ChildProcess agent(AgentWith(pipe.Reader()));
    ASSERT_TRUE(agent.WaitForError("waiting for standard input"));
    pipe.Write("first\nsecond");
    pipe.CloseWriter();
    EXPECT_EQ(agent.Wait().exitCode, 0);
    EXPECT_THAT(Details("corbaoper"), ElementsAre("first", "second"));
}

TEST_F(AgentInput, ASignalEndsTheWaitForTheFirstByte) {
    const Pipe pipe;
    ChildProcess agent(AgentWith(pipe.Reader()));
    EXPECT_EQ(EndOnce(agent, "waiting for standard input"), 0);
    EXPECT_THAT(LogFiles("corbaoper"), IsEmpty());
}

TEST_F(AgentInput, AStopInTheMiddleLogsWhatHasBeenRead) {
    const Pipe pipe;
    pipe.Write("first\nsecond\nincomp");
    ChildProcess agent(AgentWith(pipe.Reader()));
    // The feed has read everything when the pipe is empty; the writer's end stays open.
    ASSERT_TRUE(agent.WaitForError("serving"));
    int left = 1;
    while (left > 0) {
        ASSERT_EQ(ioctl(pipe.Reader(), FIONREAD, &left), 0);
        sched_yield();
    }
    agent.Signal(SIGTERM);
    EXPECT_EQ(agent.Wait().exitCode, 0);
    EXPECT_THAT(Details("corbaoper"), ElementsAre("first", "second", "incomp"));
}

TEST_F(AgentInput, ASignalEndsAnEndlessInput) {
    const int input = Open("/dev/urandom", O_RDONLY);
    ChildProcess agent(AgentWith(input));
    close(input);
    EXPECT_EQ(EndOnce(agent, "serving"), 0);
    // Parsed to its last byte: no record is torn.
    unsigned long number = 0;
    for (const auto& record : Records("corbaoper")) {
        EXPECT_EQ(record.number, ++number);
    }
}

TEST_F(AgentInput, ADirectoryCannotBeReadAndThatIsAFailure) {
    const int input = Open(Path(), O_RDONLY | O_DIRECTORY);
    const auto result = RunProgram(AgentWith(input));
    close(input);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr("the input cannot be read: Is a directory"));
    EXPECT_THAT(result.errors, HasSubstr("bundle qv_line_feed failed in its work"));
}

TEST_F(AgentInput, AnEmptyInputCanBeAskedForAndTheSampleThoughThereIsInput) {
    EXPECT_EQ(Run({"--traffic", "input"}).exitCode, 0);
    EXPECT_FALSE(HasRunSample());
    EXPECT_THAT(Records("corbaoper"), IsEmpty());
    EXPECT_EQ(RunWith("x\n", {"--sample"}).exitCode, 0);
    EXPECT_TRUE(HasRunSample());
}

}  // namespace
