// What the agent prints at its end about the log files of the run.
#include <gmock/gmock.h>

#include <filesystem>

#include "agent/agentfixture.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

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

TEST_F(AgentSummary, IsPrintedOnRequestOnly) {
    EXPECT_EQ(RunWith("one\n", {}).output, "");
}

TEST_F(AgentSummary, CoversAllCategories) {
    const std::string output = Run({"--sample", "--summary"}).output;
    for (const std::string& category : NS_TEST::kCategories) {
        EXPECT_THAT(output, HasSubstr(OnlyFile(category) + "\n"));
    }
}

TEST_F(AgentSummary, LeavesOutWhatOtherRunsHaveWritten) {
    RunWith("one\n", {});
    const std::string earlier = OnlyFile("corbaoper");
    EXPECT_THAT(RunWith("two\n", {"--summary", "--category", "debug"}).output,
                Not(HasSubstr(earlier)));
}

TEST_F(AgentSummary, ShowsFilesWithoutARecord) {
    const std::string output = Run({"--traffic", "input", "--summary"}).output;
    const std::string path = OnlyFile("corbaoper");
    EXPECT_THAT(output, HasSubstr(path + "\n  " + std::to_string(std::filesystem::file_size(path)) +
                                  " bytes, no record\n"));
}

TEST_F(AgentSummary, SaysWhenNothingWasWritten) {
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

TEST_F(AgentSummary, DisarmsControlCharacters) {
    const auto result = RunWith("a\x1B[31mb\r\n", {"--summary"});
    EXPECT_THAT(result.output, HasSubstr("a\\x1b[31mb\\x0d\n"));
}

TEST_F(AgentSummary, FollowsAConfiguredLogDirectory) {
    Configure("bundles = qv_base_log\nlogpath = " + Path("other") + "\n");
    EXPECT_THAT(RunWith("one\n", {"--summary"}).output, HasSubstr(Path("other/unbi_corbaoper_")));
}

}  // namespace
