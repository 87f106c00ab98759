// What the agent prints at its end about the log files of the run.
#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <sstream>

#include "agent/agentfixture.h"
#include "agent/logfilesummary.h"
#include "bundlemgr/logsupport.h"
#include "support/pipe.h"

namespace {

using namespace testing;

class AgentSummary : public NS_TEST::AgentTest {
  protected:
    std::string OnlyFile(const std::string& category) const {
        const auto files = LogFiles(category);
        EXPECT_EQ(files.size(), 1U);
        return files.empty() ? std::string() : files.front();
    }
};

TEST_F(AgentSummary, NamesEachFileWithItsSizeAndItsLastRecord) {
    const auto result = RunWith("one\ntwo\n", {"--summary"});
    EXPECT_EQ(result.exitCode, 0);
    const std::string path = OnlyFile("corbaoper");
    EXPECT_THAT(result.output,
                HasSubstr(path + "\n  " + std::to_string(std::filesystem::file_size(path)) +
                          " bytes, last record:\n    <2>\n"));
    EXPECT_THAT(result.output, HasSubstr("\n     Detail: two\n    </2>\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("one")));
}

TEST_F(AgentSummary, CoversAllCategoriesAndIsPrintedOnRequestOnly) {
    EXPECT_EQ(Run({"--sample"}).output, "");
    std::filesystem::remove_all(Path("log"));
    const std::string output = Run({"--sample", "--summary"}).output;
    for (const std::string& category : NS_TEST::kCategories) {
        EXPECT_THAT(output, HasSubstr(OnlyFile(category) + "\n"));
    }
}

// The names of its files end with the number of its process, which may have been another's before.
TEST_F(AgentSummary, LeavesOutWhatOtherRunsHaveWritten) {
    NS_TEST::Pipe pipe;
    NS_TEST::ChildProcess agent(Agent({"--summary"}, pipe.Reader()));
    const std::string other = Path("log/unbi_corbaoper_20240305140709_1.log");
    const std::string earlier =
        Path("log/unbi_corbaoper_20240305140709_" + std::to_string(agent.GetId()) + ".log");
    NS_TEST::WriteFile(other, "of another agent that runs now");
    NS_TEST::WriteFile(earlier, "of an earlier agent");
    pipe.Write("one\n");
    pipe.CloseWriter();
    const std::string output = agent.Wait().output;
    EXPECT_THAT(output, HasSubstr("Detail: one\n"));
    EXPECT_THAT(output, Not(HasSubstr(other)));
    EXPECT_THAT(output, Not(HasSubstr(earlier)));
}

// The clock may have been set back meanwhile.
TEST_F(AgentSummary, GoesByWhatHasChangedAndNotByTheTime) {
    const std::string begin = Path("log/unbi_debug_");
    const std::string end = "_" + std::to_string(getpid()) + ".log";
    const std::string same = begin + "1" + end;
    const std::string changed = begin + "2" + end;
    const std::string fresh = begin + "3" + end;
    NS_TEST::WriteFile(same, "");
    NS_TEST::WriteFile(changed, "");
    const NS_REFERENCE_HOST::LogFileSummary summary(Path("log"));
    const auto longAgo = std::filesystem::last_write_time(same) - std::chrono::hours(1000);
    NS_TEST::WriteFile(changed, "x");
    NS_TEST::WriteFile(fresh, "");
    std::filesystem::last_write_time(changed, longAgo);
    std::filesystem::last_write_time(fresh, longAgo);
    std::ostringstream printed;
    summary.Print(printed);
    EXPECT_EQ(printed.str(),
              changed + "\n  1 bytes, last record:\n    x\n" + fresh + "\n  0 bytes, no record\n");
}

TEST_F(AgentSummary, LooksWhereTheServiceWritesAlsoWhenTheItemWasChangedMeanwhile) {
    const std::string bundles =
        "bundles = qv_base_log, " + Entry("first") + "\nfirst.arguments = read-items\n";
    Configure(bundles);
    NS_TEST::Pipe pipe;
    NS_TEST::ChildProcess agent(Agent({"--summary", "--traffic", "input"}, pipe.Reader()));
    ASSERT_TRUE(agent.WaitForError("serving"));
    Configure(bundles + "logpath = " + Path("other") + "\n");
    // The platform reads a file only when its second is over.
    std::filesystem::last_write_time(
        configFile_, std::filesystem::last_write_time(configFile_) - std::chrono::hours(1));
    pipe.CloseWriter();
    EXPECT_THAT(agent.Wait().output, HasSubstr(Path("log/unbi_corbaoper_")));
}

TEST_F(AgentSummary, ShowsFilesWithoutARecord) {
    const std::string output = Run({"--traffic", "input", "--summary"}).output;
    const std::string path = OnlyFile("corbaoper");
    EXPECT_THAT(output, HasSubstr(path + "\n  " + std::to_string(std::filesystem::file_size(path)) +
                                  " bytes, no record\n"));
}

TEST_F(AgentSummary, FollowsAConfiguredLogDirectoryAndSaysWhenNothingWasWritten) {
    Configure("bundles = qv_base_log\nlogpath = " + Path("other") + "\n");
    EXPECT_THAT(RunWith("one\n", {"--summary"}).output, HasSubstr(Path("other/unbi_corbaoper_")));
    // Nobody can make a directory there.
    Configure("bundles = qv_base_log\nlogpath = /dev/null/log\n");
    EXPECT_EQ(RunWith("one\n", {"--summary"}).output, "No log file was written in /dev/null/log\n");
}

TEST_F(AgentSummary, ShowsBeginAndEndOfAHugeRecord) {
    const auto result =
        RunWith("begin" + std::string(3000000, 'x') + "end", {"--summary", "--level", "1"});
    EXPECT_THAT(result.output, HasSubstr("\n     Detail: beginxxx"));
    EXPECT_THAT(result.output, HasSubstr("xxxend\n    </1>\n"));
    EXPECT_THAT(result.output, HasSubstr("bytes in its middle are not shown"));
    EXPECT_LT(result.output.size(), 3000U);
}

// Whichever byte of a character the cut meets.
TEST_F(AgentSummary, ShowsNoHalfCharactersOfAHugeRecord) {
    std::string euros;
    for (int i = 0; i < 100000; ++i) {
        euros += "\u20AC";
    }
    for (const char* shift : {"", "x", "xx"}) {
        const std::string output = RunWith(shift + euros, {"--summary"}).output;
        EXPECT_THAT(output, HasSubstr("bytes in its middle are not shown"));
        std::string converted;
        EXPECT_EQ(NS_BUNDLEMGR1::Convert2UTFforLog(output, converted), output);
    }
}

TEST_F(AgentSummary, DisarmsControlCharacters) {
    const auto result = RunWith("a\x1B[31mb\x7F\t\r\n", {"--summary"});
    EXPECT_THAT(result.output, HasSubstr("a\\x1b[31mb\\x7f\t\\x0d\n"));
}

}  // namespace
