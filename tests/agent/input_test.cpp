// How the agent tells an input that is to be logged from one that is none.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "agentfixture.h"

namespace {

using NS_TEST::AgentProcess;
using NS_TEST::AgentStart;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class AgentInput : public NS_TEST::AgentTest {
  protected:
    // The sample uses all categories, the input only one.
    bool HasRunSample() const { return !Records("corba_alarm").empty(); }
};

// Both ends of a pipe.
class Pipe {
  public:
    Pipe() {
        if (pipe2(ends_, O_CLOEXEC) != 0) {
            ADD_FAILURE() << "pipe2";
        }
    }
    ~Pipe() {
        close(ends_[0]);
        CloseWriter();
    }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int Reader() const { return ends_[0]; }

    void Write(const std::string& text) const {
        ASSERT_EQ(write(ends_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void CloseWriter() {
        if (ends_[1] >= 0) {
            close(ends_[1]);
            ends_[1] = -1;
        }
    }

  private:
    int ends_[2] = {-1, -1};
};

TEST_F(AgentInput, NullDeviceMeansTheSample) {
    EXPECT_EQ(Run({}).exitCode, 0);
    EXPECT_TRUE(HasRunSample());
}

TEST_F(AgentInput, ClosedInputMeansTheSample) {
    AgentStart start = Start({});
    start.closeInput = true;
    EXPECT_EQ(RunAs(start).exitCode, 0);
    EXPECT_TRUE(HasRunSample());
}

TEST_F(AgentInput, EmptyFileMeansTheSample) {
    EXPECT_EQ(RunWith("", {}).exitCode, 0);
    EXPECT_TRUE(HasRunSample());
}

TEST_F(AgentInput, PipeThatClosesWithoutAByteMeansTheSample) {
    Pipe pipe;
    AgentStart start = Start({});
    start.input = pipe.Reader();
    AgentProcess agent(start);
    pipe.CloseWriter();
    EXPECT_EQ(agent.Wait(), 0);
    EXPECT_TRUE(HasRunSample());
}

TEST_F(AgentInput, TerminalMeansTheSample) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    AgentStart start = Start({});
    start.input = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(start.input, 0);
    EXPECT_EQ(RunAs(start).exitCode, 0);
    EXPECT_TRUE(HasRunSample());
    close(start.input);
    close(terminal);
}

TEST_F(AgentInput, OneByteIsAnInputAndIsNotLost) {
    EXPECT_EQ(RunWith("x", {}).exitCode, 0);
    const auto records = Records("corbaoper");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front().record.detail, "x");
    EXPECT_FALSE(HasRunSample());
}

TEST_F(AgentInput, ALateWriterIsWaitedFor) {
    Pipe pipe;
    AgentStart start = Start({});
    start.input = pipe.Reader();
    AgentProcess agent(start);
    ASSERT_TRUE(agent.WaitForError("waiting for standard input"));
    pipe.Write("first\nsecond");
    pipe.CloseWriter();
    EXPECT_EQ(agent.Wait(), 0);
    const auto records = Records("corbaoper");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].record.detail, "first");
    EXPECT_EQ(records[1].record.detail, "second");
}

TEST_F(AgentInput, ASignalEndsTheWaitForTheFirstByte) {
    Pipe pipe;
    AgentStart start = Start({});
    start.input = pipe.Reader();
    AgentProcess agent(start);
    ASSERT_TRUE(agent.WaitForError("waiting for standard input"));
    agent.Signal(SIGTERM);
    EXPECT_EQ(agent.Wait(), 0);
    EXPECT_THAT(NS_TEST::AgentTest::LogFiles("corbaoper"), IsEmpty());
}

TEST_F(AgentInput, AStopInTheMiddleLogsWhatHasBeenRead) {
    Pipe pipe;
    pipe.Write("first\nsecond\nincomp");
    AgentStart start = Start({"--summary"});
    start.input = pipe.Reader();
    AgentProcess agent(start);
    // The feed has read everything when the pipe is empty; the writer's end stays open.
    ASSERT_TRUE(agent.WaitForError("serving"));
    int left = 1;
    while (left > 0) {
        ASSERT_EQ(ioctl(pipe.Reader(), FIONREAD, &left), 0);
        sched_yield();
    }
    agent.Signal(SIGTERM);
    EXPECT_EQ(agent.Wait(), 0);
    const auto records = Records("corbaoper");
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[1].record.detail, "second");
    EXPECT_EQ(records[2].record.detail, "incomp");
}

TEST_F(AgentInput, ASignalEndsAnEndlessInput) {
    AgentStart start = Start({});
    start.input = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(start.input, 0);
    AgentProcess agent(start);
    close(start.input);
    ASSERT_TRUE(agent.WaitForError("serving"));
    agent.Signal(SIGTERM);
    EXPECT_EQ(agent.Wait(), 0);
    // Parsed to its last byte: no record is torn.
    unsigned long number = 0;
    for (const auto& record : Records("corbaoper")) {
        EXPECT_EQ(record.number, ++number);
    }
}

TEST_F(AgentInput, ADirectoryCannotBeReadAndThatIsAFailure) {
    AgentStart start = Start({});
    start.input = open(Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(start.input, 0);
    const auto result = RunAs(start);
    close(start.input);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr("the input cannot be read: Is a directory"));
    EXPECT_THAT(result.errors, HasSubstr("bundle qv_line_feed failed in its work"));
}

TEST_F(AgentInput, TheSampleCanBeAskedForThoughThereIsInput) {
    EXPECT_EQ(RunWith("x\n", {"--sample"}).exitCode, 0);
    EXPECT_TRUE(HasRunSample());
}

TEST_F(AgentInput, AnEmptyInputCanBeAskedFor) {
    EXPECT_EQ(Run({"--traffic", "input"}).exitCode, 0);
    EXPECT_FALSE(HasRunSample());
    EXPECT_THAT(Records("corbaoper"), IsEmpty());
}

}  // namespace
