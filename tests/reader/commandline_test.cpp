// What the command line takes, and what it refuses.
#include <gmock/gmock.h>

#include <filesystem>

#include "reader/programfixture.h"

namespace {

using namespace NS_TEST;
using testing::HasSubstr;

class CommandLine : public ReaderProgram {
  protected:
    CommandLine() { WriteSample(); }

    // Refuses the words, and names one of them.
    static void ExpectRefusal(const std::vector<std::string>& words, const std::string& reason) {
        const ProgramResult result = Run(words);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(words);
        EXPECT_EQ(result.output, "") << testing::PrintToString(words);
        EXPECT_THAT(result.errors, testing::StartsWith("qvlog: "));
        EXPECT_THAT(result.errors, HasSubstr(reason));
    }
};

TEST_F(CommandLine, RefusesWhatStandsBeforeACommand) {
    const std::string page = Path("page.html");
    ExpectRefusal({"--category", "debug", "prune", "--keep", "0", Path()},
                  "'--category' stands before the command prune: ");
    ExpectRefusal({Path(), "prune", "--keep", "0", Path("none")},
                  "'" + Path() + "' stands before the command prune: ");
    ExpectRefusal({"-f", "verify", Path()}, "'--follow' stands before the command verify");
    ExpectRefusal({"--category", "debug", "verify", Path()}, "'--category' stands before");
    ExpectRefusal({Path(), "stats", Path()}, "'" + Path() + "' stands before");
    ExpectRefusal({"-l", "0", "stats", Path(), "-l", "1"}, "'--level' stands before");
    ExpectRefusal({"--store", "postgresql://a", "prune", "--keep", "0"}, "'--store' stands before");
    ExpectRefusal({"-n", "1", "report", "--html", page, Path()}, "'--lines' stands before");
    ExpectRefusal({"-r", "export", "--to", "sqlite", page, Path()}, "'--reverse' stands before");
    EXPECT_FALSE(std::filesystem::exists(page));
    EXPECT_EQ(Run({"-c", Path()}).output, "6\n");
}

TEST_F(CommandLine, TakesASelectionBeforeACommandThatSelects) {
    EXPECT_THAT(Run({"-l", "0", "stats", Path()}).output, testing::StartsWith("1 records\n"));
    EXPECT_THAT(Run({"-v", "-g", "ne-7", "stats", "--category", "debug", Path()}).output,
                testing::StartsWith("1 records\n"));
}

TEST_F(CommandLine, TakesAnyValueOfAConditionThatIsGivenSeveralTimes) {
    EXPECT_EQ(Details({"-l", "0", "-l", "1"}), "begin one,begin two,NE-7 does not answer,end two,");
    EXPECT_EQ(Details({"-l", "short,3", "--level", "0"}), "tick,NE-7 does not answer,asks NE-7,");
}

TEST_F(CommandLine, RefusesASecondValueWhereOnlyOneMayHold) {
    for (const std::string option : {"--since", "--until", "--grep"}) {
        for (const std::string command : {"", "stats"}) {
            std::vector<std::string> words = {option, "now", option, "today", Path()};
            words.insert(words.begin(), command.empty() ? 0 : 1, command);
            ExpectRefusal(words, option);
        }
    }
    ExpectRefusal({"--store", "postgresql://a", "--store", "postgresql://b"}, "--store");
}

TEST_F(CommandLine, RefusesOptionsThatWouldDoNothing) {
    ExpectRefusal({"--end-with-agent", Path()}, "--end-with-agent: of which --follow?");
    ExpectRefusal({"-o", "raw", "--fields", "time", Path()}, "--fields: --output raw has none");
}

TEST_F(CommandLine, RefusesARangeOfTimeThatEndsBeforeItBegins) {
    ExpectRefusal({"-S", "2026-03-05T14:00:20", "-U", "2026-03-05T14:00:10", Path()},
                  "'2026-03-05T14:00:10' is before '2026-03-05T14:00:20' of --since");
    EXPECT_EQ(Details({"-S", "2026-03-05T14:00:20", "-U", "2026-03-05T14:00:20"}), "1");
}

}  // namespace
