// The delivered agent and library, with the failing calls preloaded. Not below the sanitizers,
// whose runtimes have to be the first library of a program.
#include "agent/agentfixture.h"

#include <gmock/gmock.h>

using namespace testing;

namespace NS_TEST {
namespace {

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

class DeliveredAgent : public AgentTest {
  protected:
    // Logs 40 lines under the faults, in the form that faults.h describes.
    ChildResult LogLines(const std::string& faults) const {
        std::string lines;
        for (int i = 1; i <= 40; ++i) {
            lines += "line " + std::to_string(i) + "\n";
        }
        WriteFile(Path("input"), lines);
        const int input = ::open(Path("input").c_str(), O_RDONLY | O_CLOEXEC);
        ChildStart start = Agent({"--traffic", "input"}, input);
        // A space in its path would separate libraries.
        const std::string library = Path("faults.so");
        std::filesystem::create_symlink(QV_FAULTS, library);
        start.variables = {
            {"LD_PRELOAD", library}, {"QV_FAULTS_BELOW", Path("log")}, {"QV_FAULTS", faults}};
        ChildResult result = RunProgram(start);
        ::close(input);
        return result;
    }
};

TEST_F(DeliveredAgent, LosesNothingToInterruptionsAndShortWrites) {
    const ChildResult result =
        LogLines("open:1:1:4:0:0,write:3:3:4:0:0,write:7:7:0:20:0,write:12:14:4:0:0");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, HasSubstr("faults: 6\n"));
    const std::vector<std::string> details = Details("corbaoper");
    ASSERT_EQ(details.size(), 40u);
    for (size_t i = 0; i < details.size(); ++i) {
        EXPECT_EQ(details[i], "line " + std::to_string(i + 1));
    }
}

TEST_F(DeliveredAgent, ReportsAtItsEndWhatTheDiskHasNotTaken) {
    const ChildResult result = LogLines("write:2:1000000:28:0:0");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr("corbaoper: 40 records could not be written (last error: "
                                         "No space left on device)"));
    EXPECT_THAT(result.errors, HasSubstr("faults: "));
    EXPECT_EQ(CountIn(Logged("corbaoper"), "Detail"), 0);
}

TEST_F(DeliveredAgent, LeavesWhatItHadWrittenWhenItIsKilledInAWrite) {
    const ChildResult result = LogLines("write:6:6:0:20:1");
    EXPECT_EQ(result.exitCode, -SIGKILL);
    const std::string bytes = Logged("corbaoper");
    EXPECT_EQ(CountIn(bytes, " Detail: line "), 4);
    const size_t torn = bytes.rfind("\n\n") + 2;
    EXPECT_EQ(ParseLogText(bytes.substr(0, torn)).size(), 5u);
    EXPECT_EQ(bytes.size() - torn, 20u);
}

#endif

}  // namespace
}  // namespace NS_TEST
