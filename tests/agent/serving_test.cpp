// How long the agent serves, and what ends it.
#include <gmock/gmock.h>
#include <signal.h>

#include <cstdlib>

#include "agentfixture.h"
#include "support/files.h"

namespace {

using NS_TEST::AgentProcess;
using NS_TEST::AgentStart;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

class AgentServing : public NS_TEST::AgentTest {};

TEST_F(AgentServing, WithoutAClientItServesUntilASignal) {
    for (const int number : {SIGTERM, SIGINT}) {
        AgentProcess agent(Start({"--traffic", "none"}));
        ASSERT_TRUE(agent.WaitForError("serving"));
        agent.Signal(number);
        EXPECT_EQ(agent.Wait(), 0);
    }
}

TEST_F(AgentServing, ItEndsWhenItsClientsAreDone) {
    EXPECT_EQ(Run({"--sample", "--threads", "1", "--operations", "1"}).exitCode, 0);
}

TEST_F(AgentServing, ItCanBeKeptRunningWhenItsClientsAreDone) {
    AgentProcess agent(Start({"--sample", "--keep-running"}));
    ASSERT_TRUE(agent.WaitForError("the clients are done"));
    agent.Signal(SIGINT);
    EXPECT_EQ(agent.Wait(), 0);
    EXPECT_EQ(Records("corbasys").size(), 8U);
}

TEST_F(AgentServing, ASignalStopsAClientInTheMiddleAndNothingIsTorn) {
    AgentProcess agent(Start({"--sample", "--operations", "1000000"}));
    ASSERT_TRUE(agent.WaitForError("serving"));
    agent.Signal(SIGTERM);
    EXPECT_EQ(agent.Wait(), 0);
    const auto sessions = Records("corbasys");
    ASSERT_EQ(sessions.size(), 8U);
    EXPECT_THAT(sessions.back().record.detail, HasSubstr("closed"));
    EXPECT_LT(Records("corbaoper").size(), 8000000U);
}

TEST_F(AgentServing, AnIgnoredInterruptStillEndsIt) {
    // What a shell does to the programs that it runs in the background.
    signal(SIGINT, SIG_IGN);
    AgentProcess agent(Start({"--traffic", "none"}));
    signal(SIGINT, SIG_DFL);
    ASSERT_TRUE(agent.WaitForError("serving"));
    agent.Signal(SIGINT);
    EXPECT_EQ(agent.Wait(), 0);
}

TEST_F(AgentServing, EveryBundleIsEndedAfterASignal) {
    Configure("bundles = qv_base_log, " + Entry("first") + "\n");
    AgentProcess agent(Start({"--traffic", "none"}));
    ASSERT_TRUE(agent.WaitForError("serving"));
    EXPECT_THAT(Events(), Not(Contains("first StopService")));
    agent.Signal(SIGTERM);
    EXPECT_EQ(agent.Wait(), 0);
    EXPECT_THAT(Events(), Contains("first destructor"));
}

TEST_F(AgentServing, ServiceDiagnosticsGoToTheLogProxy) {
    WriteConfiguration("bundles = qv_base_log\n");
    const auto result = Run({"--sample"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, HasSubstr("Get Config Item(logfilesize) failed !!"));
    EXPECT_THAT(result.output, Not(HasSubstr("Get Config Item")));
}

TEST_F(AgentServing, WithoutALogProxyServicesUseTheirFallback) {
    WriteConfiguration("bundles = qv_base_log\n");
    const auto result = Run({"--sample", "--no-log-proxy"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, HasSubstr("\nGet Config Item(logfilesize) failed !!\n"));
    EXPECT_THAT(result.errors, Not(HasSubstr("Get Config Item")));
}

TEST_F(AgentServing, WithoutALogProxyTheClientsReportOnStandardError) {
    const auto result =
        RunWith("x\n", {"--no-log-proxy", "--traffic", "input", "--category", "nothing"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("qv_line_feed: there is no log category 'nothing'"));
}

}  // namespace
