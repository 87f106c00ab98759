// The recipes of the operator's guide for rotating and removing files, carried out as they stand
// there.
#include <gmock/gmock.h>

#include <filesystem>

#include "agentctl/liveagent.h"

namespace {

using NS_TEST::ChildResult;
using NS_TEST::ListFiles;
using NS_TEST::QuoteForShell;
using NS_TEST::ReadFile;
using NS_TEST::RunProgram;
using NS_TEST::WriteFile;
using namespace testing;

void ReplaceAll(std::string& text, const std::string& what, const std::string& with) {
    for (size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
}

class LiveRecipe : public NS_TEST::LiveAgent {
  protected:
    LiveRecipe() { Configure("bundles = qv_base_log, qv_control\nlogfilepolicy = keeprecords\n"); }

    // The example in the guide that has `text` in it, for the directories of this test.
    std::string Recipe(const std::string& text) const {
        std::string example;
        for (const std::string& line : NS_TEST::ReadLines(QV_OPERATORS_GUIDE)) {
            if (line.rfind("    ", 0) == 0) {
                example += line.substr(4) + "\n";
            } else if (example.find(text) != std::string::npos) {
                break;
            } else {
                example.clear();
            }
        }
        EXPECT_THAT(example, HasSubstr(text));
        ReplaceAll(example, "/var/log/agent", QuoteForShell(Path("log")));
        ReplaceAll(example, "/srv/agent", QuoteForShell(Path()));
        ReplaceAll(example, "qv_agentctl", QuoteForShell(QV_AGENTCTL));
        return example;
    }

    static void Carry(const std::string& recipe) {
        const ChildResult result = RunProgram({{"sh", "-ec", recipe}});
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
    }

    // A log file of an agent that has ended, so many days ago.
    std::string MakeFile(const std::string& end, size_t size, int days) const {
        std::string path = Path("log/unbi_corbaoper_20240305_140709_" + end);
        WriteFile(path, std::string(size, 'x'));
        std::filesystem::last_write_time(
            path, std::filesystem::last_write_time(path) - std::chrono::hours(24 * days));
        return path;
    }

    // An agent that has logged a record; the path of its file.
    std::string StartAndLog(const std::string& line) {
        StartWithInput();
        Log(line);
        EXPECT_TRUE(AwaitCount("recordsWritten", 1));
        return LogFiles("corbaoper").back();
    }

    static bool Exists(const std::string& path) { return std::filesystem::exists(path); }
};

TEST_F(LiveRecipe, LogrotateMovesTheFilesAndTheAgentMakesThemAnew) {
    const std::string path = StartAndLog("first");
    WriteFile(Path("logrotate.conf"), Recipe("unbi_*.log {"));
    std::filesystem::permissions(Path("logrotate.conf"), std::filesystem::perms(0600));
    const std::string rotate = QuoteForShell(QV_LOGROTATE) + " -f -s " +
                               QuoteForShell(Path("state")) + " " +
                               QuoteForShell(Path("logrotate.conf"));
    Carry(rotate);
    Log("second");
    ASSERT_TRUE(AwaitCount("recordsWritten", 2));
    Carry(rotate);
    Log("third");
    ASSERT_TRUE(AwaitCount("recordsWritten", 3));
    EXPECT_EQ(Control({"health"}).exitCode, 0);
    Stop();
    const auto unpack = [&path](const char* generation) {
        return RunProgram({{"gzip", "-dc", path + generation}}).output;
    };
    EXPECT_THAT(unpack(".2.gz"), AllOf(HasSubstr("first"), Not(HasSubstr("second"))));
    EXPECT_THAT(unpack(".1.gz"), AllOf(HasSubstr("second"), Not(HasSubstr("third"))));
    EXPECT_THAT(ReadFile(path), AllOf(HasSubstr("third"), Not(HasSubstr("second"))));
}

TEST_F(LiveRecipe, ForAgeRemovesOldFilesAndNoneThatIsOpen) {
    const std::string path = StartAndLog("first");
    const std::string fresh = MakeFile("1.log", 10, 29);
    const std::string old = MakeFile("2.log", 10, 32);
    const std::string packed = MakeFile("3.log.1.gz", 10, 32);
    Carry(Recipe("-mtime +30"));
    EXPECT_TRUE(Exists(path));
    EXPECT_TRUE(Exists(fresh));
    EXPECT_FALSE(Exists(old));
    EXPECT_FALSE(Exists(packed));
    Log("second");
    ASSERT_TRUE(AwaitCount("recordsWritten", 2));
    Stop();
    EXPECT_THAT(Logged("corbaoper"), AllOf(HasSubstr("first"), HasSubstr("second")));
}

TEST_F(LiveRecipe, ForSpaceKeepsTheNewestFiles) {
    const std::string path = StartAndLog("first");
    const std::string oldest = MakeFile("1.log", 40000, 3);
    const std::string older = MakeFile("2.log", 40000, 2);
    const std::string newest = MakeFile("3 with blanks.log", 40000, 1);
    std::string recipe = Recipe("sum > 1000000000");
    ReplaceAll(recipe, "1000000000", "100000");
    Carry(recipe);
    EXPECT_TRUE(Exists(path));
    EXPECT_TRUE(Exists(newest));
    EXPECT_TRUE(Exists(older));
    EXPECT_FALSE(Exists(oldest));
    EXPECT_EQ(Control({"health"}).exitCode, 0);
}

}  // namespace
