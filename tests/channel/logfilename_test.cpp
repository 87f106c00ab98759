// The names of log files.
#include "channel/logfilename.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "channel/channelfixture.h"

using NS_TEST::WriteFile;

namespace NS_LOG_SERVICE1 {
namespace {

class LogFileNames : public NS_TEST::ChannelTest {
  protected:
    bool IsLogFileHere(const std::string& name) const {
        return IsLogFileName(Path(), "unbi_debug_", name.c_str());
    }
    bool IsLogFileOnceWritten(const std::string& name) const {
        WriteFile(Path(name), "");
        return IsLogFileHere(name);
    }
};

TEST_F(LogFileNames, BeginWithTheSeriesAndTheCategory) {
    EXPECT_EQ(LogFilePrefix("corbadebug"), "unbi_corbadebug_");
    EXPECT_EQ(LogFilePrefix("corba_internal_oper"), "unbi_corba_internal_oper_");
    EXPECT_EQ(LogFilePrefix(""), "unbi__");
}

TEST_F(LogFileNames, TellWhenAndByWhomAFileWasCreated) {
    const std::string process = std::to_string(getpid());
    EXPECT_EQ(NewLogFileName("unbi_corbaoper_"),
              "unbi_corbaoper_20240305_140709_" + process + ".log");
    Calls().SetClock(kNow + 1, 0, 0);
    EXPECT_EQ(NewLogFileName(""), "20240305_140710_" + process + ".log");
}

TEST_F(LogFileNames, TellLocalTime) {
    const NS_TEST::ScopedTimeZone zone(NS_TEST::BERLIN);
    EXPECT_EQ(NewLogFileName("p_"), "p_20240305_150709_" + std::to_string(getpid()) + ".log");
    Calls().SetClock(1720188429, 0, 0);
    EXPECT_EQ(NewLogFileName("p_"), "p_20240705_160709_" + std::to_string(getpid()) + ".log");
}

TEST_F(LogFileNames, AreOrderedByTheirStamp) {
    const std::string older = "unbi_debug_20240101_000000_9.log";
    const std::string newer = "unbi_debug_20240102_000000_1.log";
    EXPECT_TRUE(CompareFileNames(older, newer));
    EXPECT_FALSE(CompareFileNames(newer, older));
    EXPECT_FALSE(CompareFileNames(older, older));
    EXPECT_TRUE(CompareFileNames("z_20240101_000000_1.log", "a_20240101_000001_1.log"));
}

TEST_F(LogFileNames, OfOneSecondAreOrderedByTheProcessNumberAsText) {
    EXPECT_TRUE(
        CompareFileNames("unbi_debug_20240101_000000_10.log", "unbi_debug_20240101_000000_9.log"));
    EXPECT_FALSE(
        CompareFileNames("unbi_debug_20240101_000000_9.log", "unbi_debug_20240101_000000_10.log"));
    EXPECT_TRUE(
        CompareFileNames("unbi_debug_20240101_000000_1.log", "unbi_debug_20240101_000000_12.log"));
}

TEST_F(LogFileNames, AreOrderedWithoutRegardForTheirPrefix) {
    EXPECT_FALSE(
        CompareFileNames("unbi_debug_20240101_000000_1.log", "unbi_oper_20240101_000000_1.log"));
    EXPECT_FALSE(
        CompareFileNames("unbi_oper_20240101_000000_1.log", "unbi_debug_20240101_000000_1.log"));
}

TEST_F(LogFileNames, AreOrderedAsBytes) {
    EXPECT_TRUE(CompareFileNames("20240101_000000_a", "20240101_000000_\xff"));
    EXPECT_FALSE(CompareFileNames("20240101_000000_\xff", "20240101_000000_a"));
    using std::string_literals::operator""s;
    EXPECT_FALSE(CompareFileNames("20240101_000000_1\0a"s, "20240101_000000_1\0b"s));
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

TEST_F(LogFileNames, CanBeSortedOldestFirst) {
    std::vector<std::string> names = {
        "unbi_debug_20240301_000000_1.log", "unbi_debug_20231231_235959_7.log",
        "unbi_debug_20240101_000000_2.log", "unbi_debug_20240101_000000_1.log"};
    std::sort(names.begin(), names.end(), CompareFileNames);
    EXPECT_EQ(names, std::vector<std::string>(
                         {"unbi_debug_20231231_235959_7.log", "unbi_debug_20240101_000000_1.log",
                          "unbi_debug_20240101_000000_2.log", "unbi_debug_20240301_000000_1.log"}));
}

TEST_F(LogFileNames, AreRecognised) {
    EXPECT_TRUE(IsLogFileOnceWritten("unbi_debug_20240101_000000_9.log"));
    EXPECT_TRUE(IsLogFileOnceWritten("unbi_corbaoper_20240101_000000_9.log"));
    EXPECT_TRUE(IsLogFileOnceWritten("unbiwhatever_else.log"));
}

TEST_F(LogFileNames, AreLongEnoughForThePrefixAndTheirEnd) {
    EXPECT_TRUE(IsLogFileOnceWritten("unbi_debug_.log"));
    EXPECT_FALSE(IsLogFileOnceWritten("unbi_debug.log"));
    EXPECT_TRUE(IsLogFileOnceWritten("unbi1234567.log"));
    EXPECT_FALSE(IsLogFileOnceWritten("unbi123456.log"));
}

TEST_F(LogFileNames, BeginAndEndAsAllDo) {
    EXPECT_FALSE(IsLogFileOnceWritten("UNBI_debug_20240101_000000_9.log"));
    EXPECT_FALSE(IsLogFileOnceWritten("xunbi_debug_20240101_000000_9.log"));
    EXPECT_FALSE(IsLogFileOnceWritten("unb_debug_20240101_000000_99.log"));
    EXPECT_FALSE(IsLogFileOnceWritten("unbi_debug_20240101_000000_9.LOG"));
    EXPECT_FALSE(IsLogFileOnceWritten("unbi_debug_20240101_000000_9.log.gz"));
    EXPECT_FALSE(IsLogFileOnceWritten("unbi_debug_20240101_000000_9log"));
    EXPECT_FALSE(IsLogFileOnceWritten("unbi_debug_20240101_000000_9.txt"));
}

TEST_F(LogFileNames, BelongToRegularFiles) {
    std::filesystem::create_directories(Path("unbi_debug_20240101_000000_1.log"));
    ASSERT_EQ(mkfifo(Path("unbi_debug_20240101_000000_2.log").c_str(), 0600), 0);
    WriteFile(Path("other"), "");
    std::filesystem::create_symlink(Path("other"), Path("unbi_debug_20240101_000000_3.log"));
    std::filesystem::create_symlink(Path("gone"), Path("unbi_debug_20240101_000000_4.log"));
    EXPECT_FALSE(IsLogFileHere("unbi_debug_20240101_000000_1.log"));
    EXPECT_FALSE(IsLogFileHere("unbi_debug_20240101_000000_2.log"));
    EXPECT_TRUE(IsLogFileHere("unbi_debug_20240101_000000_3.log"));
    EXPECT_FALSE(IsLogFileHere("unbi_debug_20240101_000000_4.log"));
    EXPECT_FALSE(IsLogFileHere("unbi_debug_20240101_000000_5.log"));
    EXPECT_FALSE(IsLogFileHere(""));
    EXPECT_FALSE(IsLogFileName(Path("missing"), "unbi_debug_", "unbi_debug_1.log"));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
