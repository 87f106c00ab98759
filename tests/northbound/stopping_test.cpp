// The agent's end while clients are at work.
#include <gmock/gmock.h>
#include <signal.h>

#include <string>

#include "northbound/northboundagent.h"
#include "support/files.h"

namespace {

using NS_TEST::ChildProcess;
using NS_TEST::ChildResult;
using NS_TEST::ReportedCall;
using ::testing::AnyOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

using NorthboundEnd = NS_TEST::NorthboundAgent;

TEST_F(NorthboundEnd, UnderFullLoadClosesTheFilesAndTellsTheClients) {
    Start();
    ChildProcess clients(Client({"load", "--clients", "8", "--calls", "0", "--subscribers", "4",
                                 "--report", ReportPath()}));
    ASSERT_TRUE(AwaitLogged("corbaoper", "00000008-0000-4000-8000-000000000020,"));
    EXPECT_EQ(Stop(), 0);
    EXPECT_THAT(agent_->GetErrors(), Not(HasSubstr("failed")));
    const ChildResult& result = clients.Wait();
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.output,
                ContainsRegex("clients that lost the agent: [1-8], "
                              "(TRANSIENT|COMM_FAILURE|OBJ_ADAPTER|OBJECT_NOT_EXIST)\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("UNKNOWN")));
    const auto logged = LoggedOperations();  // throws when a file is not closed or a frame is torn
    for (const auto& [identifier, operation] : logged) {
        EXPECT_EQ(operation.begins, 1) << identifier;
        EXPECT_EQ(operation.ends, 1) << identifier;
    }
    for (const ReportedCall& call : ReportedCalls()) {
        EXPECT_TRUE(call.operation.empty() || logged.count(call.operation) == 1) << call.operation;
    }
}

TEST_F(NorthboundEnd, TakesTheReferenceAway) {
    Start();
    EXPECT_THAT(NS_TEST::ListFiles(Path()), ::testing::Contains("northbound.ior"));
    ASSERT_EQ(Stop(), 0);
    EXPECT_THAT(NS_TEST::ListFiles(Path()), Not(::testing::Contains("northbound.ior")));
    const ChildResult result = Call({"alarms"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("no agent has written its reference"));
}

TEST_F(NorthboundEnd, ByAKillLeavesClientsWithAClearException) {
    Start();
    agent_->Signal(SIGKILL);
    agent_->Wait();
    const ChildResult result = Call({"alarms"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("the agent cannot be reached: TRANSIENT"));
}

}  // namespace
