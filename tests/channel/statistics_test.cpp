// What channels and log files say about themselves.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "channel/channel.h"
#include "channel/channelfixture.h"
#include "channel/logfile.h"

using NS_TEST::WithDetail;
using NS_TEST::WriteFile;

namespace NS_LOG_SERVICE1 {
namespace {

class Statistics : public NS_TEST::ChannelTest {
  protected:
    Statistics() { LetFilesDiffer(); }

    uint64_t BytesIn(const std::string& directory) const {
        uint64_t bytes = 0;
        for (const std::string& contents : Contents(directory)) {
            bytes += contents.size();
        }
        return bytes;
    }
};

TEST_F(Statistics, StartAtZero) {
    const TEDebugInfoBuf channel("debug", 10, 10, 1000000, 5);
    const LogFileStatistics& file = channel.FileStatistics();
    for (const Counter* const counter :
         {&channel.Statistics().queued, &channel.Statistics().queuedMost,
          &channel.Statistics().keptBack, &channel.Statistics().evicted, &file.recordsWritten,
          &file.recordsDumped, &file.recordsDropped, &file.bytesWritten, &file.rotations,
          &file.lastError, &file.lastErrorSecond}) {
        EXPECT_EQ(counter->Get(), 0u);
    }
}

TEST_F(Statistics, CountRecordsAndBytes) {
    LogFile file(Path("log").c_str(), "unbi_debug_", 1000000, 5);
    KeptRecords cached(10);
    cached.Append(PackedRecord(WithDetail(3, "kept").Get()));
    cached.Append(PackedRecord(WithDetail(3, "kept").Get()));
    file.WriteRecord(WithDetail(1, "one").Get());
    file.WriteRecord(WithDetail(-2, "two").Get());
    file.WriteRecordWithDump(WithDetail(0, "three").Get(), cached);
    RecordQueue queue;
    NS_TEST::AppendTo(queue, WithDetail(1, "four"));
    NS_TEST::AppendTo(queue, WithDetail(1, "five"));
    file.WriteRecords(queue);
    EXPECT_EQ(file.Statistics().recordsWritten.Get(), 5u);
    EXPECT_EQ(file.Statistics().recordsDumped.Get(), 2u);
    EXPECT_EQ(file.Statistics().recordsDropped.Get(), 0u);
    EXPECT_EQ(file.Statistics().rotations.Get(), 0u);
    EXPECT_EQ(file.Statistics().bytesWritten.Get(), BytesIn(Path("log")));
    file.Close();
    EXPECT_EQ(file.Statistics().bytesWritten.Get(), BytesIn(Path("log")));
}

TEST_F(Statistics, CountRotations) {
    LogFile file(Path("log").c_str(), "unbi_debug_", 1, 5);
    for (uint64_t i = 1; i <= 5; ++i) {
        file.WriteRecord(WithDetail(1, "text").Get());
        EXPECT_EQ(file.Statistics().rotations.Get(), i);
    }
    EXPECT_EQ(file.Statistics().bytesWritten.Get(), BytesIn(Path("log")));
    file.Close();
    file.EnsureOpen();
    EXPECT_EQ(file.Statistics().rotations.Get(), 5u);
}

TEST_F(Statistics, CountRecordsForWhichNoFileCouldBeOpened) {
    LogFile file(Path("log").c_str(), "unbi_debug_", 1000000, 5);
    Calls().ScriptOpens([](uint64_t) { return EMFILE; });
    file.WriteRecord(WithDetail(1, "one").Get());
    file.WriteRecord(WithDetail(-2, "two").Get());
    EXPECT_EQ(file.Statistics().recordsDropped.Get(), 2u);
    EXPECT_EQ(file.Statistics().recordsWritten.Get(), 0u);
    EXPECT_EQ(file.Statistics().bytesWritten.Get(), 0u);
    EXPECT_EQ(file.Statistics().lastError.Get(), static_cast<uint64_t>(EMFILE));
    EXPECT_GE(file.Statistics().lastErrorSecond.Get(), static_cast<uint64_t>(kNow));
    EXPECT_LE(file.Statistics().lastErrorSecond.Get(), static_cast<uint64_t>(kNow + 20));
    KeptRecords cached(10);
    cached.Append(PackedRecord(WithDetail(3, "kept").Get()));
    file.WriteRecordWithDump(WithDetail(0, "three").Get(), cached);
    EXPECT_EQ(file.Statistics().recordsDropped.Get(), 4u);
    EXPECT_EQ(file.Statistics().recordsDumped.Get(), 0u);
}

TEST_F(Statistics, CountRecordsThatCouldNotBeWritten) {
    LogFile file(Path("log").c_str(), "unbi_debug_", 1000000, 5);
    file.WriteRecord(WithDetail(1, "one").Get());
    const auto failOnce = [](uint64_t number, std::string_view) {
        return number == 1   ? NS_TEST::SystemCalls::Fate{10, 0}
               : number == 2 ? NS_TEST::SystemCalls::Fate{0, ENOSPC}
                             : NS_TEST::SystemCalls::Fate();
    };
    Calls().ScriptWrites(failOnce);
    file.WriteRecord(WithDetail(1, "two").Get());
    EXPECT_EQ(file.Statistics().recordsDropped.Get(), 1u);
    EXPECT_EQ(file.Statistics().recordsWritten.Get(), 1u);
    EXPECT_EQ(file.Statistics().rotations.Get(), 1u);
    EXPECT_EQ(file.Statistics().lastError.Get(), static_cast<uint64_t>(ENOSPC));
    KeptRecords cached(10);
    cached.Append(PackedRecord(WithDetail(3, "kept").Get()));
    Calls().ScriptWrites(failOnce);
    file.WriteRecordWithDump(WithDetail(0, "three").Get(), cached);
    EXPECT_EQ(file.Statistics().recordsDropped.Get(), 2u);
    EXPECT_EQ(file.Statistics().recordsDumped.Get(), 0u);
    EXPECT_EQ(file.Statistics().recordsWritten.Get(), 2u);
    EXPECT_EQ(file.Statistics().bytesWritten.Get(), BytesIn(Path("log")));
}

TEST_F(Statistics, CountRecordsThatWereGivenUp) {
    LogFile file(Path("log").c_str(), "unbi_debug_", 1000000, 5);
    file.CountDropped(7);
    EXPECT_EQ(file.Statistics().recordsDropped.Get(), 7u);
}

TEST_F(Statistics, ShowWhatWaitsInAChannel) {
    TEDebugInfoBuf channel("debug", 4, 2, 1000000, 5);
    channel.AppendOutputInfo(WithDetail(1, "one").Get());
    channel.AppendOutputInfo(WithDetail(1, "two").Get());
    EXPECT_EQ(channel.Statistics().queued.Get(), 2u);
    EXPECT_EQ(channel.Statistics().queuedMost.Get(), 2u);
    channel.Flush();
    EXPECT_EQ(channel.Statistics().queued.Get(), 0u);
    EXPECT_EQ(channel.Statistics().queuedMost.Get(), 2u);
    for (int i = 0; i < 5; ++i) {
        channel.AppendFiltered(WithDetail(3, "kept").Get());
    }
    EXPECT_EQ(channel.Statistics().keptBack.Get(), 2u);
    EXPECT_EQ(channel.Statistics().evicted.Get(), 3u);
    channel.Output(WithDetail(0, "error").Get());
    EXPECT_EQ(channel.Statistics().keptBack.Get(), 0u);
    EXPECT_EQ(channel.Statistics().evicted.Get(), 3u);
    EXPECT_EQ(channel.FileStatistics().recordsWritten.Get(), 3u);
    EXPECT_EQ(channel.FileStatistics().recordsDumped.Get(), 2u);
}

TEST_F(Statistics, CountTheNoticeOfAFullQueue) {
    TEDebugInfoBuf channel("debug", 4, 2, 1000000, 5);
    for (int i = 0; i < 4; ++i) {
        channel.AppendOutputInfo(WithDetail(1, "text").Get());
    }
    EXPECT_EQ(channel.Statistics().queued.Get(), 0u);
    EXPECT_EQ(channel.Statistics().queuedMost.Get(), 4u);
    EXPECT_EQ(channel.FileStatistics().recordsWritten.Get(), 5u);
}

TEST_F(Statistics, ShowWhatIsEvictedWhereNothingIsKept) {
    TEDebugInfoBuf channel("debug", 4, 0, 1000000, 5);
    channel.AppendFiltered(WithDetail(3, "kept").Get());
    EXPECT_EQ(channel.Statistics().keptBack.Get(), 0u);
    EXPECT_EQ(channel.Statistics().evicted.Get(), 1u);
}

TEST_F(Statistics, CountQueuedRecordsForWhichNoFileCouldBeOpened) {
    WriteFile(Path("log"), "a file in the way");
    TEDebugInfoBuf channel("debug", 10, 10, 1000000, 5);
    channel.AppendOutputInfo(WithDetail(1, "one").Get());
    channel.AppendOutputInfo(WithDetail(1, "two").Get());
    channel.Flush();
    EXPECT_EQ(channel.FileStatistics().recordsDropped.Get(), 2u);
    EXPECT_EQ(channel.FileStatistics().recordsWritten.Get(), 0u);
    channel.AppendOutputInfo(WithDetail(1, "three").Get());
    channel.AppendFiltered(WithDetail(1, "kept").Get());
    channel.OutputAll();
    // The queued record, the kept one and the order's own record.
    EXPECT_EQ(channel.FileStatistics().recordsDropped.Get(), 5u);
    std::filesystem::remove(Path("log"));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
