// What the agent says about a configuration.
#include <gmock/gmock.h>

#include <filesystem>

#include "agent/agentfixture.h"

namespace {

using NS_TEST::ChildResult;
using namespace testing;

class ConfigurationCheck : public NS_TEST::AgentTest {
  protected:
    ChildResult Check() const { return Run({"--check-config"}); }

    // What is said of a complete configuration to which these lines are added.
    ChildResult CheckWith(const std::string& lines) const {
        Configure("bundles = qv_base_log\n" + lines);
        return Check();
    }

    // The item's line and the warnings behind it.
    static std::string PartAbout(const std::string& name, const std::string& output) {
        std::string part;
        bool isPart = false;
        for (const std::string& line : NS_TEST::SplitText(output)) {
            isPart = line.rfind(name + " = ", 0) == 0 || (isPart && line.front() == ' ');
            part += isPart ? line + "\n" : "";
        }
        return part;
    }
};

TEST_F(ConfigurationCheck, ShowsEachItemWithItsValueAndItsSourceAndMakesNoFile) {
    const ChildResult result = CheckWith("qv_base_log.arguments = -x\nother.item = 7\n");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, "configuration " + configFile_ +
                                 "\n"
                                 "qv_base_log.arguments = -x   (line 12)\n"
                                 "bundles = qv_base_log   (line 11)\n"
                                 "logpath = " +
                                 Path("log") +
                                 "   (default)\n"
                                 "logfilepolicy = contract   (default)\n"
                                 "logswitch = 1,1,1,1   (line 6)\n"
                                 "logfilesize = 2000000000   (line 1)\n"
                                 "logfilecount = 100   (line 2)\n"
                                 "queuebuflength = 16384   (line 3)\n"
                                 "filterbuflength = 128   (line 4)\n"
                                 "logtimeinterval = 1   (line 5)\n"
                                 "outputmode = 0   (line 7)\n"
                                 "bEnableAsnLog = 1   (line 8)\n"
                                 "bLogOutputPara = 0   (line 9)\n"
                                 "bEnableAsnTrace = 0   (line 10)\n"
                                 "other.item = 7   (line 13)\n");
    EXPECT_THAT(NS_TEST::ListFiles(Path()), ElementsAre("conf"));
}

TEST_F(ConfigurationCheck, TheShippedConfigurationHasNothingToComplainAbout) {
    NS_TEST::WriteFile(configFile_, NS_TEST::ReadFile(QV_SHIPPED_CONFIGURATION));
    const ChildResult result = Check();
    EXPECT_EQ(result.exitCode, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr("logfilepolicy = keeprecords   (line "));
    EXPECT_THAT(result.output, HasSubstr("logfilesize = 20000000   (line "));
}

// Whoever writes a relative --share means it.
TEST_F(ConfigurationCheck, TakesTheLogDirectoryOfARelativeShareAsItIs) {
    Configure("bundles = qv_base_log\n");
    const std::string share = std::filesystem::relative(Path());
    const std::string part = PartAbout("logpath", Run({"--check-config", "--share", share}).output);
    EXPECT_EQ(part, "logpath = " + share + "/log   (default)\n");
}

struct CheckedCase {
    std::string line;
    std::string inForce;
    std::string warning;
};

// The service is asked below whether it takes the values as this says.
TEST_F(ConfigurationCheck, WarnsOfValuesThatMeanSomethingElse) {
    const CheckedCase cases[] = {
        {"logfilesize = 20 MB", "4194304", "\"20 MB\" is no number: 4194304 is in force"},
        {"logfilesize = -1", "4294967295", "\"-1\" is read as 4294967295"},
        {"logfilesize = 0", "0", "0 begins a new file for each record"},
        {"queuebuflength = 99999999999", "16384", "\"99999999999\" is no number"},
        {"queuebuflength = 0", "0", "as if the queue were full"},
        {"outputmode = 3", "0", "\"3\" is neither 0 nor 1: 0 is in force"},
        {"bEnableAsnLog = 2", "2", "\"2\" is neither 0 nor 1: 2 is in force"},
        {"bEnableAsnTrace = yes", "0", "\"yes\" is no number: 0 is in force"},
        {"logswitch = on,on,off,off", "1,1,1,1",
         "it means 1,1,1,1 at the start, and 0,0,0,0 when the file changes"},
        {"logswitch = 1, 1, 0, 0", "1,1,1,0",
         "it means 1,1,1,0 at the start, and 1,1,0,0 when the file changes"},
        {"logswitch = 0,0", "0,0,1,1",
         "it means 0,0,1,1 at the start, and that nothing is applied when the file changes"},
        {"logswitch = 2,0,1,1", "1,0,1,1", "and 1,0,1,1 when the file changes"},
        {"logpath = log", "log", "is relative to the directory in which the agent is started"},
        {"logpath = /dev/null/log", "/dev/null/log", "/dev/null/log: Not a directory"},
        {"LogPath = /x", "/x", "is not known; is \"logpath\" meant?"},
        {"first.arguments = x", "x", "is for a bundle that is not listed"}};
    for (const auto& [line, inForce, warning] : cases) {
        SCOPED_TRACE(line);
        const ChildResult result = CheckWith(line + "\n");
        EXPECT_EQ(result.exitCode, 1);
        const std::string name = line.substr(0, line.find(' '));
        const std::string part = PartAbout(name, result.output);
        EXPECT_THAT(part, StartsWith(name + " = " + inForce + "   (line 12)\n"));
        EXPECT_THAT(part, HasSubstr("    warning: "));
        EXPECT_THAT(part, HasSubstr(warning));
    }
}

TEST_F(ConfigurationCheck, WarnsOfLinesWithoutEffectAndOfItemsThatAreMissing) {
    ChildResult result = CheckWith("logfilecount = 7\nno item\n");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(PartAbout("logfilecount", result.output),
                HasSubstr("line 2 is without effect, because line 12 has it again"));
    EXPECT_THAT(result.output, HasSubstr("\nwarning: line 13: no '=', the line is skipped\n"));
    WriteConfiguration("bundles = qv_base_log\n");
    result = Check();
    EXPECT_EQ(result.exitCode, 1);
    for (const char* item : {"logswitch", "bEnableAsnLog", "bLogOutputPara"}) {
        EXPECT_THAT(PartAbout(item, result.output),
                    AllOf(HasSubstr("(default)"), HasSubstr("no change of the file takes effect")));
    }
    EXPECT_EQ(NS_TEST::CountIn(result.output, "warning: "), 3);
}

TEST_F(ConfigurationCheck, CountsTheLinesWithOneNameBehindTheFirstTen) {
    std::string lines;
    for (int i = 0; i < 100000; ++i) {
        lines += "logfilecount = 7\n";
    }
    const std::string part = PartAbout("logfilecount", CheckWith(lines).output);
    EXPECT_EQ(NS_TEST::CountIn(part, "warning: "), 11);
    EXPECT_THAT(part, HasSubstr("line 20 is without effect, because line 100011 has it again"));
    EXPECT_THAT(part,
                HasSubstr("99990 more lines are without effect, because line 100011 has it again"));
}

TEST_F(ConfigurationCheck, CountsTheBrokenLinesBehindTheFirstTen) {
    std::string lines;
    for (int line = 12; line < 112; ++line) {
        lines += "no item\n";
    }
    const ChildResult result = CheckWith(lines);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, HasSubstr("warning: line 21: no '=', the line is skipped\n"
                                         "warning: 90 more lines are skipped\n"));
    EXPECT_EQ(NS_TEST::CountIn(result.output, "no '='"), 10);
}

// The agent takes one for part of a name anywhere but at the start.
TEST_F(ConfigurationCheck, KnowsAByteOrderMarkAtTheStartOfTheFileOnly) {
    const std::string mark = "\xEF\xBB\xBF";
    WriteConfiguration(mark + "bundles = qv_base_log\n" + mark + "logswitch = 0,0,0,0\n");
    const std::string output = Check().output;
    EXPECT_THAT(output, HasSubstr("\nbundles = qv_base_log   (line 1)\n"));
    EXPECT_THAT(output, HasSubstr("\nlogswitch = 1,1,1,1   (default)\n"));
    EXPECT_THAT(output, HasSubstr("\n" + mark + "logswitch = 0,0,0,0   (line 2)\n"));
}

TEST_F(ConfigurationCheck, LooksAtTheLogDirectoryAsTheAgentWould) {
    const std::string deep = Path("a/b/c/d/e");
    Configure("bundles = qv_base_log\nlogpath = " + deep + "\n");
    EXPECT_THAT(Check().output, HasSubstr("only " + Path() + " exists, and no more than three"));
    std::filesystem::create_directory(Path("a"));
    std::filesystem::permissions(Path("a"), std::filesystem::perms::owner_read);
    EXPECT_THAT(NS_TEST::RunProgram(PlainAgent({"--check-config"})).output,
                HasSubstr("Permission denied"));
}

TEST_F(ConfigurationCheck, EndsWithThreeWhenTheAgentWouldNotStart) {
    WriteConfiguration("logfilepolicy = keep\n");
    for (const std::string& lines :
         {std::string("bundles =\n"), std::string("bundles = qv_base_log\nlogfilepolicy = keep\n"),
          std::string("bundles = a b\n")}) {
        WriteConfiguration(lines);
        const ChildResult result = Check();
        EXPECT_EQ(result.exitCode, 3) << lines;
        EXPECT_THAT(result.output, HasSubstr("\nerror: "));
    }
    std::filesystem::remove(configFile_);
    EXPECT_EQ(Check().exitCode, 3);
}

TEST_F(ConfigurationCheck, TellsEachErrorAndDoesNotGuessAboutBundlesThatItCannotRead) {
    WriteConfiguration("bundles = a b\nlogfilepolicy = keep\nfirst.arguments = x\n");
    const ChildResult result = Check();
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.output, HasSubstr("\nerror: configuration item \"bundles\": 'a b'"));
    EXPECT_THAT(result.output, HasSubstr("\nerror: configuration item \"logfilepolicy\": 'keep'"));
    EXPECT_EQ(PartAbout("first.arguments", result.output), "first.arguments = x   (line 3)\n");
}

TEST_F(ConfigurationCheck, IsNoSuccessWhenItsOutputCannotBeWritten) {
    for (const auto& [bundles, exitCode] : {std::pair("qv_base_log", 1), std::pair("a b", 3)}) {
        Configure(std::string("bundles = ") + bundles + "\n");
        NS_TEST::ChildStart start = Agent({"--check-config"});
        start.words.insert(start.words.begin(), {"sh", "-c", "exec \"$0\" \"$@\" >/dev/full"});
        const ChildResult result = NS_TEST::RunProgram(start);
        EXPECT_EQ(result.exitCode, exitCode) << bundles;
        EXPECT_EQ(result.errors, "qv_agent: the output could not be written\n");
    }
}

TEST_F(ConfigurationCheck, ItsWarningsAreToldAtEachStart) {
    Configure("bundles = qv_base_log\nlogfilesize = 20 MB\n");
    const ChildResult result = Run({"--sample"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, HasSubstr("configuration: logfilesize: \"20 MB\" is no number: "
                                         "4194304 is in force"));
}

}  // namespace
