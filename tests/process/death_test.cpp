// What is left of the queues when the agent dies of a signal, or exits.
#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>

#include "agent/agentfixture.h"

namespace NS_TEST {
namespace {

using namespace testing;

class DyingAgent : public AgentTest {
  protected:
    // The sanitizers' own handlers would end the process in another way.
    static ChildStart WithoutSanitizersHandlers(ChildStart start) {
        const std::string off = "handle_segv=0:handle_sigbus=0:handle_abort=0:";
        start.variables = {{"ASAN_OPTIONS", off + "detect_leaks=0"},
                           {"TSAN_OPTIONS", off + "report_bugs=0:atexit_sleep_ms=50"}};
        return start;
    }

    // Runs an agent whose bundle dies in that way, until it is dead.
    ChildResult Die(const std::string& how, const std::vector<std::string>& options) {
        std::filesystem::remove(Path("now"));  // of an agent that is dead
        Configure("bundles = qv_base_log, dying=" QV_DYING_BUNDLE "\ndying.arguments = " + how +
                  "\n");
        std::vector<std::string> arguments = {"--traffic", "none", "--keep-running"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        ChildProcess agent(WithoutSanitizersHandlers(Agent(arguments)));
        EXPECT_TRUE(agent.WaitForError("qv_agent: serving"));
        WriteFile(Path("now"), "");
        return agent.Wait();
    }

    // The details of the records that the category's files hold. Throws when a file is torn.
    std::vector<std::string> Found(const std::string& category) const {
        std::vector<std::string> details;
        for (const std::string& path : LogFiles(category)) {
            for (const ParsedPiece& piece : ParseLogPieces(path)) {
                if (piece.kind == ParsedPiece::RECORD) {
                    details.push_back(piece.record.detail);
                }
            }
        }
        return details;
    }

    // A thread that logs until the process is dead may die in the middle of a write, or before its
    // first one.
    void ExpectWholeButForTheEnd(const std::string& category) const {
        uint64_t number = 0;
        for (const std::string& path : LogFiles(category)) {
            const TornLogFile file = ReadTornLogFile(path);
            for (const ParsedPiece& piece : file.pieces) {
                EXPECT_TRUE(piece.kind == ParsedPiece::FILE_CREATED || piece.number == ++number);
            }
            const std::string next = "<" + std::to_string(number + 1) + ">\n";
            const size_t common = std::min(next.size(), file.rest.size());
            EXPECT_EQ(file.rest.substr(0, common), next.substr(0, common));
        }
    }

    static std::vector<std::string> AllRecords() {
        std::vector<std::string> details = {"at once"};
        for (int i = 0; i < 100; ++i) {
            details.push_back("queued " + std::to_string(i));
        }
        return details;
    }

    const std::vector<std::string> option_ = {"--write-queues-on-crash"};
};

TEST_F(DyingAgent, LosesWhatIsQueuedUnlessItIsAskedToWriteIt) {
    EXPECT_EQ(Die("segv", {}).exitCode, -SIGSEGV);
    EXPECT_THAT(Found("corbaoper"), ElementsAre("at once"));
}

TEST_F(DyingAgent, WritesWhatIsQueuedWhenAClientCrashes) {
    EXPECT_EQ(Die("segv", option_).exitCode, -SIGSEGV);
    EXPECT_EQ(Found("corbaoper"), AllRecords());
    EXPECT_EQ(Found("corbasys"), AllRecords());
    ExpectWholeButForTheEnd("corbanotify");
}

TEST_F(DyingAgent, WritesWhatIsQueuedWhenAClientAborts) {
    EXPECT_EQ(Die("abort", option_).exitCode, -SIGABRT);
    EXPECT_EQ(Found("corbaoper"), AllRecords());
}

TEST_F(DyingAgent, WritesWhatIsQueuedWhenTheSignalIsSentToTheProcess) {
    Configure("bundles = qv_base_log, dying=" QV_DYING_BUNDLE "\ndying.arguments = never\n");
    ChildProcess agent(
        WithoutSanitizersHandlers(Agent({"--traffic", "none", "--write-queues-on-crash"})));
    EXPECT_EQ(EndOnce(agent, "qv_agent: serving", SIGBUS), -SIGBUS);
    EXPECT_EQ(Found("corbaoper"), AllRecords());
}

TEST_F(DyingAgent, CallsTheHandlersThatThereWereBefore) {
    const ChildResult segv = Die("segv handler", option_);
    EXPECT_EQ(segv.exitCode, -SIGSEGV);
    EXPECT_EQ(CountIn(segv.errors, "the earlier handler was called\n"), 1);
    const ChildResult aborted = Die("abort handler", option_);
    EXPECT_EQ(aborted.exitCode, -SIGABRT);
    EXPECT_EQ(CountIn(aborted.errors, "the earlier handler knows the sender\n"), 1);
    EXPECT_EQ(Die("abort default", option_).exitCode, -SIGABRT);
}

// The lock of one category is never free again. The others' records are written, and the process
// dies.
TEST_F(DyingAgent, IsNotHeldUpByALockThatIsHeldForEver) {
    EXPECT_EQ(Die("lock", option_).exitCode, -SIGSEGV);
    EXPECT_EQ(Found("corbaoper"), AllRecords());
    EXPECT_EQ(Found("corbasys"), AllRecords());
    EXPECT_THAT(Found("debug"), ElementsAre("at once"));
}

TEST_F(DyingAgent, WritesWhatIsQueuedWhenAClientCallsExit) {
    for (const bool option : {false, true}) {
        SCOPED_TRACE(option);
        EXPECT_EQ(Die("exit", option ? option_ : std::vector<std::string>()).exitCode, 7);
        EXPECT_EQ(Found("corbaoper"), AllRecords());
        EXPECT_THAT(Found("corba_alarm"), ElementsAre("at once", "the only one"));
        std::filesystem::remove_all(Path("log"));
        std::filesystem::remove(Path("now"));
    }
}

}  // namespace
}  // namespace NS_TEST
