// The life of a log file: from its first record to its closing line.
#include "channel/logfile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "channel/channelfixture.h"

namespace fs = std::filesystem;

using NS_TEST::DumpFrame;
using NS_TEST::Frame;
using NS_TEST::kClosed;
using NS_TEST::kCreated;
using NS_TEST::ListFiles;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;
using NS_TEST::WriteFile;

namespace NS_LOG_SERVICE1 {
namespace {

class LogFiles : public NS_TEST::ChannelTest {
  protected:
    static constexpr uint64_t kLarge = 1000000000;

    std::unique_ptr<LogFile> Make(const std::string& directory, uint64_t sizeLimit = kLarge) {
        return std::make_unique<LogFile>(directory.c_str(), "unbi_debug_", sizeLimit, 5);
    }
    std::string NowIn(const std::string& directory) const { return directory + "/" + NameNow(); }

    static void Write(LogFile& file, const std::string& detail, int level = 1) {
        file.WriteRecord(WithDetail(level, detail).Get());
    }
};

TEST_F(LogFiles, TouchNothingBeforeTheFirstRecord) {
    {
        const auto file = Make(Path("log"));
        EXPECT_FALSE(file->IsOpen());
        EXPECT_EQ(file->CurrentPath(), "");
        EXPECT_EQ(file->CountLimit(), 5u);
    }
    EXPECT_EQ(ListFiles(Path()), std::vector<std::string>());
}

TEST_F(LogFiles, BeginWithTheirCreationAndRecordNumberOne) {
    const auto file = Make(Path("a/b/log"));
    Write(*file, "text");
    EXPECT_TRUE(file->IsOpen());
    EXPECT_EQ(file->CurrentPath(), NowIn(Path("a/b/log")));
    EXPECT_EQ(ListFiles(Path("a/b/log")), std::vector<std::string>({NameNow()}));
    EXPECT_EQ(ReadFile(NowIn(Path("a/b/log"))),
              "File create at 2024-03-05T14:07:09.654321+00:00.\n"
              "<1>\n2024-03-05T14:07:09.123456+00:00, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, "
              "DL:1, File: ne.cpp Func:GetNe Line:77\n Detail: text\n</1>\n\n");
}

TEST_F(LogFiles, EndWithTheirClosingLine) {
    auto file = Make(Path());
    Write(*file, "text");
    file.reset();
    EXPECT_EQ(ReadFile(NowIn(Path())), "File create at 2024-03-05T14:07:09.654321+00:00.\n" +
                                           Frame(1, 1, "text") +
                                           "\nFile close at 2024-03-05T14:07:09.654321+00:00.\n");
}

TEST_F(LogFiles, ShowTimesInTheLocalZone) {
    const NS_TEST::ScopedTimeZone zone(NS_TEST::BERLIN);
    const auto file = Make(Path());
    Write(*file, "text", -2);
    EXPECT_EQ(ListFiles(Path()), std::vector<std::string>({NameAt("20240305_150709")}));
    EXPECT_EQ(Contents(Path()).front(),
              "File create at 2024-03-05T15:07:09.654321+01:00.\n"
              "2024-03-05T15:07:09.123456+01:00,text\n");
}

TEST_F(LogFiles, ShowEachRecordsOwnTime) {
    const auto file = Make(Path());
    auto record = WithDetail(-2, "a");
    file->WriteRecord(record.Get());
    record.time = ACE_Time_Value(1709647630, 1);
    file->WriteRecord(record.Get());
    record.time = ACE_Time_Value(1709647629, 999999);
    file->WriteRecord(record.Get());
    record.time = ACE_Time_Value(-1, 0);
    file->WriteRecord(record.Get());
    EXPECT_EQ(ReadFile(NowIn(Path())),
              kCreated + std::string("2024-03-05T14:07:09.123456+00:00,a\n"
                                     "2024-03-05T14:07:10.000001+00:00,a\n"
                                     "2024-03-05T14:07:09.999999+00:00,a\n"
                                     "1969-12-31T23:59:59.000000+00:00,a\n"));
}

TEST_F(LogFiles, GiveAShortRecordANumberThatItDoesNotShow) {
    const auto file = Make(Path());
    Write(*file, "one");
    Write(*file, "two", -2);
    Write(*file, "three", -1);
    EXPECT_EQ(ReadFile(NowIn(Path())), kCreated + Frame(1, 1, "one") +
                                           "2024-03-05T14:07:09.123456+00:00,two\n" +
                                           Frame(3, -1, "three"));
}

TEST_F(LogFiles, TakeALevelZeroRecordLikeAnyOther) {
    const auto file = Make(Path());
    Write(*file, "one", 0);
    EXPECT_EQ(ReadFile(NowIn(Path())), kCreated + Frame(1, 0, "one"));
}

TEST_F(LogFiles, TakeHugeRecords) {
    const auto file = Make(Path());
    const std::string huge(3000000, 'h');
    Write(*file, huge);
    Write(*file, "after");
    EXPECT_TRUE(ReadFile(NowIn(Path())) == kCreated + Frame(1, 1, huge) + Frame(2, 1, "after"));
}

TEST_F(LogFiles, EndTextsAtTheirFirstZeroByte) {
    const auto file = Make(Path());
    auto record = WithDetail(1, std::string("text\0more", 9));
    record.context += std::string("\0more", 5);
    record.file += std::string("\0more", 5);
    record.function += std::string("\0more", 5);
    file->WriteRecord(record.Get());
    EXPECT_EQ(ReadFile(NowIn(Path())), kCreated + Frame(1, 1, "text"));
}

TEST_F(LogFiles, HaveTheirModesWhateverTheUsersMask) {
    for (const mode_t mask : {0u, 077u, 0777u}) {
        const std::string directory = Path("mask" + std::to_string(mask)) + "/b/c";
        umask(mask);
        const auto file = Make(directory);
        Write(*file, "text");
        EXPECT_EQ(umask(022), mask);
        struct stat status;
        ASSERT_EQ(stat(NowIn(directory).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0640u);
        for (fs::path at = directory; at != Path(); at = at.parent_path()) {
            ASSERT_EQ(stat(at.c_str(), &status), 0);
            EXPECT_EQ(status.st_mode & 07777, 0750u) << at;
        }
    }
}

TEST_F(LogFiles, LoseOneSeparatorAtTheEndOfTheirDirectory) {
    const auto separated = Make(Path("x") + "/");
    Write(*separated, "text");
    EXPECT_EQ(separated->CurrentPath(), NowIn(Path("x")));
    const auto twice = Make(Path("y") + "//");
    Write(*twice, "text");
    EXPECT_EQ(twice->CurrentPath(), Path("y") + "//" + NameNow());
    const auto backslash = Make(Path("z") + "\\");
    Write(*backslash, "text");
    EXPECT_EQ(backslash->CurrentPath(), NowIn(Path("z")));
    EXPECT_EQ(ListFiles(Path("z")), std::vector<std::string>({NameNow()}));
}

TEST_F(LogFiles, DropRecordsWhileNoFileCanBeOpened) {
    WriteFile(Path("log"), "a file in the way");
    const auto file = Make(Path("log"));
    Write(*file, "one");
    Write(*file, "two");
    EXPECT_FALSE(file->IsOpen());
    EXPECT_FALSE(file->EnsureOpen());
    EXPECT_EQ(ReadFile(Path("log")), "a file in the way");
    fs::remove(Path("log"));
    Write(*file, "three");
    EXPECT_EQ(ReadFile(NowIn(Path("log"))), kCreated + Frame(3, 1, "three"));
}

TEST_F(LogFiles, DropRecordsWhereTooManyDirectoriesAreMissing) {
    const auto file = Make(Path("a/b/c/d"));
    Write(*file, "one");
    EXPECT_FALSE(file->IsOpen());
    fs::create_directories(Path("a"));
    Write(*file, "two");
    EXPECT_EQ(ReadFile(NowIn(Path("a/b/c/d"))), kCreated + Frame(2, 1, "two"));
}

TEST_F(LogFiles, TryToOpenOncePerRecord) {
    Calls().ScriptOpens([](uint64_t) { return EMFILE; });
    const auto file = Make(Path("log"));
    for (int i = 1; i <= 5; ++i) {
        Write(*file, "text");
        EXPECT_EQ(Calls().Opens(), static_cast<uint64_t>(i));
    }
    Calls().ScriptOpens(nullptr);
    Write(*file, "text");
    EXPECT_EQ(ReadFile(NowIn(Path("log"))), kCreated + Frame(6, 1, "text"));
}

TEST_F(LogFiles, AreOpenedOnDemand) {
    const auto file = Make(Path("log"));
    EXPECT_TRUE(file->EnsureOpen());
    EXPECT_TRUE(file->IsOpen());
    EXPECT_EQ(ReadFile(NowIn(Path("log"))), kCreated);
    EXPECT_TRUE(file->EnsureOpen());
    EXPECT_EQ(ReadFile(NowIn(Path("log"))), kCreated);
    file->Flush();
    EXPECT_EQ(Calls().Opens(), 1u);
}

TEST_F(LogFiles, AreClosedOnceAndOpenedAnew) {
    LetFilesDiffer();
    const auto file = Make(Path());
    file->Close();
    Write(*file, "one");
    file->Close();
    EXPECT_FALSE(file->IsOpen());
    EXPECT_EQ(file->CurrentPath(), "");
    file->Close();
    Write(*file, "two");
    EXPECT_EQ(ListFiles(Path()),
              std::vector<std::string>({NameAt("20240305_140709"), NameAt("20240305_140710")}));
    EXPECT_EQ(Contents(Path()),
              std::vector<std::string>(
                  {"File create at 2024-03-05T14:07:09.654321+00:00.\n" + Frame(1, 1, "one") +
                       "\nFile close at 2024-03-05T14:07:10.654321+00:00.\n",
                   "File create at 2024-03-05T14:07:10.654321+00:00.\n" + Frame(2, 1, "two")}));
}

TEST_F(LogFiles, MayLieBehindALink) {
    fs::create_directories(Path("real"));
    fs::create_directory_symlink(Path("real"), Path("link"));
    const auto file = Make(Path("link"));
    Write(*file, "text");
    EXPECT_EQ(file->CurrentPath(), NowIn(Path("link")));
    EXPECT_EQ(ReadFile(NowIn(Path("real"))), kCreated + Frame(1, 1, "text"));
}

TEST_F(LogFiles, MayLieInARelativeDirectory) {
    fs::current_path(Path());
    const auto file = Make("logs");
    Write(*file, "text");
    EXPECT_EQ(file->CurrentPath(), "logs/" + NameNow());
    EXPECT_EQ(ReadFile(NowIn(Path("logs"))), kCreated + Frame(1, 1, "text"));
    fs::current_path("/");
}

TEST_F(LogFiles, KnowTheirKind) {
    const auto file = Make(Path());
    WriteFile(Path("unbi_debug_.log"), "");
    WriteFile(Path("unbi_debug_1.txt"), "");
    WriteFile(Path("unbi_oper.log"), "");
    EXPECT_TRUE(file->IsLogFile("unbi_debug_.log"));
    EXPECT_FALSE(file->IsLogFile("unbi_debug_1.txt"));
    EXPECT_FALSE(file->IsLogFile("unbi_oper.log"));
    EXPECT_FALSE(file->IsLogFile("unbi_debug_missing.log"));
}

TEST_F(LogFiles, AccumulateWhateverTheCountLimit) {
    LetFilesDiffer();
    LogFile file(Path().c_str(), "unbi_debug_", 1, 2);
    for (int i = 0; i < 10; ++i) {
        Write(file, "text");
    }
    EXPECT_EQ(ListFiles(Path()).size(), 11u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
