// Dumps in a log file.
#include <gtest/gtest.h>

#include <string>

#include "channel/channelfixture.h"
#include "channel/logfile.h"

using NS_TEST::DumpedFrame;
using NS_TEST::DumpFrame;
using NS_TEST::Frame;
using NS_TEST::kCreated;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;

namespace NS_LOG_SERVICE1 {
namespace {

class LogFileDump : public NS_TEST::ChannelTest {
  protected:
    LogFileDump() : file_(Path().c_str(), "unbi_debug_", 1000000, 5) {}

    std::string Written() { return ReadFile(Path(NameNow())); }

    LogFile file_;
};

TEST_F(LogFileDump, ShowsTheTriggerTheHistoryAndOneNumber) {
    KeptRecords cached(5);
    cached.Append(PackedRecord(WithDetail(3, "older").Get()));
    cached.Append(PackedRecord(WithDetail(2, "newer").Get()));
    file_.WriteRecordWithDump(WithDetail(0, "error").Get(), cached);
    EXPECT_EQ(
        Written(),
        "File create at 2024-03-05T14:07:09.654321+00:00.\n"
        "<1>\n2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:0, "
        "File: ne.cpp Func:GetNe Line:77\n Detail: error\n"
        "*********** Dump filtered debug information begin **********\n"
        "2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:3, "
        "File: ne.cpp Func:GetNe Line:77\n Detail : older\n"
        "2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:2, "
        "File: ne.cpp Func:GetNe Line:77\n Detail : newer\n"
        "*********** Dump filtered debug information end **********\n</1>\n\n");
    EXPECT_EQ(cached.Count(), 2u);
}

TEST_F(LogFileDump, IsThereWithoutAHistory) {
    file_.WriteRecordWithDump(WithDetail(0, "error").Get(), KeptRecords(0));
    EXPECT_EQ(Written(),
              "File create at 2024-03-05T14:07:09.654321+00:00.\n"
              "<1>\n2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, "
              "DL:0, File: ne.cpp Func:GetNe Line:77\n Detail: error\n"
              "*********** Dump filtered debug information begin **********\n"
              "*********** Dump filtered debug information end **********\n</1>\n\n");
}

TEST_F(LogFileDump, TakesOneNumber) {
    KeptRecords cached(5);
    cached.Append(PackedRecord(WithDetail(3, "kept").Get()));
    file_.WriteRecord(WithDetail(1, "one").Get());
    file_.WriteRecordWithDump(WithDetail(0, "two").Get(), cached);
    file_.WriteRecord(WithDetail(1, "three").Get());
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one") +
                             DumpFrame(2, 0, "two", DumpedFrame(3, "kept")) + Frame(3, 1, "three"));
}

TEST_F(LogFileDump, ShowsEachRecordsOwnTime) {
    KeptRecords cached(5);
    auto kept = WithDetail(3, "kept");
    kept.time = ACE_Time_Value(1709647628, 7);
    cached.Append(PackedRecord(kept.Get()));
    kept.time = ACE_Time_Value(1709647000, 0);
    cached.Append(PackedRecord(kept.Get()));
    file_.WriteRecordWithDump(WithDetail(0, "error").Get(), cached);
    const auto pieces = NS_TEST::ParseLogText(Written());
    ASSERT_EQ(pieces.size(), 2u);
    ASSERT_EQ(pieces[1].dumped.size(), 2u);
    EXPECT_EQ(pieces[1].record.stamp, "2024-03-05T14:07:09.123456+00:00");
    EXPECT_EQ(pieces[1].dumped[0].stamp, "2024-03-05T14:07:08.000007+00:00");
    EXPECT_EQ(pieces[1].dumped[1].stamp, "2024-03-05T13:56:40.000000+00:00");
}

TEST_F(LogFileDump, ShowsAnyRecordOfTheHistoryInTheSameWay) {
    KeptRecords cached(5);
    cached.Append(PackedRecord(WithDetail(-2, "short").Get()));
    cached.Append(PackedRecord(WithDetail(0, "grave").Get()));
    auto cut = WithDetail(1, std::string("cut\0off", 7));
    cut.thread = static_cast<pthread_t>(-5);
    cached.Append(PackedRecord(cut.Get()));
    file_.WriteRecordWithDump(WithDetail(3, "trigger").Get(), cached);
    EXPECT_EQ(
        Written(),
        kCreated +
            DumpFrame(
                1, 3, "trigger",
                DumpedFrame(-2, "short") + DumpedFrame(0, "grave") +
                    "2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:-5, "
                    "DL:1, File: ne.cpp Func:GetNe Line:77\n Detail : cut\n"));
}

TEST_F(LogFileDump, IsDroppedWithItsNumberWhereNoFileCanBeOpened) {
    KeptRecords cached(5);
    cached.Append(PackedRecord(WithDetail(3, "kept").Get()));
    Calls().ScriptOpens([](uint64_t number) { return number == 1 ? EMFILE : 0; });
    file_.WriteRecordWithDump(WithDetail(0, "one").Get(), cached);
    EXPECT_EQ(NS_TEST::ListFiles(Path()), std::vector<std::string>());
    file_.WriteRecord(WithDetail(1, "two").Get());
    EXPECT_EQ(Written(), kCreated + Frame(2, 1, "two"));
}

TEST_F(LogFileDump, TakesHugeHistories) {
    KeptRecords cached(100);
    std::string lines;
    for (int i = 0; i < 100; ++i) {
        const std::string detail(20000, static_cast<char>('a' + i % 26));
        cached.Append(PackedRecord(WithDetail(3, detail).Get()));
        lines += DumpedFrame(3, detail);
    }
    LogFile file(Path("huge").c_str(), "unbi_debug_", 100000000, 5);
    file.WriteRecordWithDump(WithDetail(0, "error").Get(), cached);
    EXPECT_TRUE(ReadFile(Path("huge/" + NameNow())) == kCreated + DumpFrame(1, 0, "error", lines));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
