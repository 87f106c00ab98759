// The agent's options.
#include <gmock/gmock.h>

#include "agentfixture.h"

namespace {

using NS_TEST::AgentResult;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class AgentCommandLine : public NS_TEST::AgentTest {};

TEST_F(AgentCommandLine, HelpGoesToStandardOutputAndNamesOptionsAndExitCodes) {
    const AgentResult result = Run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    for (const char* expected :
         {"--share,--config DIR", "--category NAME", "--level N", "--sample", "--keep-running",
          "--no-log-proxy", "--summary", "--threads N", "Exit codes:", "corba_agent.cfg"}) {
        EXPECT_THAT(result.output, HasSubstr(expected));
    }
}

TEST_F(AgentCommandLine, VersionIsOneLine) {
    const AgentResult result = Run({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, ::testing::MatchesRegex("qv_agent [0-9.]+\n"));
}

TEST_F(AgentCommandLine, UnknownOptionIsRefusedByName) {
    const AgentResult result = Run({"--nonsense"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("--nonsense"));
    EXPECT_THAT(LogFiles("corbaoper"), IsEmpty());
}

TEST_F(AgentCommandLine, LevelOutOfRangeIsRefused) {
    EXPECT_EQ(Run({"--level", "4"}).exitCode, 2);
    EXPECT_EQ(Run({"--level", "-3"}).exitCode, 2);
    EXPECT_EQ(Run({"--level", "high"}).exitCode, 2);
}

TEST_F(AgentCommandLine, UnknownTrafficIsRefusedWithTheKnownNames) {
    const AgentResult result = Run({"--traffic", "heavy"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("sample"));
}

TEST_F(AgentCommandLine, ConfigIsAnotherNameForShare) {
    NS_TEST::AgentStart start = Start({});
    start.arguments = {"--config", Path(), "--sample"};
    EXPECT_EQ(RunAs(start).exitCode, 0);
    EXPECT_FALSE(Records("corbaoper").empty());
}

TEST_F(AgentCommandLine, TheShareDirectoryMayComeFromTheEnvironment) {
    NS_TEST::AgentStart start = Start({});
    start.arguments = {"--sample"};
    start.environment["_APP_SHARE_DIR"] = Path();
    EXPECT_EQ(RunAs(start).exitCode, 0);
    EXPECT_FALSE(Records("corbaoper").empty());
}

TEST_F(AgentCommandLine, TheOptionWinsOverTheEnvironment) {
    NS_TEST::AgentStart start = Start({"--sample"});
    start.environment["_APP_SHARE_DIR"] = Path("elsewhere");
    EXPECT_EQ(RunAs(start).exitCode, 0);
    EXPECT_FALSE(Records("corbaoper").empty());
}

}  // namespace
