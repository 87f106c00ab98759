// The agent's options and its configuration.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "agent/agentfixture.h"

namespace {

using namespace NS_TEST;
using namespace testing;

// A sanitizer reserves more than any limit.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kAddressSpaceIsFree = false;
#else
constexpr bool kAddressSpaceIsFree = true;
#endif

class AgentStarting : public AgentTest {
  protected:
    // Expects that an agent with these arguments does not start, and says why.
    void ExpectRefusal(const std::vector<std::string>& arguments, int exitCode,
                       const std::string& reason) const {
        ExpectRefusal(Agent(arguments), exitCode, reason);
    }
    void ExpectRefusal(const ChildStart& start, int exitCode, const std::string& reason) const {
        SCOPED_TRACE(PrintToString(start.words));
        const ChildResult result = RunProgram(start);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_THAT(result.errors, HasSubstr(reason));
        EXPECT_FALSE(std::filesystem::exists(Path("log")));
    }
};

TEST_F(AgentStarting, HelpNamesOptionsAndExitCodesAndVersionIsOneLine) {
    const ChildResult result = Run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    for (const char* expected : {"--check-config", "--share,--config DIR", "--category NAME",
                                 "--level N", "--sample", "--keep-running", "--no-log-proxy",
                                 "--summary", "--threads N", "Exit codes:", "corba_agent.cfg"}) {
        EXPECT_THAT(result.output, HasSubstr(expected));
    }
    EXPECT_THAT(Run({"--version"}).output,
                MatchesRegex("qv_agent [0-9.]+ \\(commit [0-9a-z-]+, [^()]+\\)\n"));
}

TEST_F(AgentStarting, WrongOptionsAreRefusedByName) {
    ExpectRefusal({"--nonsense"}, 2, "--nonsense");
    for (const char* level : {"4", "-3", "high"}) {
        ExpectRefusal({"--level", level}, 2, "--level");
    }
    ExpectRefusal({"--share", ""}, 2, "--share: it is empty");
    // The known names are told.
    for (const char* category : {"CorbaOper", ""}) {
        ExpectRefusal({"--category", category}, 2, "corba_internal_oper");
    }
    ExpectRefusal({"--traffic", "heavy"}, 2, "sample");
}

TEST_F(AgentStarting, TheShareDirectoryIsTheOptionsOrElseTheEnvironmentsAndHasToBeGiven) {
    const ChildStart starts[] = {
        {{QV_AGENT, "--config", Path(), "--sample"}, {}},
        {{QV_AGENT, "--sample"}, {{"_APP_SHARE_DIR", Path()}}},
        {{QV_AGENT, "--share", Path(), "--sample"}, {{"_APP_SHARE_DIR", Path("elsewhere")}}}};
    for (const ChildStart& start : starts) {
        SCOPED_TRACE(PrintToString(start.words));
        std::filesystem::remove_all(Path("log"));
        EXPECT_EQ(RunProgram(start).exitCode, 0);
        EXPECT_FALSE(Records("corbaoper").empty());
    }
    const ChildResult result = RunProgram({{QV_AGENT, "--sample"}, {{"_APP_SHARE_DIR", ""}}});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("--share"));
}

TEST_F(AgentStarting, AConfigurationThatCannotBeReadIsNamedWithTheReason) {
    std::filesystem::remove(configFile_);
    ExpectRefusal({"--sample"}, 3, configFile_);
    // A directory cannot be read by anybody, root included.
    std::filesystem::create_directory(configFile_);
    ExpectRefusal({"--sample"}, 3, "cannot read " + configFile_);
    ExpectRefusal({"--sample"}, 3, "directory");
}

TEST_F(AgentStarting, AConfigurationOutOfReachIsNotCalledMissing) {
    std::filesystem::permissions(Path("conf"), std::filesystem::perms::none);
    ExpectRefusal(PlainAgent({"--sample"}), 3, configFile_ + " cannot be reached: Permission");
    std::filesystem::permissions(Path("conf"), std::filesystem::perms::owner_all);
    std::filesystem::permissions(configFile_, std::filesystem::perms::none);
    ExpectRefusal(PlainAgent({"--sample"}), 3, "cannot read " + configFile_ + ": Permission");
}

// Each is refused at once and in little memory: a pipe would never end, nor would that device.
TEST_F(AgentStarting, APipeADeviceAndThreeGigabytesAreNoConfiguration) {
    const auto limited = [this] {
        ChildStart start = Agent({"--sample"});
        start.words.insert(start.words.begin(), {"prlimit", "--as=1000000000"});
        return start;
    };
    const ChildStart start = kAddressSpaceIsFree ? limited() : Agent({"--sample"});
    std::filesystem::remove(configFile_);
    ASSERT_EQ(mkfifo(configFile_.c_str(), 0600), 0);
    ExpectRefusal(start, 3, "cannot read " + configFile_ + ": it is a pipe, not a file");
    std::filesystem::remove(configFile_);
    std::filesystem::create_symlink("/dev/zero", configFile_);
    ExpectRefusal(start, 3, "cannot read " + configFile_ + ": it is a device, not a file");
    std::filesystem::remove(configFile_);
    WriteFile(configFile_, "");
    std::filesystem::resize_file(configFile_, uintmax_t{3} * 1024 * 1024 * 1024);
    ExpectRefusal(start, 3, "cannot read " + configFile_ + ": it is larger than 16777216 bytes");
}

TEST_F(AgentStarting, AFilePolicyThatIsNoneIsRefused) {
    Configure("bundles = qv_base_log\nlogfilepolicy = keep records\n");
    ExpectRefusal({"--sample"}, 3,
                  "\"logfilepolicy\": 'keep records' is neither keeprecords nor contract");
}

TEST_F(AgentStarting, ABundleListThatIsMissingOrWrongIsRefused) {
    Configure("");
    ExpectRefusal({"--sample"}, 3, "\"bundles\"");
    Configure("bundles = qv_base_log, qv_base_log\n");
    ExpectRefusal({"--sample"}, 3, "'qv_base_log' is listed twice");
    for (const char* list : {"qv_base_log,,first", "=/lib/libx.so", "first=", "a b", "../x"}) {
        Configure(std::string("bundles = ") + list + "\n");
        ExpectRefusal({"--sample"}, 3, "bundles");
    }
}

TEST_F(AgentStarting, AClientGetsTheConfiguredArgumentsAndTheCommandLineWins) {
    const std::string arguments = "qv_line_feed.arguments = --category corbasys --level 2\n";
    Configure("bundles = qv_base_log, qv_line_feed\n" + arguments);
    EXPECT_EQ(RunWith("one\n", {}).exitCode, 0);
    EXPECT_EQ(OnlyRecord("corbasys").level, 2) << "a listed client is not added again";
    EXPECT_TRUE(Records("corbaoper").empty());
    Configure("bundles = qv_base_log\n" + arguments);
    EXPECT_EQ(RunWith("one\n", {"--category", "debug"}).exitCode, 0);
    EXPECT_EQ(OnlyRecord("debug").level, 2);
}

}  // namespace
