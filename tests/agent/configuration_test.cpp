// What the agent makes of its configuration.
#include <gmock/gmock.h>

#include <filesystem>

#include "agentfixture.h"

namespace {

using NS_TEST::AgentResult;
using ::testing::HasSubstr;

class AgentConfiguration : public NS_TEST::AgentTest {};

TEST_F(AgentConfiguration, WithoutAShareDirectoryItSaysHowToGiveOne) {
    NS_TEST::AgentStart start = Start({});
    start.arguments = {"--sample"};
    start.environment["_APP_SHARE_DIR"] = "";
    const AgentResult result = RunAs(start);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("--share"));
}

TEST_F(AgentConfiguration, AMissingFileIsNamed) {
    std::filesystem::remove(Path("conf/corba_agent.cfg"));
    const AgentResult result = Run({"--sample"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr(Path("conf/corba_agent.cfg")));
}

TEST_F(AgentConfiguration, AnUnreadableFileIsNamedWithTheReason) {
    // A directory cannot be read by anybody, root included.
    std::filesystem::remove(Path("conf/corba_agent.cfg"));
    std::filesystem::create_directory(Path("conf/corba_agent.cfg"));
    const AgentResult result = Run({"--sample"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("cannot read " + Path("conf/corba_agent.cfg")));
    EXPECT_THAT(result.errors, HasSubstr("directory"));
}

TEST_F(AgentConfiguration, ABrokenLineIsReportedWithFileAndNumberAndSkipped) {
    WriteConfiguration("# comment\nbundles = qv_base_log\nthis is no item\n");
    const AgentResult result = Run({"--sample"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, HasSubstr("conf/corba_agent.cfg:3: "));
}

TEST_F(AgentConfiguration, WithoutABundleListItNamesTheItem) {
    Configure("");
    const AgentResult result = Run({"--sample"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("\"bundles\""));
}

TEST_F(AgentConfiguration, AnEntryThatIsNoNameIsRefused) {
    for (const char* list : {"qv_base_log,,first", "=/lib/libx.so", "first=", "a b", "../x"}) {
        Configure(std::string("bundles = ") + list + "\n");
        EXPECT_EQ(Run({"--sample"}).exitCode, 3) << list;
    }
}

TEST_F(AgentConfiguration, ABundleThatIsListedTwiceIsRefused) {
    Configure("bundles = qv_base_log, qv_base_log\n");
    const AgentResult result = Run({"--sample"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("'qv_base_log' is listed twice"));
}

TEST_F(AgentConfiguration, AListedClientGetsTheConfiguredArgumentsAndIsNotAddedAgain) {
    Configure(
        "bundles = qv_base_log, qv_line_feed\n"
        "qv_line_feed.arguments = --category corbasys --level 2\n");
    EXPECT_EQ(RunWith("one\n", {}).exitCode, 0);
    const auto records = Records("corbasys");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front().record.level, 2);
    EXPECT_TRUE(Records("corbaoper").empty());
}

TEST_F(AgentConfiguration, TheCommandLineWinsOverConfiguredArguments) {
    Configure(
        "bundles = qv_base_log\n"
        "qv_line_feed.arguments = --category corbasys --level 2\n");
    EXPECT_EQ(RunWith("one\n", {"--category", "debug"}).exitCode, 0);
    const auto records = Records("debug");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front().record.level, 2);
}

}  // namespace
