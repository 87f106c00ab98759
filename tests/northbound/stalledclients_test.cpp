// Clients that stall in the middle of a call.
#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <thread>

#include "northbound/northboundagent.h"
#include "northbound/rawclient.h"

namespace {

using NS_TEST::Marshalled;
using NS_TEST::RawClient;

class NorthboundStalledClients : public NS_TEST::NorthboundAgent {
  protected:
    std::string Reference() const { return NS_TEST::ReadFile(Path("northbound.ior")); }

    // A fifth of a call.
    static std::string PartOfACall(const RawClient& client) {
        const std::string arguments = Marshalled(std::string(100000, 'u')) + Marshalled("p");
        return client.Request("openSession", arguments).substr(0, 20000);
    }

    // Waits until no call gets any further, though there are more: an answer is stuck.
    void AwaitAStuckAnswer() const {
        ASSERT_TRUE(AwaitLogged("corbaoper", "begin: getInventory"));
        std::string before;
        for (std::string now = Logged("corbaoper"); now != before; now = Logged("corbaoper")) {
            before = now;
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
        }
    }

    // An end in order closes each file; reading one that is not closed throws.
    void ExpectAnEndInOrder() {
        EXPECT_EQ(Stop(), 0);
        EXPECT_THAT(Details("corbasys"), ::testing::Contains("no longer serving"));
    }
};

TEST_F(NorthboundStalledClients, LoseTheirConnectionAtTheLimit) {
    Start("--call-limit 200");
    const RawClient client(Reference());
    client.Send(PartOfACall(client));
    EXPECT_TRUE(client.AwaitHangUp());
    EXPECT_EQ(Call({"alarms"}).exitCode, 0);
    ExpectAnEndInOrder();
}

TEST_F(NorthboundStalledClients, DoNotKeepTheAgentFromEndingWhileTheirCallComesIn) {
    Start("--call-limit 2000");
    const RawClient client(Reference());
    client.Send(PartOfACall(client));
    ASSERT_EQ(Call({"alarms"}).exitCode, 0);  // behind the other: that one is being served by now
    ExpectAnEndInOrder();
}

// The ORB waits for 8 KiB before it takes a call for one.
TEST_F(NorthboundStalledClients, AreLikeThoseWhoSayNothingWhileLittleOfTheirCallHasCome) {
    Start("--call-limit 600000");
    const RawClient client(Reference());
    client.Send(PartOfACall(client).substr(0, 4000));
    ASSERT_EQ(Call({"alarms"}).exitCode, 0);
    ExpectAnEndInOrder();
}

TEST_F(NorthboundStalledClients, DoNotKeepTheAgentFromEndingWhileTheirAnswersGoOut) {
    Start("--call-limit 2000");
    const RawClient client(Reference());
    client.Send(client.Request("openSession",
                               Marshalled("operator10") + Marshalled("Op3rator!operator10")));
    const std::string session = Marshalled(client.ReceiveNumber());
    std::string calls;
    for (int i = 0; i < 400; ++i) {
        calls += client.Request("getInventory", session + Marshalled(1) + Marshalled(500));
    }
    client.SendWhatFits(calls);
    AwaitAStuckAnswer();
    ExpectAnEndInOrder();
}

// The limit is for the way of the call and of the answer, not for the time in between.
TEST_F(NorthboundStalledClients, AreNotThoseWhoseAnswerTakesItsTime) {
    Start("--call-limit 200 --answer-time 1000");
    EXPECT_EQ(Call({"element", "--element", "17"}).exitCode, 0);
    ExpectAnEndInOrder();
}

}  // namespace
