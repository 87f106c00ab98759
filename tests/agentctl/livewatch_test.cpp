// Watching the status of a running agent.
#include <gmock/gmock.h>
#include <signal.h>

#include "agentctl/liveagent.h"

namespace {

using NS_TEST::ChildProcess;
using NS_TEST::ChildResult;
using NS_TEST::CountIn;
using NS_TEST::OnTerminal;
using NS_TEST::QuoteForShell;
using namespace testing;

class LiveWatch : public NS_TEST::LiveAgent {};

TEST_F(LiveWatch, ShowsTheStatusAgainAndEndsOnASignalOrWhenNobodyReads) {
    Start();
    for (const int signal : {SIGINT, SIGTERM}) {
        ChildProcess watch(Operator({"status", "--watch", "0.1"}));
        EXPECT_TRUE(watch.WaitForOutput("output: direct", 3));
        watch.Signal(signal);
        const ChildResult result = watch.Wait();
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.errors, "");
        EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));  // no terminal, nothing to redraw
    }
    ChildProcess watch(Operator({"--json", "status", "--watch", "3600"}));
    ASSERT_TRUE(watch.WaitForOutput("\n"));
    watch.CloseOutput();
    EXPECT_EQ(watch.Wait().exitCode, 0);
}

TEST_F(LiveWatch, OnATerminalWatchRedrawsInPlaceAndLeavesTheScreenAsItWas) {
    Start();
    const std::string command = "stty cols 80 rows 24; exec " + QuoteForShell(QV_AGENTCTL) +
                                " --share " + QuoteForShell(Path()) + " status --watch 0.1";
    ChildProcess terminal({OnTerminal(command)});
    EXPECT_TRUE(terminal.WaitForOutput("\x1b[H\x1b[K", 3));
    // The terminal passes the signal on to its program.
    ASSERT_TRUE(terminal.WaitForOutput("rates: of the last 0."));
    terminal.Signal(SIGTERM);
    const std::string shown = terminal.Wait().output;
    EXPECT_EQ(CountIn(shown, "\x1b[?1049h"), 1);
    EXPECT_THAT(shown, StartsWith("\x1b[?1049h\x1b[H"));
    for (const std::string& line : NS_TEST::SplitText(shown)) {
        const size_t drawn = line.rfind("\x1b[K");
        EXPECT_LE(line.size() - (drawn == std::string::npos ? 0 : drawn + 3), 81U) << line;
    }
}

// What the program writes ends with leaving the alternate screen, however it ends.
TEST_F(LiveWatch, LeavesTheAlternateScreenOnASignal) {
    Start();
    const std::string program = QuoteForShell(QV_AGENTCTL) + " --share " + QuoteForShell(Path());
    // In a shell that outlives it. Its number is there before it shows anything.
    const std::string watch = "sh -c " + QuoteForShell("echo $$ >" + QuoteForShell(Path("id")) +
                                                       "; exec " + program + " status --watch 0.1");
    ChildProcess terminal({OnTerminal(watch + " & wait $!; echo left")});
    ASSERT_TRUE(terminal.WaitForOutput("RATE/S", 2));
    kill(std::stoi(ReadFile(Path("id"))), SIGTERM);
    ASSERT_TRUE(terminal.WaitForOutput("left"));
    EXPECT_THAT(terminal.Wait().output, HasSubstr("\x1b[?1049lleft"));
}

TEST_F(LiveWatch, SurvivesARestartOfTheAgent) {
    Start();
    ChildProcess watch(Operator({"status", "--watch", "0.1"}));
    ASSERT_TRUE(watch.WaitForOutput("output: direct"));
    const std::string first = "process " + std::to_string(agent_->GetId());
    Stop();
    ASSERT_TRUE(watch.WaitForError("trying again"));
    Start();
    const std::string second = "process " + std::to_string(agent_->GetId());
    EXPECT_TRUE(watch.WaitForOutput(second, 2));
    watch.Signal(SIGTERM);
    const ChildResult result = watch.Wait();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, HasSubstr(first));
    EXPECT_THAT(result.output, HasSubstr("rates: of the last "));
}

}  // namespace
