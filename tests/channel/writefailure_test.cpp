// What becomes of records and files when writing fails.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "channel/channelfixture.h"
#include "channel/filesizelimit.h"
#include "channel/logfile.h"

namespace fs = std::filesystem;

using NS_TEST::AppendTo;
using NS_TEST::ClosedAt;
using NS_TEST::CreatedAt;
using NS_TEST::Frame;
using NS_TEST::ListFiles;
using NS_TEST::ParsedPiece;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;
using Fate = NS_TEST::SystemCalls::Fate;

namespace NS_LOG_SERVICE1 {
namespace {

class WriteFailure : public NS_TEST::ChannelTest {
  protected:
    using Texts = std::vector<std::string>;

    WriteFailure() : file_(Path("log").c_str(), "unbi_debug_", 1000000, 5) { LetFilesDiffer(); }

    void Write(const std::string& detail, int level = 1) {
        file_.WriteRecord(WithDetail(level, detail).Get());
    }

    // The calls of these numbers fail, the first one being the next call.
    static void Fail(uint64_t first, uint64_t last, int error = ENOSPC) {
        Calls().ScriptWrites([first, last, error](uint64_t number, std::string_view) {
            return number >= first && number <= last ? Fate{0, error} : Fate();
        });
    }
    // The call of this number takes so many bytes, the one behind it fails.
    static void Tear(uint64_t torn, size_t bytes) {
        Calls().ScriptWrites([torn, bytes](uint64_t number, std::string_view) {
            return number == torn ? Fate{bytes, 0} : number == torn + 1 ? Fate{0, ENOSPC} : Fate();
        });
    }

    Texts Written() const { return Contents(Path("log")); }

    LogFile file_;
};

TEST_F(WriteFailure, LosesTheRecordAndBeginsANewFile) {
    Write("one");
    Fail(1, 1);
    Write("two");
    EXPECT_EQ(Written(), Texts({CreatedAt("14:07:09") + Frame(1, 1, "one") + ClosedAt("14:07:10"),
                                CreatedAt("14:07:10")}));
    Write("three");
    EXPECT_EQ(Written()[1], CreatedAt("14:07:10") + Frame(3, 1, "three"));
}

TEST_F(WriteFailure, TakesATornRecordBack) {
    Write("one");
    for (const size_t bytes : {1u, 4u, 50u, 130u}) {
        Tear(1, bytes);
        Write("torn");
    }
    Calls().ScriptWrites(nullptr);
    Write("after");
    const Texts written = Written();
    ASSERT_EQ(written.size(), 5u);
    EXPECT_EQ(written[0], CreatedAt("14:07:09") + Frame(1, 1, "one") + ClosedAt("14:07:10"));
    EXPECT_EQ(written[1], CreatedAt("14:07:10") + ClosedAt("14:07:11"));
    EXPECT_EQ(written[2], CreatedAt("14:07:11") + ClosedAt("14:07:12"));
    EXPECT_EQ(written[3], CreatedAt("14:07:12") + ClosedAt("14:07:13"));
    EXPECT_EQ(written[4], CreatedAt("14:07:13") + Frame(6, 1, "after"));
}

TEST_F(WriteFailure, IsNotWhatASignalOrAShortWriteIs) {
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number % 3 == 0 ? Fate{0, EINTR} : Fate{7, 0};
    });
    Write("one");
    Write("two");
    EXPECT_EQ(Written(), Texts({CreatedAt("14:07:09") + Frame(1, 1, "one") + Frame(2, 1, "two")}));
    EXPECT_EQ(file_.Statistics().lastError.Get(), 0u);
}

TEST_F(WriteFailure, OfTheCreationLineLeavesTheFileOpen) {
    Fail(1, 1);
    EXPECT_TRUE(file_.EnsureOpen());
    EXPECT_EQ(Written(), Texts({""}));
    Write("one");
    EXPECT_EQ(Written(), Texts({Frame(1, 1, "one")}));
}

TEST_F(WriteFailure, TakesATornCreationLineBack) {
    Tear(1, 20);
    Write("one");
    EXPECT_EQ(Written(), Texts({Frame(1, 1, "one")}));
}

TEST_F(WriteFailure, OfTheClosingLineIsTriedAgainOnce) {
    Write("one");
    Fail(1, 1);
    file_.Close();
    EXPECT_EQ(Calls().Writes(), 2u);
    EXPECT_EQ(Written(),
              Texts({CreatedAt("14:07:09") + Frame(1, 1, "one") + ClosedAt("14:07:10")}));
}

TEST_F(WriteFailure, OfTheClosingLineIsAcceptedTheSecondTime) {
    Write("one");
    Fail(1, 100);
    file_.Close();
    EXPECT_EQ(Calls().Writes(), 2u);
    EXPECT_FALSE(file_.IsOpen());
    EXPECT_EQ(Written(), Texts({CreatedAt("14:07:09") + Frame(1, 1, "one")}));
}

TEST_F(WriteFailure, TakesATornClosingLineBack) {
    Write("one");
    Tear(1, 20);
    file_.Close();
    EXPECT_EQ(Written(),
              Texts({CreatedAt("14:07:09") + Frame(1, 1, "one") + ClosedAt("14:07:10")}));
}

// The history is lost as a whole; the error itself goes into the next file, under its number.
TEST_F(WriteFailure, LeavesOfADumpItsTriggerInTheNextFile) {
    KeptRecords cached(10);
    cached.Append(PackedRecord(WithDetail(3, "kept").Get()));
    cached.Append(PackedRecord(WithDetail(3, "kept too").Get()));
    Write("one");
    for (const size_t bytes : {0u, 10u, 150u, 250u, 480u}) {
        Tear(1, bytes);
        file_.WriteRecordWithDump(WithDetail(0, "error").Get(), cached);
    }
    EXPECT_EQ(
        Written(),
        Texts({CreatedAt("14:07:09") + Frame(1, 1, "one") + ClosedAt("14:07:10"),
               CreatedAt("14:07:10") + NS_TEST::DumpFrame(2, 0, "error", "") + ClosedAt("14:07:11"),
               CreatedAt("14:07:11") + NS_TEST::DumpFrame(3, 0, "error", "") + ClosedAt("14:07:12"),
               CreatedAt("14:07:12") + NS_TEST::DumpFrame(4, 0, "error", "") + ClosedAt("14:07:13"),
               CreatedAt("14:07:13") + NS_TEST::DumpFrame(5, 0, "error", "") + ClosedAt("14:07:14"),
               CreatedAt("14:07:14") + NS_TEST::DumpFrame(6, 0, "error", "")}));
    EXPECT_EQ(file_.Statistics().recordsDropped.Get(), 10u);
    EXPECT_EQ(file_.Statistics().recordsWritten.Get(), 6u);
}

TEST_F(WriteFailure, ThatLastsLosesTheTriggerOfADumpToo) {
    KeptRecords cached(10);
    cached.Append(PackedRecord(WithDetail(3, "kept").Get()));
    Write("one");
    Fail(1, UINT64_MAX, ENOSPC);
    file_.WriteRecordWithDump(WithDetail(0, "error").Get(), cached);
    EXPECT_EQ(file_.Statistics().recordsDropped.Get(), 2u);
    EXPECT_EQ(file_.Statistics().recordsWritten.Get(), 1u);
}

TEST_F(WriteFailure, ThatLastsTriesOneNewFileForEachRecord) {
    Write("one");
    Fail(1, UINT64_MAX, EIO);
    Calls().ScriptOpens(nullptr);
    for (uint64_t i = 1; i <= 10; ++i) {
        Write("lost");
        EXPECT_EQ(Calls().Opens(), i);
    }
    Calls().ScriptWrites(nullptr);
    Write("back");
    const Texts written = Written();
    EXPECT_EQ(written.front(), CreatedAt("14:07:09") + Frame(1, 1, "one"));
    EXPECT_EQ(written.back(), Frame(12, 1, "back"));
}

TEST_F(WriteFailure, OfADeviceWithoutRoomIsOvercomeInTheNextFile) {
    fs::create_directories(Path("log"));
    fs::create_symlink("/dev/full", Path("log/" + NameNow()));
    Write("one");
    Write("two");
    EXPECT_EQ(ReadFile(Path("log/" + NameAt("20240305_140710"))),
              CreatedAt("14:07:10") + Frame(2, 1, "two"));
    EXPECT_EQ(ListFiles(Path("log")).size(), 2u);
    EXPECT_EQ(file_.Statistics().lastError.Get(), static_cast<uint64_t>(ENOSPC));
}

TEST_F(WriteFailure, InABatchLosesOnlyTheRecordThatTore) {
    RecordQueue queue;
    for (const char* const detail : {"one", "two", "three", "four"}) {
        AppendTo(queue, WithDetail(1, detail));
    }
    file_.EnsureOpen();
    Tear(1, Frame(1, 1, "one").size() + Frame(2, 1, "two").size() + 20);
    file_.WriteRecords(queue);
    EXPECT_EQ(Written(), Texts({CreatedAt("14:07:09") + Frame(1, 1, "one") + Frame(2, 1, "two") +
                                    ClosedAt("14:07:10"),
                                CreatedAt("14:07:10") + Frame(4, 1, "four")}));
}

TEST_F(WriteFailure, InABatchBetweenTwoRecordsLosesTheSecond) {
    RecordQueue queue;
    for (const char* const detail : {"one", "two", "three"}) {
        AppendTo(queue, WithDetail(1, detail));
    }
    file_.EnsureOpen();
    Tear(1, Frame(1, 1, "one").size());
    file_.WriteRecords(queue);
    EXPECT_EQ(Written(), Texts({CreatedAt("14:07:09") + Frame(1, 1, "one") + ClosedAt("14:07:10"),
                                CreatedAt("14:07:10") + Frame(3, 1, "three")}));
}

TEST_F(WriteFailure, AtAFileSizeLimitLeavesWholeRecords) {
    for (size_t limit = 0; limit < 700; limit += 13) {
        const std::string directory = Path("limit" + std::to_string(limit));
        LogFile file(directory.c_str(), "unbi_debug_", 1000000, 5);
        {
            const NS_TEST::FileSizeLimit scope(limit);
            for (int i = 0; i < 6; ++i) {
                file.WriteRecord(WithDetail(1, "text").Get());
            }
        }
        file.WriteRecord(WithDetail(1, "after").Get());
        file.Close();
        std::vector<ParsedPiece> pieces;
        ASSERT_NO_THROW(pieces = NS_TEST::ParseLogDirectory(directory)) << limit;
        const auto records = NS_TEST::OfKind(pieces, ParsedPiece::RECORD);
        ASSERT_FALSE(records.empty());
        EXPECT_EQ(records.back().number, 7u);
        // As many as fit into each file, and then one that is lost.
        const size_t fit = (std::max<size_t>(limit, 49) - 49) / Frame(1, 1, "text").size();
        EXPECT_EQ(records.size(), fit == 0 ? 1 : 6 - 6 / (fit + 1) + 1) << limit;
    }
}

// A file system of its own with room for a few pages.
class SmallFileSystem {
  public:
    explicit SmallFileSystem(const std::string& path) : path_(path) {
        fs::create_directories(path);
        mounted_ = mount("none", path.c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~SmallFileSystem() {
        if (mounted_) {
            umount2(path_.c_str(), MNT_DETACH);
        }
    }
    SmallFileSystem(const SmallFileSystem&) = delete;
    SmallFileSystem& operator=(const SmallFileSystem&) = delete;
    bool Mounted() const { return mounted_; }

  private:
    std::string path_;
    bool mounted_ = false;
};

TEST_F(WriteFailure, OnAFullFileSystemLeavesWholeRecords) {
    const SmallFileSystem small(Path("small"));
    if (!small.Mounted()) {
        GTEST_SKIP() << "this user may not mount a file system: " << std::strerror(errno);
    }
    const std::string directory = Path("small/log");
    LogFile file(directory.c_str(), "unbi_debug_", 1000000, 5);
    for (size_t i = 0; i < 300; ++i) {
        file.WriteRecord(WithDetail(1, std::string(i * 7 % 1500, 'x')).Get());
    }
    EXPECT_GT(file.Statistics().recordsDropped.Get(), 0u);
    EXPECT_EQ(file.Statistics().lastError.Get(), static_cast<uint64_t>(ENOSPC));
    uint64_t previous = 0;
    const auto full = NS_TEST::OfKind(NS_TEST::ParseLogDirectory(directory), ParsedPiece::RECORD);
    EXPECT_EQ(full.size(), file.Statistics().recordsWritten.Get());
    EXPECT_GT(full.size(), 20u);
    for (const ParsedPiece& piece : full) {
        EXPECT_GT(piece.number, previous);
        previous = piece.number;
        EXPECT_EQ(piece.record.detail.size(), (piece.number - 1) * 7 % 1500);
    }
    const std::string open = fs::path(file.CurrentPath()).filename();
    for (const std::string& name : ListFiles(directory)) {
        if (name != open) {
            fs::remove(directory + "/" + name);
        }
    }
    for (int i = 0; i < 3; ++i) {
        file.WriteRecord(WithDetail(1, "room again").Get());
    }
    const auto after = NS_TEST::OfKind(NS_TEST::ParseLogDirectory(directory), ParsedPiece::RECORD);
    ASSERT_GE(after.size(), 3u);
    EXPECT_EQ(after.back().number, 303u);
    EXPECT_EQ(after[after.size() - 3].number, 301u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
