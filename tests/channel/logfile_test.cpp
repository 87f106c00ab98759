// The life of a log file: from its first record to its closing line.
#include "channel/logfile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "channel/channelfixture.h"

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class LogFiles : public LogFileTest {};

TEST_F(LogFiles, TouchNothingBeforeTheFirstRecord) {
    EXPECT_FALSE(file_->IsOpen());
    EXPECT_EQ(file_->CurrentPath(), "");
    EXPECT_EQ(file_->CountLimit(), 5u);
    file_->Close();
    file_.reset();
    EXPECT_EQ(ListFiles(Path()), Texts());
}

TEST_F(LogFiles, BeginWithTheirCreationAndEndWithTheirClosingLine) {
    Make(100000, "a/b/log");
    Write("text");
    EXPECT_TRUE(file_->IsOpen());
    EXPECT_EQ(file_->CurrentPath(), Path("a/b/log/" + NameNow()));
    EXPECT_EQ(ListFiles(Path("a/b/log")), Texts({NameNow()}));
    file_.reset();
    EXPECT_EQ(Written("a/b/log"),
              "File create at 2024-03-05T14:07:09.654321+00:00.\n"
              "<1>\n2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, "
              "DL:1, File: ne.cpp Func:GetNe Line:77\n Detail: text\n</1>\n\n"
              "\nFile close at 2024-03-05T14:07:09.654321+00:00.\n");
}

TEST_F(LogFiles, NumberEveryPieceAndShowNoNumberOfAShortRecord) {
    Write("one");
    Write("two", -2);
    Write("three", -1);
    WriteDump("four", {WithDetail("kept", 3), WithDetail("kept too", 0)});
    Write("five", 0);
    WriteDump("six");
    EXPECT_EQ(Written(),
              Created() + Frame(1, "one") + ShortFrame("two") + Frame(3, "three", -1) +
                  DumpFrame(4, "four", DumpedFrame("kept") + DumpedFrame("kept too", 0)) +
                  Frame(5, "five", 0) + DumpFrame(6, "six"));
}

TEST_F(LogFiles, ShowTimesInTheLocalZone) {
    const ScopedTimeZone zone(BERLIN);
    Write("text", -2);
    EXPECT_EQ(ListFiles(Path("log")), Texts({NameAt("20240305_150709")}));
    EXPECT_EQ(Written(),
              "File create at 2024-03-05T15:07:09.654321+01:00.\n"
              "2024-03-05T15:07:09.123456+01:00,text\n");
}

TEST_F(LogFiles, ShowEachRecordsOwnTime) {
    const std::pair<ACE_Time_Value, std::string> times[] = {
        {ACE_Time_Value(1709647630, 1), "2024-03-05T14:07:10.000001+00:00"},
        {ACE_Time_Value(1709647629, 999999), "2024-03-05T14:07:09.999999+00:00"},
        {ACE_Time_Value(-1, 0), "1969-12-31T23:59:59.000000+00:00"}};
    auto record = WithDetail("a", -2);
    std::string expected = Created();
    for (const auto& [time, stamp] : times) {
        record.time = time;
        file_->WriteRecord(record.Get());
        expected += stamp + ",a\n";
    }
    EXPECT_EQ(Written(), expected);
    auto trigger = WithDetail("b", 0);
    trigger.time = times[0].first;
    file_->WriteRecordWithDump(trigger.Get(), CacheOf({record, WithDetail("c")}));
    const auto dump = ParseLogText(Written()).back();
    EXPECT_EQ(dump.record.stamp, times[0].second);
    EXPECT_EQ(dump.dumped.at(0).stamp, times[2].second);
    EXPECT_EQ(dump.dumped.at(1).stamp, "2024-03-05T14:07:09.123456+00:00");
}

// But for one separator at its end.
TEST_F(LogFiles, NameTheirDirectoryAsItWasGiven) {
    fs::create_directory_symlink(Path("real"), Path("link"));
    fs::current_path(Path());
    const std::pair<std::string, std::string> cases[] = {
        {Path("x/"), Path("x")},      {Path("y//"), Path("y/")}, {Path("z\\"), Path("z")},
        {Path("v\\\\"), Path("v\\")}, {"relative/", "relative"}, {Path("link"), Path("link")}};
    for (const auto& [given, kept] : cases) {
        fs::create_directories(Path("real"));
        LogFile file(given.c_str(), "unbi_debug_", 100000, 5);
        file.EnsureOpen();
        EXPECT_EQ(file.CurrentPath(), kept + "/" + NameNow());
        EXPECT_EQ(ReadFile(file.CurrentPath()), Created());
    }
    EXPECT_EQ(Written("real"), Created() + Closed());
}

TEST_F(LogFiles, AreOpenedOnDemandClosedOnceAndOpenedAnew) {
    LetFilesDiffer();
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(file_->EnsureOpen());
        EXPECT_TRUE(file_->IsOpen());
        file_->Flush();
        EXPECT_EQ(Written(), Created());
    }
    EXPECT_EQ(Calls().Opens(), 1u);
    Write("one");
    for (int i = 0; i < 2; ++i) {
        file_->Close();
        EXPECT_FALSE(file_->IsOpen());
        EXPECT_EQ(file_->CurrentPath(), "");
    }
    Write("two");
    EXPECT_EQ(ListFiles(Path("log")),
              Texts({NameAt("20240305_140709"), NameAt("20240305_140710")}));
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Closed(1) + Created(1) + Frame(2, "two"));
    EXPECT_EQ(Counts().rotations.Get(), 0u);
}

TEST_F(LogFiles, KnowTheirKind) {
    WriteFile(Path("log/unbi_debug_.log"), "");
    WriteFile(Path("log/unbi_oper.log"), "");
    EXPECT_TRUE(file_->IsLogFile("unbi_debug_.log"));
    EXPECT_FALSE(file_->IsLogFile("unbi_oper.log"));
    EXPECT_FALSE(file_->IsLogFile("unbi_debug_missing.log"));
}

// Each record tries once; what is lost uses up its number.
TEST_F(LogFiles, DropRecordsWhileNoFileCanBeOpened) {
    RefuseFiles();
    Write("lost");
    Write("lost", -2);
    EXPECT_EQ(Counts().recordsDropped.Get(), 2u);
    WriteDump("lost", {WithDetail("lost too")});
    EXPECT_EQ(Counts().recordsDropped.Get(), 4u);
    WriteBatch({"lost", "lost"});
    EXPECT_EQ(Calls().Opens(), 5u);
    EXPECT_FALSE(file_->EnsureOpen());
    EXPECT_FALSE(file_->IsOpen());
    EXPECT_EQ(file_->CurrentPath(), "");
    EXPECT_EQ(Counts().recordsDropped.Get(), 6u);
    EXPECT_EQ(Counts().recordsWritten.Get(), 0u);
    EXPECT_EQ(Counts().recordsDumped.Get(), 0u);
    EXPECT_EQ(Counts().bytesWritten.Get(), 0u);
    EXPECT_EQ(Counts().lastError.Get(), static_cast<uint64_t>(EMFILE));
    EXPECT_EQ(Counts().lastErrorSecond.Get(), static_cast<uint64_t>(SystemCalls::kStart));
    EXPECT_EQ(CountFiles(), 0u);
    Calls().ScriptOpens(nullptr);
    Write("back");
    EXPECT_EQ(Written(), Created() + Frame(6, "back"));
}

TEST_F(LogFiles, CountWhatTheyWrite) {
    Write("one");
    Write("two", -2);
    WriteDump("three", {WithDetail("kept"), WithDetail("kept")});
    WriteBatch({"four", "five"});
    EXPECT_EQ(Counts().recordsWritten.Get(), 5u);
    EXPECT_EQ(Counts().recordsDumped.Get(), 2u);
    EXPECT_EQ(Counts().recordsDropped.Get(), 0u);
    EXPECT_EQ(Counts().bytesWritten.Get(), Written().size());
    file_->Close();
    EXPECT_EQ(Counts().bytesWritten.Get(), Written().size());
    EXPECT_EQ(Counts().lastError.Get(), 0u);
    file_->CountDropped(7);
    EXPECT_EQ(Counts().recordsDropped.Get(), 7u);
}

TEST_F(LogFiles, CostOneSystemCallForEachPieceOrForHalfAMegabyteOfThem) {
    const auto expectWrites = [](uint64_t count, const auto& write) {
        Calls().ScriptWrites(nullptr);
        write();
        EXPECT_EQ(Calls().Writes(), count);
    };
    expectWrites(1, [this] { file_->EnsureOpen(); });
    expectWrites(0, [this] { file_->Flush(); });
    for (const size_t size : {0u, 1000u, 100000u}) {
        expectWrites(1, [&] { Write(std::string(size, 'x')); });
    }
    expectWrites(1, [this] { Write("short", -2); });
    expectWrites(1, [this] { WriteBatch(Texts(1000, "text")); });
    // Half a megabyte at a time, and what begins before that.
    expectWrites(3, [this] { WriteBatch(Texts(5, std::string(300 * 1024, 'x'))); });
    expectWrites(0, [this] { WriteBatch({}); });
    const auto kept = WithDetail(std::string(500, 'x'));
    expectWrites(1, [&] { WriteDump("error", {kept, kept, kept}); });
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
