// What the log shows of the calls of many clients.
#include <gmock/gmock.h>

#include <future>
#include <map>
#include <set>

#include "northbound/northboundagent.h"
#include "support/waiting.h"

namespace {

using NS_TEST::ChildResult;
using NS_TEST::LoggedOperation;
using NS_TEST::ParsedPiece;
using NS_TEST::ReportedCall;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

using NorthboundCalls = NS_TEST::NorthboundAgent;

TEST_F(NorthboundCalls, EachBeginsAndEndsInTheLogWithTheContextOfItsOperation) {
    Start();
    const std::vector<ReportedCall> calls = Load({"--clients", "8", "--calls", "60"});
    ASSERT_EQ(Stop(), 0);
    ASSERT_EQ(calls.size(), 8U * 62 + 2);
    ExpectAllLogged(calls, LoggedOperations());
}

TEST_F(NorthboundCalls, LeaveAFailureWithItsHistoryInTheLogWhenTheyFail) {
    Start();
    const auto calls = Load({"--clients", "8", "--calls", "60", "--failures", "25"});
    ASSERT_EQ(Stop(), 0);
    const auto logged = LoggedOperations();
    std::map<std::string, int> failures;
    for (const ReportedCall& call : calls) {
        if (call.failure.empty()) {
            continue;
        }
        ++failures[call.interfaceName];
        const LoggedOperation& operation = logged.at(call.operation);
        EXPECT_EQ(operation.failures, 1);
        EXPECT_EQ(operation.failureText, call.interfaceName + " failed: " + call.failure);
        // The dump of another operation may have taken it along, so it is looked for in all dumps.
        EXPECT_THAT(operation.history,
                    Contains(AnyOf(StartsWith("look up "), StartsWith("alarm "))))
            << call.operation;
    }
    EXPECT_GT(failures["getElement"], 0);
    EXPECT_GT(failures["getConnections"], 0);
    EXPECT_GT(failures["acknowledge"], 0);
}

TEST_F(NorthboundCalls, LeaveNoFailureInTheLogWhenTheySucceed) {
    Start();
    const auto calls = Load({"--clients", "4", "--calls", "25", "--failures", "0"});
    ASSERT_EQ(Stop(), 0);
    for (const ReportedCall& call : calls) {
        EXPECT_EQ(call.failure, "");
    }
    for (const auto& [identifier, operation] : LoggedOperations()) {
        EXPECT_EQ(operation.failures, 0) << identifier;
        EXPECT_THAT(operation.history, IsEmpty()) << identifier;
    }
}

TEST_F(NorthboundCalls, AreAllFoundWhenLevelsAndOutputAreSwitchedMeanwhile) {
    Start();
    auto load = std::async(std::launch::async, [this] {
        return Load({"--clients", "64", "--calls", "40", "--subscribers", "8"});
    });
    const auto isDone = [&load] {
        return load.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    };
    do {
        for (const char* toggled : {"off", "on"}) {
            EXPECT_EQ(Control({"level", "2", toggled}).exitCode, 0);
            EXPECT_EQ(Control({"level", "3", toggled}).exitCode, 0);
            EXPECT_EQ(Control({"queue", toggled}).exitCode, 0);
        }
    } while (!isDone());
    const std::vector<ReportedCall> calls = load.get();
    ASSERT_EQ(Stop(), 0);
    ASSERT_EQ(calls.size(), 64U * 42 + 8);
    // A record that was queued stands behind later ones, so which is the last one says nothing.
    const auto logged = LoggedOperations();
    EXPECT_EQ(logged.size(), calls.size());
    for (const auto& [identifier, operation] : logged) {
        EXPECT_EQ(operation.begins, 1) << identifier;
        EXPECT_EQ(operation.ends, 1) << identifier;
    }
    for (const ReportedCall& call : calls) {
        if (!call.operation.empty()) {
            ASSERT_EQ(logged.count(call.operation), 1U) << call.operation;
            EXPECT_EQ(logged.at(call.operation).failures, call.failure.empty() ? 0 : 1);
        }
    }
}

TEST_F(NorthboundCalls, FailWithTheInterfacesOwnExceptionsWhichNameTheOperation) {
    Start();
    const std::map<std::string, std::vector<std::string>> failing = {
        {"there is no element 4000000", {"element", "--element", "4000000"}},
        {"no account has this name and this password", {"alarms", "--password", "guessed"}},
        {"alarm 0 is not active", {"acknowledge", "--alarm", "0"}}};
    std::map<std::string, std::string> complaints;
    for (const auto& [reason, arguments] : failing) {
        const ChildResult result = Call(arguments);
        EXPECT_EQ(result.exitCode, 1) << reason;
        EXPECT_THAT(result.errors, HasSubstr(reason));
        complaints[reason] = result.errors;
    }
    ASSERT_EQ(Stop(), 0);
    for (const auto& [identifier, operation] : LoggedOperations()) {
        for (const auto& [reason, complaint] : complaints) {
            if (operation.failureText.find(reason) != std::string::npos) {
                EXPECT_THAT(complaint, HasSubstr("operation " + identifier + ": "));
                complaints.erase(reason);
                break;
            }
        }
    }
    EXPECT_THAT(complaints, IsEmpty());
}

TEST_F(NorthboundCalls, TurnAnyExceptionOfTheStandardLibraryIntoOneOfTheInterface) {
    Start();
    const auto calls = Load({"--clients", "2", "--calls", "40", "--failures", "100"});
    ASSERT_EQ(Stop(), 0);
    // A std::runtime_error in the agent; the load ends with another exit code when it arrives as
    // something that the interface does not declare.
    std::set<std::string> silent;
    for (const ReportedCall& call : calls) {
        if (call.failure.find("does not answer") != std::string::npos) {
            silent.insert(call.interfaceName);
        }
    }
    EXPECT_EQ(silent, std::set<std::string>{"getElement"});
}

}  // namespace
