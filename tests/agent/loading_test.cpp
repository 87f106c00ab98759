// How bundles are loaded, started, stopped and freed, and what happens when one of them fails.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "agent/agentfixture.h"

namespace {

using NS_TEST::ChildResult;
using namespace testing;
using Events = std::vector<std::string>;

class AgentLoading : public NS_TEST::AgentTest {
  protected:
    // The logging service and the recorder `first`; another bundle follows.
    const std::string kFirst = "qv_base_log, " + Entry("first") + ", ";

    // Runs with these bundles and with the sample to do, so that an agent which starts also ends.
    ChildResult RunBundles(const std::string& bundles, const std::string& items = "",
                           const std::string& factory = "") {
        Configure("bundles = " + bundles + "\n" + items);
        NS_TEST::ChildStart start = Agent({"--sample"});
        std::filesystem::remove(Path("events"));
        start.variables = {{"QV_TEST_EVENTS", Path("events")}, {"QV_TEST_FACTORY", factory}};
        return NS_TEST::RunProgram(start);
    }

    // What the recorders whose name begins with `name` have noted.
    Events NotedBy(const std::string& name) const {
        Events events = NS_TEST::ReadLines(Path("events"));
        events.erase(std::remove_if(events.begin(), events.end(),
                                    [&](const auto& event) { return event.rfind(name, 0) != 0; }),
                     events.end());
        return events;
    }

    // Expects that `first` went through its whole life.
    void ExpectFirstWasEnded() const {
        EXPECT_EQ(NotedBy("first "),
                  (Events{"first factory", "first init", "first StopService", "first fini",
                          "first gobbler", "first destructor", "first unload"}));
    }

    // The same of `second`, too, whose arguments were these; it ends first.
    void ExpectBothWereEnded(const std::string& arguments) const {
        EXPECT_EQ(NotedBy(""),
                  (Events{"first factory", "first init", "second factory",
                          "second init" + arguments, "second StopService", "first StopService",
                          "second fini", "second gobbler", "second destructor", "first fini",
                          "first gobbler", "first destructor", "second unload", "first unload"}));
    }
};

TEST_F(AgentLoading, StartsInOrderAndEndsInReverseStepByStep) {
    const ChildResult result = RunBundles(kFirst + Entry("second"));
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    ExpectBothWereEnded("");
}

TEST_F(AgentLoading, ABundleThatRefusesToStartIsEndedLikeTheOthers) {
    const ChildResult result =
        RunBundles(kFirst + Entry("second") + ", " + Entry("third"), "second.arguments = refuse\n");
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("bundle second refused to start"));
    ExpectBothWereEnded(" refuse");
}

TEST_F(AgentLoading, PassesConfiguredArgumentsWithoutAProgramName) {
    RunBundles(kFirst + Entry("second"), "second.arguments = -a  bc\t--d=e\n");
    EXPECT_THAT(NotedBy("second"), Contains("second init -a bc --d=e"));
    EXPECT_THAT(NotedBy("first"), Contains("first init"));
}

// The bundle in front of it goes through its whole life all the same.
TEST_F(AgentLoading, AFailureIsReportedAndTheOthersAreEnded) {
    struct Failure {
        std::string last;  // the entry of the bundle that fails
        std::string arguments;
        int exitCode;
        std::string reason;
    };
    const std::string second = Entry("second");
    const std::vector<Failure> failures = {
        {"qv_not_there", "", 4, "bundle qv_not_there cannot be loaded: libqv_not_there.so"},
        {"other=" + Path("libother.so"), "", 4, Path("libother.so")},
        {Entry("nofactory"), "", 4, "_make_nofactory"},
        // A load failure and not a later crash.
        {Entry("unresolved"), "", 4, "qv_test_nowhere_to_be_found"},
        {second, "throw", 5, "bundle second refused to start: out of patience"},
        {second, "throw-number", 5,
         "bundle second refused to start: something that is no exception"},
        {second, "fail-fini", 6, "bundle second: fini failed"},
        {second, "throw-number-fini", 6,
         "bundle second: fini failed: something that is no exception"},
        {second, "throw-number-gobbler", 6,
         "bundle second: gobbler failed: something that is no exception"}};
    for (const Failure& failure : failures) {
        SCOPED_TRACE(failure.reason);
        const ChildResult result =
            RunBundles(kFirst + failure.last, "second.arguments = " + failure.arguments + "\n");
        EXPECT_EQ(result.exitCode, failure.exitCode);
        EXPECT_THAT(result.errors, HasSubstr(failure.reason));
        ExpectFirstWasEnded();
        if (failure.exitCode == 6) {
            EXPECT_THAT(NotedBy("second"), Contains("second destructor"));
        }
    }
}

TEST_F(AgentLoading, ABundleThatThrowsWhenItIsAskedForItsWorkHasFailedInIt) {
    const std::string thrown = "bundle second failed in its work: something that is no exception";
    const std::pair<const char*, std::string> failures[] = {
        {"fail-work", "bundle second failed in its work\n"},
        {"throw-number-work", thrown},
        {"throw-number-descriptor", thrown},
        {"throw-number-interface", thrown}};
    for (const auto& [argument, reason] : failures) {
        const ChildResult result = RunBundles(kFirst + Entry("second"),
                                              std::string("second.arguments = ") + argument + "\n");
        EXPECT_EQ(result.exitCode, 1) << argument;
        EXPECT_THAT(result.errors, HasSubstr(reason));
        ExpectBothWereEnded(std::string(" ") + argument);
    }
}

// Neither is what its thread may use: the bundles in front of it, the logging service among them.
TEST_F(AgentLoading, ABundleThatCannotBeStoppedIsNotTakenFromUnderItsThread) {
    const ChildResult result = RunBundles(kFirst + Entry("second") + ", " + Entry("third"),
                                          "second.arguments = fail-stop\noutputmode = 1\n");
    EXPECT_EQ(result.exitCode, 6) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr("bundle second: StopService failed"));
    EXPECT_EQ(NotedBy("third"),
              (Events{"third factory", "third init", "third StopService", "third fini",
                      "third gobbler", "third destructor", "third unload"}));
    for (const std::string name : {"second", "first"}) {
        EXPECT_THAT(NotedBy(name), Contains(name + " StopService"));
        EXPECT_THAT(NotedBy(name), Not(Contains(name + " fini")));
        EXPECT_THAT(NotedBy(name), Not(Contains(name + " gobbler")));
    }
    EXPECT_THAT(Logged("corbasys"), HasSubstr("closed")) << "the queues were not written";
}

TEST_F(AgentLoading, WhatIsThrownOnTheWayIsReportedAndTheBundlesAreEnded) {
    const ChildResult result = RunBundles(Entry("first") + ", " + Entry("throwingservice"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr("qv_agent: something that is no exception"));
    ExpectFirstWasEnded();
}

TEST_F(AgentLoading, AFactoryThatMakesNothingIsAFailure) {
    const std::pair<const char*, const char*> failures[] = {
        {"throw", "no room"},
        {"throw-number", "something that is no exception"},
        {"null", "no object"}};
    for (const auto& [failure, reason] : failures) {
        const ChildResult result = RunBundles("qv_base_log, " + Entry("second"), "", failure);
        EXPECT_EQ(result.exitCode, 5);
        EXPECT_THAT(result.errors,
                    HasSubstr(std::string("bundle second: its factory failed: ") + reason));
    }
}

TEST_F(AgentLoading, AClientWithoutALoggingServiceSaysWhatIsMissing) {
    const ChildResult result = RunBundles(Entry("first"));
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("there is no logging service"));
    ExpectFirstWasEnded();
}

}  // namespace
