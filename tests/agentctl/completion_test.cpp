// The completion of the control program's command line.
#include <gmock/gmock.h>

#include <sstream>

#include "support/childprocess.h"
#include "support/temporarydirectory.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;

// What bash offers for the last of these words.
std::vector<std::string> Complete(const std::vector<std::string>& words) {
    std::vector<std::string> command = {
        "bash", "-c",
        "source \"$0\" && COMP_WORDS=(\"$@\") && COMP_CWORD=$(($# - 1)) && _qv_agentctl && "
        "printf '%s\\n' \"${COMPREPLY[@]}\"",
        QV_COMPLETION, "qv_agentctl"};
    command.insert(command.end(), words.begin(), words.end());
    const NS_TEST::ChildResult result = NS_TEST::RunProgram({command});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    std::vector<std::string> offered;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line) && !line.empty();) {
        offered.push_back(line);
    }
    return offered;
}

TEST(Completion, OffersTheCommands) {
    EXPECT_THAT(Complete({""}), ElementsAre("status", "flush", "flushall", "queue", "loggers",
                                            "level", "module", "mode"));
    EXPECT_THAT(Complete({"fl"}), ElementsAre("flush", "flushall"));
    EXPECT_THAT(Complete({"--json", "--timeout", "3", "lo"}), ElementsAre("loggers"));
}

TEST(Completion, OffersWhatACommandTakes) {
    EXPECT_THAT(Complete({"queue", ""}), ElementsAre("on", "off"));
    EXPECT_THAT(Complete({"queue", "on", ""}), IsEmpty());
    EXPECT_THAT(Complete({"level", ""}), ElementsAre("0", "1", "2", "3"));
    EXPECT_THAT(Complete({"level", "2", "o"}), ElementsAre("on", "off"));
    EXPECT_THAT(Complete({"level", "2", "on", "first", "second", "corbao"}),
                ElementsAre("corbaoper"));
    EXPECT_THAT(Complete({"flushall", "corba_"}),
                ElementsAre("corba_alarm", "corba_internal_oper"));
    EXPECT_THAT(Complete({"module", ""}), ElementsAre("show"));
    EXPECT_THAT(Complete({"module", "7", ""}), ElementsAre("on", "off", "show"));
    EXPECT_THAT(Complete({"module", "show", ""}), IsEmpty());
    EXPECT_THAT(Complete({"mode", ""}), ElementsAre("0", "1"));
}

TEST(Completion, OffersOptionsWhereTheyFit) {
    EXPECT_THAT(Complete({"--"}), IsSupersetOf({"--share", "--socket", "--timeout", "--json"}));
    EXPECT_THAT(Complete({"status", "--w"}), ElementsAre("--watch"));
    EXPECT_THAT(Complete({"queue", "--"}), Not(Contains("--watch")));
    EXPECT_THAT(Complete({"status", "--watch", "2", "--j"}), ElementsAre("--json"));
}

TEST(Completion, OffersDirectoriesForTheShareDirectory) {
    const NS_TEST::TemporaryDirectory directory;
    const std::string start = directory.Path().substr(0, directory.Path().size() - 1);
    EXPECT_THAT(Complete({"--share", start}), Contains(directory.Path()));
    EXPECT_THAT(Complete({"--timeout", ""}), IsEmpty());
}

// Bash makes three words of "--share=DIR".
TEST(Completion, KnowsTheValuesBehindAnEqualsSign) {
    const NS_TEST::TemporaryDirectory directory;
    const std::string start = directory.Path().substr(0, directory.Path().size() - 1);
    EXPECT_THAT(Complete({"--share", "=", start}), Contains(directory.Path()));
    EXPECT_THAT(Complete({"--share", "=", "/tmp", "lo"}), ElementsAre("loggers"));
    EXPECT_THAT(Complete({"--timeout", "=", "3", "queue", ""}), ElementsAre("on", "off"));
    EXPECT_THAT(Complete({"status", "--watch", "=", "3", "--j"}), ElementsAre("--json"));
    EXPECT_THAT(Complete({"--timeout", "="}), IsEmpty());
}

}  // namespace
