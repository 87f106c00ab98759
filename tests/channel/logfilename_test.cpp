// The names of log files.
#include "channel/logfilename.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "channel/channelfixture.h"
#include "support/forkedchild.h"

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;
using std::string_literals::operator""s;

class LogFileNames : public FrozenClockTest {
  protected:
    bool IsLogFile(const std::string& name) const {
        return IsLogFileName(Path(), "unbi_debug_", name.c_str());
    }
};

TEST_F(LogFileNames, BeginWithTheSeriesAndTheCategory) {
    EXPECT_EQ(LogFilePrefix("corba_internal_oper"), "unbi_corba_internal_oper_");
    EXPECT_EQ(LogFilePrefix(""), "unbi__");
}

TEST_F(LogFileNames, TellLocalTimeAndProcess) {
    const std::string ending = "_" + std::to_string(getpid()) + ".log";
    EXPECT_EQ(NewLogFileName("unbi_corbaoper_"), "unbi_corbaoper_20240305_140709" + ending);
    Calls().SetClock(SystemCalls::kStart + 1, 0);
    EXPECT_EQ(NewLogFileName(""), "20240305_140710" + ending);
    const ScopedTimeZone zone(BERLIN);
    EXPECT_EQ(NewLogFileName("p_"), "p_20240305_150710" + ending);
    Calls().SetClock(1720188429, 0);
    EXPECT_EQ(NewLogFileName("p_"), "p_20240705_160709" + ending);
}

// A child that goes on logging must not write into its parent's file.
TEST_F(LogFileNames, TellTheProcessThatAForkMade) {
    const std::string parents = NewLogFileName("");
    const pid_t child = ForkChild();
    if (child == 0) {
        const std::string own = "20240305_140709_" + std::to_string(getpid()) + ".log";
        EndChild(NewLogFileName("") == own ? 0 : 1);
    }
    EXPECT_EQ(AwaitChild(child), 0);
    EXPECT_EQ(NewLogFileName(""), parents);
}

// By the stamp, then by the process number as text; the prefix counts for nothing.
TEST_F(LogFileNames, AreOrderedByWhatStandsBehindTheirPrefix) {
    const Texts names = {"unbi_debug_20231231_235959_7.log", "z_20240101_000000_1.log",
                         "a_20240101_000000_10.log",         "unbi_debug_20240101_000000_9.log",
                         "a_20240101_000000_\xff",           "a_20240101_000001_1.log",
                         "unbi_debug_20240102_000000_1.log"};
    for (size_t i = 0; i < names.size(); ++i) {
        for (size_t j = 0; j < names.size(); ++j) {
            EXPECT_EQ(CompareFileNames(names[i], names[j]), i < j) << names[i] << " " << names[j];
        }
    }
    EXPECT_FALSE(CompareFileNames("20240101_000000_1\0a"s, "20240101_000000_1\0b"s));
    Texts shuffled(names.rbegin(), names.rend());
    std::sort(shuffled.begin(), shuffled.end(), CompareFileNames);
    EXPECT_EQ(shuffled, names);
}

TEST_F(LogFileNames, WithoutAStampCannotBeOrdered) {
    const std::string good = "unbi_debug_20240101_000000_9.log";
    for (const std::string bad : {"", "unbi", "nounderscore.log", "_", "_1.log", "0240101_00000_",
                                  "20240101x00000_9.log", "unbi_debug_"}) {
        EXPECT_THROW(CompareFileNames(bad, good), std::out_of_range) << bad;
        EXPECT_THROW(CompareFileNames(good, bad), std::out_of_range) << bad;
    }
    EXPECT_NO_THROW(CompareFileNames("20240101_000000_", good));
    EXPECT_NO_THROW(CompareFileNames("123456789012345_", good));
}

// Any name of the series will do, as long as it has room for the prefix and the ending.
TEST_F(LogFileNames, AreRecognisedByTheirBeginTheirLengthAndTheirEnd) {
    for (const char* const name :
         {"unbi_debug_20240101_000000_9.log", "unbi_corbaoper_20240101_000000_9.log",
          "unbiwhatever_else.log", "unbi_debug_.log", "unbi1234567.log"}) {
        WriteFile(Path(name), "");
        EXPECT_TRUE(IsLogFile(name)) << name;
    }
    for (const char* const name :
         {"unbi_debug.log", "unbi123456.log", "UNBI_debug_20240101_000000_9.log",
          "xunbi_debug_20240101_000000_9.log", "unb_debug_20240101_000000_99.log",
          "unbi_debug_20240101_000000_9.LOG", "unbi_debug_20240101_000000_9.log.gz",
          "unbi_debug_20240101_000000_9log", "unbi_debug_20240101_000000_9.txt"}) {
        WriteFile(Path(name), "");
        EXPECT_FALSE(IsLogFile(name)) << name;
    }
}

TEST_F(LogFileNames, BelongToRegularFiles) {
    fs::create_directories(Path("unbi_debug_directory.log"));
    ASSERT_EQ(mkfifo(Path("unbi_debug_pipe.log").c_str(), 0600), 0);
    WriteFile(Path("other"), "");
    fs::create_symlink(Path("other"), Path("unbi_debug_link.log"));
    fs::create_symlink(Path("gone"), Path("unbi_debug_broken.log"));
    EXPECT_TRUE(IsLogFile("unbi_debug_link.log"));
    for (const char* const name : {"unbi_debug_directory.log", "unbi_debug_pipe.log",
                                   "unbi_debug_broken.log", "unbi_debug_missing.log", ""}) {
        EXPECT_FALSE(IsLogFile(name)) << name;
    }
    EXPECT_FALSE(IsLogFileName(Path("missing"), "unbi_debug_", "unbi_debug_link.log"));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
