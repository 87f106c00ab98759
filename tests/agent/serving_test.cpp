// How long the agent serves, and what ends it.
#include <gmock/gmock.h>
#include <signal.h>

#include "agent/agentfixture.h"

namespace {

using NS_TEST::ChildProcess;
using namespace testing;

class AgentServing : public NS_TEST::AgentTest {};

TEST_F(AgentServing, WithoutAClientItServesUntilASignal) {
    for (const int number : {SIGTERM, SIGINT}) {
        ChildProcess agent(Agent({"--traffic", "none"}));
        EXPECT_EQ(EndOnce(agent, "serving", number), 0);
    }
}

TEST_F(AgentServing, ItCanBeKeptRunningWhenItsClientsAreDone) {
    ChildProcess agent(Agent({"--sample", "--keep-running"}));
    EXPECT_EQ(EndOnce(agent, "the clients are done"), 0);
    EXPECT_EQ(Records("corbasys").size(), 8U);
}

TEST_F(AgentServing, ASignalStopsAClientInTheMiddleAndNothingIsTorn) {
    ChildProcess agent(Agent({"--sample", "--operations", "1000000"}));
    EXPECT_EQ(EndOnce(agent, "serving"), 0);
    const auto sessions = Details("corbasys");
    ASSERT_EQ(sessions.size(), 8U);
    EXPECT_THAT(sessions.back(), HasSubstr("closed"));
    EXPECT_LT(Records("corbaoper").size(), 8000000U);
}

// It may fail while it is stopped, or just before the signal.
TEST_F(AgentServing, AClientThatHasFailedWhenASignalStopsItIsNotForgotten) {
    Configure("bundles = qv_base_log, " + Entry("first") +
              "\nfirst.arguments = fail-stopped-work\n");
    ChildProcess agent(Agent({"--traffic", "none"}));
    EXPECT_EQ(EndOnce(agent, "serving"), 1);
    EXPECT_THAT(agent.GetErrors(), HasSubstr("bundle first failed in its work"));
}

TEST_F(AgentServing, AnIgnoredInterruptStillEndsIt) {
    // What a shell does to the programs that it runs in the background.
    signal(SIGINT, SIG_IGN);
    ChildProcess agent(Agent({"--traffic", "none"}));
    signal(SIGINT, SIG_DFL);
    EXPECT_EQ(EndOnce(agent, "serving", SIGINT), 0);
}

TEST_F(AgentServing, EveryBundleIsEndedAfterASignal) {
    Configure("bundles = qv_base_log, " + Entry("first") + "\n");
    NS_TEST::ChildStart start = Agent({"--traffic", "none"});
    start.variables["QV_TEST_EVENTS"] = Path("events");
    ChildProcess agent(start);
    ASSERT_TRUE(agent.WaitForError("serving"));
    EXPECT_THAT(NS_TEST::ReadLines(Path("events")), Not(Contains("first StopService")));
    EXPECT_EQ(EndOnce(agent, "serving"), 0);
    EXPECT_THAT(NS_TEST::ReadLines(Path("events")), Contains("first destructor"));
}

TEST_F(AgentServing, ItSaysThatNoQueueCanBeWrittenInACrash) {
    const std::string warning = "--write-queues-on-crash is without effect";
    ChildProcess agent(Agent({"--traffic", "none", "--write-queues-on-crash"}));
    EXPECT_EQ(EndOnce(agent, "serving"), 0);
    EXPECT_THAT(agent.GetErrors(), Not(HasSubstr(warning)));
    Configure("bundles = " + Entry("first") + "\n");
    ChildProcess without(Agent({"--traffic", "none", "--write-queues-on-crash"}));
    EXPECT_EQ(EndOnce(without, "serving"), 0);
    EXPECT_THAT(without.GetErrors(), HasSubstr(warning));
}

TEST_F(AgentServing, ServiceDiagnosticsGoToTheLogProxyOrElseToTheFallback) {
    WriteConfiguration("bundles = qv_base_log\nthis is no item\n");
    const auto told = Run({"--sample"});
    EXPECT_THAT(told.errors, HasSubstr("conf/corba_agent.cfg:2: ")) << "the line is skipped";
    EXPECT_THAT(told.errors, HasSubstr("Get Config Item(logfilesize) failed !!"));
    EXPECT_THAT(told.output, Not(HasSubstr("Get Config Item")));

    const auto printed = Run({"--sample", "--no-log-proxy"});
    EXPECT_EQ(told.exitCode + printed.exitCode, 0);
    EXPECT_THAT(printed.output, HasSubstr("\nGet Config Item(logfilesize) failed !!\n"));
    EXPECT_THAT(printed.errors, Not(HasSubstr("Get Config Item")));
}

TEST_F(AgentServing, WithoutALogProxyTheClientsReportOnStandardError) {
    Configure("bundles = qv_base_log\nqv_line_feed.arguments = --category nothing\n");
    const auto result = RunWith("x\n", {"--no-log-proxy", "--traffic", "input"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("qv_line_feed: there is no log category 'nothing'"));
}

}  // namespace
