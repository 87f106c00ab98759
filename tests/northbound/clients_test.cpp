// Clients that are told of alarms, and clients that behave badly.
#include <gmock/gmock.h>
#include <signal.h>

#include <map>
#include <set>
#include <string>

#include "northbound/northboundagent.h"

namespace {

using NS_TEST::ChildProcess;
using NS_TEST::ChildResult;
using NS_TEST::LoggedOperation;
using NS_TEST::ParsedPiece;
using ::testing::HasSubstr;
using ::testing::Not;

class NorthboundClients : public NS_TEST::NorthboundAgent {
  protected:
    // The number of the last alarm that has been logged.
    int LastAlarm() const {
        const std::string logged = Logged("corba_alarm");
        const std::string key = "{\"alarm\":";
        return std::stoi(logged.substr(logged.rfind(key) + key.size()));
    }
};

// Call-backs that are not answered end with the client only.
constexpr char kNoLimit[] = "--alarms 50 --answer-limit 600000";

TEST_F(NorthboundClients, AreToldOfAlarmsThatTheLogShows) {
    Start("--alarms 50");
    const ChildResult result = Call({"watch", "--changes", "8"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    ASSERT_EQ(Stop(), 0);
    const std::string alarms = Logged("corba_alarm");
    int told = 0;
    for (std::size_t at = result.output.find("alarm "); at != std::string::npos;
         at = result.output.find("\nalarm ", at + 1)) {
        const std::size_t begin = result.output.find_first_of("0123456789", at);
        const std::string number =
            result.output.substr(begin, result.output.find(' ', begin) - begin);
        EXPECT_THAT(alarms, HasSubstr("RestAlarm:{\"alarm\":" + number + ","));
        ++told;
    }
    EXPECT_GE(told, 8);
}

TEST_F(NorthboundClients, ThatAreKilledInTheMiddleOfACallLeaveTheAgentServing) {
    Start(kNoLimit);
    ChildProcess client(Client({"watch", "--answers", "0"}));
    // The agent waits for the answer to its call-back before it answers the call.
    ASSERT_TRUE(client.WaitForOutput("answering no more"));
    EXPECT_THAT(Logged("corbaoper"), HasSubstr("begin: subscribe"));
    EXPECT_THAT(Logged("corbaoper"), Not(HasSubstr("end: subscribe")));
    client.Signal(SIGKILL);
    client.Wait();
    ASSERT_TRUE(AwaitLogged("corbaoper", "end: subscribe failed"));
    EXPECT_EQ(Call({"alarms"}).exitCode, 0);
    ASSERT_EQ(Stop(), 0);
    int failed = 0;
    for (const auto& [identifier, operation] : LoggedOperations()) {
        EXPECT_EQ(operation.begins, 1) << identifier;
        EXPECT_EQ(operation.ends, 1) << identifier;
        failed += operation.failures;
    }
    EXPECT_EQ(failed, 1);
}

TEST_F(NorthboundClients, ThatLeaveWhileTheySubscribeAreToldOfNothing) {
    Start(kNoLimit);
    const ChildResult result = Call({"leave"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr("session 1 was closed meanwhile"));
    ASSERT_TRUE(AwaitLogged("corbanotify", "the subscription ends"));
    EXPECT_THAT(Logged("corbaoper"), HasSubstr("end: subscribe failed"));
    EXPECT_EQ(Stop(), 0);
}

// Each of them has a thread, which costs memory until somebody waits for its end.
TEST_F(NorthboundClients, ThatHaveGoneAreForgottenThoughNoAlarmComes) {
    Start("--alarms 0");
    int clients = 0;
    // The thread of the client before may still be on its way to its end.
    for (int alone = 0; alone < 3 && clients < 100; ++clients) {
        Load({"--clients", "1", "--calls", "1", "--failures", "0", "--subscribers", "1"});
        alone = NS_TEST::CountIn(Logged("corbasys"), " is told of alarms, 1 subscriptions\n");
    }
    EXPECT_LT(clients, 100);
    EXPECT_EQ(Stop(), 0);
}

TEST_F(NorthboundClients, ThatNeverAnswerTheirCallBackHoldUpNobody) {
    Start(kNoLimit);
    ChildProcess silent(Client({"watch", "--answers", "1"}));
    ASSERT_TRUE(silent.WaitForOutput("answering no more"));
    EXPECT_EQ(Call({"watch", "--changes", "20"}).exitCode, 0);
    Load({"--clients", "4", "--calls", "20", "--subscribers", "4"});
    EXPECT_THAT(Logged("corbanotify"), Not(HasSubstr("breaks off")));
    silent.Signal(SIGKILL);
    silent.Wait();
    ASSERT_TRUE(AwaitLogged("corbanotify", "the subscription breaks off"));
    EXPECT_EQ(Stop(), 0);
}

TEST_F(NorthboundClients, ThatAreTooSlowMissTheOldestChangesAndGoOn) {
    Start("--alarms 1000 --answer-limit 600000");
    ChildProcess client(Client({"watch", "--changes", "1000000"}));
    ASSERT_TRUE(client.WaitForOutput("has come"));
    client.Signal(SIGSTOP);
    const int before = LastAlarm();  // at least as many as the client has printed
    // Two changes for each alarm: more than an agent keeps for a client.
    ASSERT_TRUE(AwaitLogged("corba_alarm", "{\"alarm\":" + std::to_string(before + 1000) + ","));
    client.Signal(SIGCONT);
    ASSERT_TRUE(AwaitLogged("corbanotify", " changes are left out"));
    ASSERT_TRUE(client.WaitForOutput(" has come", before + 1));
    client.Signal(SIGKILL);
    client.Wait();
    EXPECT_EQ(Stop(), 0);
}

TEST_F(NorthboundClients, ThatNeverAnswerTheirCallBackAreGivenUpAtTheLimit) {
    Start("--alarms 50 --answer-limit 300");
    ChildProcess silent(Client({"watch", "--answers", "1"}));
    ASSERT_TRUE(silent.WaitForOutput("answering no more"));
    ASSERT_TRUE(AwaitLogged("corbanotify", "the subscription breaks off"));
    // The agent stops while the client still hangs.
    ASSERT_EQ(Stop(), 0);
    std::set<int> levels;
    for (const ParsedPiece& piece : Records("corbanotify")) {
        if (piece.record.detail.find("breaks off") != std::string::npos) {
            EXPECT_EQ(piece.kind, ParsedPiece::DUMP);
            EXPECT_THAT(piece.record.context, HasSubstr("If:alarmsChanged,UserMsg:operator1@"));
            levels.insert(piece.record.level);
        }
    }
    EXPECT_EQ(levels, std::set<int>{0});
}

}  // namespace
