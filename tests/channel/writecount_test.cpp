// How many system calls a record costs.
#include <gtest/gtest.h>

#include <string>

#include "channel/channel.h"
#include "channel/channelfixture.h"
#include "channel/logfile.h"

using NS_TEST::AppendTo;
using NS_TEST::ListFiles;
using NS_TEST::WithDetail;

namespace NS_LOG_SERVICE1 {
namespace {

class WriteCount : public NS_TEST::ChannelTest {
  protected:
    WriteCount() : file_(Path().c_str(), "unbi_debug_", 1000000000, 5) {
        LetFilesDiffer();
        file_.EnsureOpen();
        Restart();
    }

    static void Restart() { Calls().ScriptWrites(nullptr); }

    LogFile file_;
};

TEST_F(WriteCount, IsOneForEachRecordWrittenDirectly) {
    for (uint64_t i = 1; i <= 10; ++i) {
        file_.WriteRecord(WithDetail(1, std::string(i * i * 1000, 'x')).Get());
        EXPECT_EQ(Calls().Writes(), i);
    }
    Restart();
    file_.WriteRecord(WithDetail(-2, "short").Get());
    EXPECT_EQ(Calls().Writes(), 1u);
}

TEST_F(WriteCount, IsOneForADump) {
    KeptRecords cached(128);
    for (int i = 0; i < 128; ++i) {
        cached.Append(PackedRecord(WithDetail(3, std::string(500, 'x')).Get()));
    }
    file_.WriteRecordWithDump(WithDetail(0, "error").Get(), cached);
    EXPECT_EQ(Calls().Writes(), 1u);
}

TEST_F(WriteCount, IsOneForABatch) {
    RecordQueue queue;
    for (int i = 0; i < 5000; ++i) {
        AppendTo(queue, WithDetail(i % 5 - 2, "record " + std::to_string(i)));
    }
    file_.WriteRecords(queue);
    EXPECT_EQ(Calls().Writes(), 1u);
    Restart();
    file_.WriteRecords(RecordQueue());
    EXPECT_EQ(Calls().Writes(), 0u);
}

TEST_F(WriteCount, IsThreeForARotation) {
    const size_t frame = NS_TEST::Frame(1, 1, "text").size();
    LogFile file(Path("log").c_str(), "unbi_debug_", 49 + 3 * frame, 5);
    file.EnsureOpen();
    Restart();
    RecordQueue queue;
    for (int i = 0; i < 9; ++i) {
        AppendTo(queue, WithDetail(1, "text"));
    }
    file.WriteRecords(queue);
    // A batch, a closing line and a creation line for each of three files.
    EXPECT_EQ(ListFiles(Path("log")).size(), 4u);
    EXPECT_EQ(Calls().Writes(), 9u);
}

TEST_F(WriteCount, IsNoneForAFlush) {
    file_.Flush();
    file_.EnsureOpen();
    EXPECT_EQ(Calls().Writes(), 0u);
}

TEST_F(WriteCount, IsOneForTheQueueOfAChannel) {
    TEDebugInfoBuf channel("debug", 1000, 10, 1000000000, 5);
    channel.Flush();
    Restart();
    for (int i = 0; i < 999; ++i) {
        channel.AppendOutputInfo(WithDetail(1, "text").Get());
    }
    EXPECT_EQ(Calls().Writes(), 0u);
    channel.AppendOutputInfo(WithDetail(1, "text").Get());
    // The batch, and the notice behind it.
    EXPECT_LE(Calls().Writes(), 2u);
    EXPECT_GE(Calls().Writes(), 1u);
    Restart();
    for (int i = 0; i < 500; ++i) {
        channel.AppendOutputInfo(WithDetail(1, "text").Get());
    }
    channel.Flush();
    EXPECT_EQ(Calls().Writes(), 1u);
    Restart();
    channel.Output(WithDetail(1, "text").Get());
    EXPECT_EQ(Calls().Writes(), 1u);
    channel.AppendFiltered(WithDetail(1, "text").Get());
    EXPECT_EQ(Calls().Writes(), 1u);
    channel.Output(WithDetail(0, "text").Get());
    EXPECT_EQ(Calls().Writes(), 2u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
