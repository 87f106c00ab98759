// How bundles are loaded, started, stopped and freed, and what happens when one of them fails.
#include <gmock/gmock.h>

#include <algorithm>

#include "agentfixture.h"

namespace {

using NS_TEST::AgentResult;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// The library stays loaded in sanitizer builds, so that reports can name its functions.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kUnloads = false;
#else
constexpr bool kUnloads = true;
#endif

class AgentLoading : public NS_TEST::AgentTest {
  protected:
    // Runs with the logging service, the recorder `first` and then `last`, and with the sample to
    // do, so that an agent which starts also ends.
    AgentResult RunBehindFirst(const std::string& last, const std::string& items = "") {
        Configure("bundles = qv_base_log, " + Entry("first") + ", " + last + "\n" + items);
        return Run({"--sample"});
    }

    // The events in their order; without the unloading where a sanitizer moves it to the end.
    std::vector<std::string> ComparableEvents() const {
        std::vector<std::string> events = Events();
        if (!kUnloads) {
            const auto isUnload = [](const std::string& event) {
                return event.find(" unload") != std::string::npos;
            };
            events.erase(std::remove_if(events.begin(), events.end(), isUnload), events.end());
        }
        return events;
    }

    // That `first` went through its whole life, though a bundle behind it failed.
    void ExpectFirstWasEnded() const {
        std::vector<std::string> expected{"first factory", "first init",    "first StopService",
                                          "first fini",    "first gobbler", "first destructor"};
        if (kUnloads) {
            expected.push_back("first unload");
        }
        std::vector<std::string> events;
        for (const std::string& event : ComparableEvents()) {
            if (event.compare(0, 6, "first ") == 0) {
                events.push_back(event);
            }
        }
        EXPECT_EQ(events, expected);
    }
};

TEST_F(AgentLoading, StartsInOrderAndEndsInReverseStepByStep) {
    const AgentResult result = RunBehindFirst(Entry("second"));
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    std::vector<std::string> expected{"first factory", "first init",         "second factory",
                                      "second init",   "second StopService", "first StopService",
                                      "second fini",   "second gobbler",     "second destructor",
                                      "first fini",    "first gobbler",      "first destructor"};
    if (kUnloads) {
        expected.insert(expected.end(), {"second unload", "first unload"});
    }
    EXPECT_EQ(ComparableEvents(), expected);
}

TEST_F(AgentLoading, PassesConfiguredArgumentsWithoutAProgramName) {
    RunBehindFirst(Entry("second"), "second.arguments = -a  bc\t--d=e\n");
    EXPECT_THAT(Events(), ::testing::Contains("second init -a bc --d=e"));
    EXPECT_THAT(Events(), ::testing::Contains("first init"));
}

TEST_F(AgentLoading, MissingLibrary) {
    const AgentResult result = RunBehindFirst("qv_not_there");
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.errors, HasSubstr("bundle qv_not_there cannot be loaded: "));
    EXPECT_THAT(result.errors, HasSubstr("libqv_not_there.so"));
    ExpectFirstWasEnded();
}

TEST_F(AgentLoading, MissingLibraryWithAPath) {
    const AgentResult result = RunBehindFirst("other=" + Path("libother.so"));
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.errors, HasSubstr(Path("libother.so")));
    ExpectFirstWasEnded();
}

TEST_F(AgentLoading, LibraryWithoutAFactory) {
    const AgentResult result = RunBehindFirst(Entry("nofactory"));
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.errors, HasSubstr("_make_nofactory"));
    ExpectFirstWasEnded();
}

TEST_F(AgentLoading, UnresolvedSymbolIsALoadFailureAndNotALaterCrash) {
    const AgentResult result = RunBehindFirst(Entry("unresolved"));
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.errors, HasSubstr("qv_test_nowhere_to_be_found"));
    ExpectFirstWasEnded();
}

TEST_F(AgentLoading, FactoryThatThrows) {
    Configure("bundles = qv_base_log, " + Entry("second") + "\n");
    NS_TEST::AgentStart start = Start({"--sample"});
    start.environment["QV_TEST_FACTORY"] = "throw";
    const AgentResult result = RunAs(start);
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("bundle second: its factory failed: no room"));
}

TEST_F(AgentLoading, FactoryThatMakesNothing) {
    Configure("bundles = qv_base_log, " + Entry("second") + "\n");
    NS_TEST::AgentStart start = Start({"--sample"});
    start.environment["QV_TEST_FACTORY"] = "null";
    const AgentResult result = RunAs(start);
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("bundle second: its factory failed: no object"));
}

TEST_F(AgentLoading, BundleThatRefusesToStartIsEndedLikeTheOthers) {
    const AgentResult result =
        RunBehindFirst(Entry("second") + ", " + Entry("third"), "second.arguments = refuse\n");
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("bundle second refused to start"));
    std::vector<std::string> expected{
        "first factory",      "first init",        "second factory", "second init refuse",
        "second StopService", "first StopService", "second fini",    "second gobbler",
        "second destructor",  "first fini",        "first gobbler",  "first destructor"};
    if (kUnloads) {
        expected.insert(expected.end(), {"second unload", "first unload"});
    }
    EXPECT_EQ(ComparableEvents(), expected);
}

TEST_F(AgentLoading, BundleThatThrowsAtItsStart) {
    const AgentResult result = RunBehindFirst(Entry("second"), "second.arguments = throw\n");
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("bundle second refused to start: out of patience"));
    ExpectFirstWasEnded();
}

TEST_F(AgentLoading, AFailingStopIsReportedAndTheOthersAreEnded) {
    const AgentResult result = RunBehindFirst(Entry("second"), "second.arguments = fail-stop\n");
    EXPECT_EQ(result.exitCode, 6);
    EXPECT_THAT(result.errors, HasSubstr("bundle second: StopService failed"));
    EXPECT_THAT(Events(), ::testing::Contains("second destructor"));
    ExpectFirstWasEnded();
}

TEST_F(AgentLoading, AFailingFiniIsReportedAndTheOthersAreEnded) {
    const AgentResult result = RunBehindFirst(Entry("second"), "second.arguments = fail-fini\n");
    EXPECT_EQ(result.exitCode, 6);
    EXPECT_THAT(result.errors, HasSubstr("bundle second: fini failed"));
    EXPECT_THAT(Events(), ::testing::Contains("second destructor"));
    ExpectFirstWasEnded();
}

TEST_F(AgentLoading, AClientWithoutALoggingServiceSaysWhatIsMissing) {
    Configure("bundles = " + Entry("first") + "\n");
    const AgentResult result = Run({"--sample"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("there is no logging service"));
    ExpectFirstWasEnded();
}

}  // namespace
