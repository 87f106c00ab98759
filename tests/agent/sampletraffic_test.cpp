// The sample traffic: what it leaves in the log files.
#include <gmock/gmock.h>

#include <map>
#include <set>

#include "agent/agentfixture.h"

namespace {

using namespace NS_TEST;
using namespace testing;

class SampleTraffic : public AgentTest {
  protected:
    // Two sessions of ten operations each, so every tenth operation occurs.
    void SetUp() override {
        const auto result = Run({"--sample", "--threads", "2", "--operations", "10"});
        ASSERT_EQ(result.exitCode, 0) << result.errors;
    }
};

TEST_F(SampleTraffic, LogsTheSameAmountInEveryRunInAllLevelsWithoutAGap) {
    const std::map<std::string, std::size_t> expected = {
        {"debug", 2},    {"corbadebug", 20}, {"corbanotify", 24},        {"corba_alarm", 16},
        {"corbasys", 4}, {"corbaoper", 40},  {"corba_internal_oper", 20}};
    std::map<std::string, std::size_t> counts;
    std::set<int> levels;
    for (const std::string& category : kCategories) {
        for (const ParsedPiece& piece : Records(category)) {
            ++counts[category];
            levels.insert(piece.record.level);
            if (piece.record.level != -2) {  // a short record takes a number and does not show it
                EXPECT_EQ(piece.number, counts[category]) << category;
            }
        }
    }
    EXPECT_EQ(counts, expected);
    EXPECT_EQ(levels, (std::set<int>{-2, -1, 0, 1, 2, 3}));
}

TEST_F(SampleTraffic, ShowsTheHistoryOfAnErrorThatWasKeptBack) {
    const auto records = Records("debug");
    ASSERT_EQ(records.size(), 2U);
    std::vector<std::string> history;
    for (const ParsedPiece& piece : records) {
        EXPECT_EQ(piece.kind, ParsedPiece::DUMP);
        EXPECT_THAT(piece.record.detail, HasSubstr("failed"));
        for (const ParsedRecord& dumped : piece.dumped) {
            history.push_back(dumped.detail);
        }
    }
    EXPECT_THAT(history, Contains(StartsWith("operation 9: checking the rights of ")));
    EXPECT_THAT(history, Contains(StartsWith("operation 9: row 0: ")));
}

TEST_F(SampleTraffic, CarriesTheContextOfItsOperationsEachSessionOnAThreadOfItsOwn) {
    std::set<std::string> contexts;
    std::map<std::string, std::set<std::string>> threadsOfSession;
    for (const ParsedPiece& piece : Records("corbaoper")) {
        const std::string& context = piece.record.context;
        contexts.insert(context);
        threadsOfSession[context.substr(0, context.find('-'))].insert(piece.record.thread);
    }
    EXPECT_EQ(contexts.size(), 20U);
    EXPECT_EQ(contexts.count("00000002-0000-4000-8000-000000000003,TopT:2,"
                             "If:createTransferSchedule,UserMsg:nms-client-2@192.0.2.3"),
              1U);
    ASSERT_EQ(threadsOfSession.size(), 2U);
    for (const auto& [session, threads] : threadsOfSession) {
        EXPECT_EQ(threads.size(), 1U) << session;
    }
}

TEST_F(SampleTraffic, LeavesNoPasswordInAnyFile) {
    for (const std::string& category : kCategories) {
        for (const char* secret : {"Elem3nt!pass", "tr4nsfer-secret", "Springfield"}) {
            EXPECT_THAT(Logged(category), Not(HasSubstr(secret))) << category;
        }
    }
    EXPECT_THAT(Logged("corbadebug"), HasSubstr("NEPwd = \"************\""));
    EXPECT_THAT(Logged("corbadebug"), HasSubstr("<FTPPassWord>***************</FTPPassWord>"));
}

TEST_F(SampleTraffic, LogsAlarmsAsCompactJson) {
    const auto alarms = Records("corba_alarm");
    ASSERT_EQ(alarms.size(), 16U);
    for (const ParsedPiece& alarm : alarms) {
        EXPECT_EQ(alarm.record.level, 3);
        EXPECT_THAT(alarm.record.detail, StartsWith("\n RestAlarm:{\"managedElement\":\"NE-"));
    }
}

}  // namespace
