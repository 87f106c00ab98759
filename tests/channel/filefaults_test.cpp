// Names, modes and disks as they really are, under both policies.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "channel/channelfixture.h"
#include "support/smallfilesystem.h"

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

constexpr std::array<FilePolicy, 2> kPolicies = {FilePolicy::kContract, FilePolicy::kKeepRecords};

class FileFaults : public LogFileTest {
  protected:
    static void SetClockTo(int64_t seconds) { Calls().SetClock(SystemCalls::kStart + seconds, 0); }

    // Begins anew under the policy, with an empty directory.
    void MakeUnder(FilePolicy policy, uint64_t sizeLimit = 100000000,
                   const std::string& directory = "log") {
        Make(sizeLimit, directory);
        SetPolicy(policy);
        Calls().StopMonotonicClock();
        fs::create_directories(Path(directory));
    }
    unsigned int ModeOf(const std::string& path) const {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    uint64_t Dropped() const { return Counts().recordsDropped.Get(); }
    uint64_t Overwritten() const {
        return Counts().writtenOverwritten.Get() + Counts().dumpedOverwritten.Get();
    }
};

TEST_F(FileFaults, ANameThatIsNoRegularFileIsRefused) {
    WriteFile(Path("elsewhere"), "somebody else's");
    const auto makers = {
        +[](const std::string& path, const std::string& target) {
            fs::create_symlink(target, path);
            return ELOOP;
        },
        +[](const std::string& path, const std::string&) {
            fs::create_symlink("/dev/full", path);
            return ELOOP;
        },
        +[](const std::string& path, const std::string&) {
            mkfifo(path.c_str(), 0600);
            return ENXIO;
        },
        +[](const std::string& path, const std::string&) {
            fs::create_directory(path);
            return EISDIR;
        },
    };
    for (const FilePolicy policy : kPolicies) {
        for (const auto& make : makers) {
            MakeUnder(policy);
            const int error = make(Path("log/" + NameNow()), Path("elsewhere"));
            Write("lost");
            EXPECT_FALSE(file_->IsOpen());
            EXPECT_EQ(Counts().lastError.Get(), static_cast<uint64_t>(error));
            EXPECT_EQ(Counts().lastErrorFile.Get(), Path("log/" + NameNow()));
            EXPECT_EQ(Counts().failing.Get(), 1u);
            EXPECT_EQ(Counts().failures.Get(), 1u);
            EXPECT_EQ(Dropped(), 1u);
            SetClockTo(1);
            Calls().LetPass(1000);
            Write("two");
            EXPECT_EQ(ReadFile(file_->CurrentPath()), Created(1) + Frame(2, "two"));
            EXPECT_EQ(Counts().failing.Get(), 0u);
        }
    }
    EXPECT_EQ(ReadFile(Path("elsewhere")), "somebody else's");
}

// With a reader the opening would succeed.
TEST_F(FileFaults, APipeThatSomebodyReadsIsRefused) {
    for (const FilePolicy policy : kPolicies) {
        MakeUnder(policy);
        const std::string path = Path("log/" + NameNow());
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        Write("lost");
        EXPECT_EQ(Counts().lastError.Get(), static_cast<uint64_t>(ENXIO));
        char byte = 0;
        EXPECT_EQ(read(reader, &byte, 1), 0);
        close(reader);
    }
}

TEST_F(FileFaults, FilesAndDirectoriesHaveTheirModesWhateverTheMask) {
    for (const FilePolicy policy : kPolicies) {
        for (const mode_t mask : {0u, 007u, 022u, 077u, 0777u}) {
            SCOPED_TRACE(mask);
            MakeUnder(policy);
            fs::remove_all(Path("log"));
            const mode_t previous = umask(mask);
            std::string maskMeanwhile;
            Calls().ScriptOpens([&maskMeanwhile](uint64_t) {
                maskMeanwhile = CreationMaskNow();
                return 0;
            });
            const std::string maskBefore = CreationMaskNow();
            Restart(100000000, "log/a/b");
            Write("one");
            EXPECT_EQ(umask(previous), mask);
            // A child that is forked meanwhile keeps the mask that it finds.
            EXPECT_EQ(maskMeanwhile, policy == FilePolicy::kKeepRecords ? maskBefore : "0037");
            EXPECT_EQ(ModeOf(file_->CurrentPath()), 0640u);
            for (const char* const directory : {"log", "log/a", "log/a/b"}) {
                EXPECT_EQ(ModeOf(Path(directory)), 0750u) << directory;
            }
        }
    }
}

TEST_F(FileFaults, AFileThatIsContinuedKeepsItsMode) {
    MakeUnder(FilePolicy::kKeepRecords);
    const std::string path = Path("log/" + NameNow());
    WriteFile(path, "");
    chmod(path.c_str(), 0600);
    chmod(Path("log").c_str(), 0700);
    Write("one");
    EXPECT_EQ(Written(), Created() + Frame(1, "one"));
    EXPECT_EQ(ModeOf(path), 0600u);
    EXPECT_EQ(ModeOf(Path("log")), 0700u);
}

TEST_F(FileFaults, WhatAnOpeningEmptiesIsCounted) {
    MakeUnder(FilePolicy::kContract, kCreatedSize + 2 * Frame(1, "one").size());
    Write("one");
    WriteDump("two", {WithDetail("kept", 3), WithDetail("kept", 3)});
    const uint64_t bytes = Counts().bytesWritten.Get() - kCreatedSize;
    EXPECT_EQ(Counts().bytesEmptied.Get(), bytes);
    EXPECT_EQ(Counts().writtenOverwritten.Get(), 2u);
    EXPECT_EQ(Counts().dumpedOverwritten.Get(), 2u);
    EXPECT_EQ(Written(), Created());
    // A file that was left longer ago, when the clock is set back.
    MakeUnder(FilePolicy::kContract);
    for (const int second : {1, 2, 3, 1}) {
        SetClockTo(second);
        file_->Open();
        Write("one");
        Write("two");
    }
    EXPECT_EQ(Overwritten(), 2u);
    const size_t left = OfKind(ParseLogDirectory(Path("log")), ParsedPiece::RECORD).size();
    EXPECT_EQ(Counts().recordsWritten.Get() - Counts().writtenOverwritten.Get(), left);
}

// Records of another process, or that somebody has removed, are not this channel's to count.
TEST_F(FileFaults, OnlyRecordsOfTheChannelCountAsOverwritten) {
    MakeUnder(FilePolicy::kContract);
    Write("one");
    const uint64_t size = Written().size() + Closed().size();
    Restart();
    Write("two");
    EXPECT_EQ(Counts().bytesEmptied.Get(), size);
    EXPECT_EQ(Overwritten(), 0u);
    fs::resize_file(file_->CurrentPath(), 0);
    file_->Open();
    EXPECT_EQ(Counts().bytesEmptied.Get(), size + Closed().size());
    EXPECT_EQ(Overwritten(), 1u);
    Write("three");
    fs::remove(file_->CurrentPath());
    file_->Open();
    EXPECT_EQ(Overwritten(), 1u);
}

TEST_F(FileFaults, AFailingCloseIsCounted) {
    for (const FilePolicy policy : kPolicies) {
        MakeUnder(policy);
        Write("one");
        close(DescriptorsOf(file_->CurrentPath()).at(0));
        file_->Close();
        // The closing line twice and the closing itself. A file that keeps its records does not
        // touch a number that may be another file's.
        EXPECT_EQ(Counts().failures.Get(), policy == FilePolicy::kContract ? 3u : 1u);
        EXPECT_EQ(Counts().lastError.Get(), static_cast<uint64_t>(EBADF));
    }
}

TEST_F(FileFaults, AFileThatWasMovedOrRemovedIsMadeAnewByReopening) {
    for (const FilePolicy policy : kPolicies) {
        for (const bool moved : {false, true}) {
            MakeUnder(policy);
            Write("one");
            const std::string path = file_->CurrentPath();
            moved ? fs::rename(path, Path("moved")) : static_cast<void>(fs::remove(path));
            Write("two");
            EXPECT_FALSE(fs::exists(path));
            file_->Reopen();
            Write("three");
            EXPECT_EQ(file_->CurrentPath(), path);
            EXPECT_EQ(ReadFile(path), Created() + Frame(3, "three"));
            EXPECT_EQ(ModeOf(path), 0640u);
            if (moved) {
                EXPECT_EQ(ReadFile(Path("moved")),
                          Created() + Frame(1, "one") + Frame(2, "two") + Closed());
            }
            EXPECT_EQ(Counts().rotations.Get(), 1u);
            EXPECT_EQ(Overwritten(), 0u);
        }
    }
}

TEST_F(FileFaults, AFileThatStandsIsContinuedByReopening) {
    for (const FilePolicy policy : kPolicies) {
        MakeUnder(policy);
        file_->Reopen();
        EXPECT_FALSE(file_->IsOpen());
        EXPECT_EQ(CountFiles(), 0u);
        Write("one");
        SetClockTo(1);
        file_->Reopen();
        Write("two");
        EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(2, "two"));
        EXPECT_EQ(Counts().rotations.Get(), 0u);
        // Another file has the name by now.
        fs::rename(file_->CurrentPath(), Path("moved"));
        WriteFile(Path("log/" + NameNow()), Created() + Frame(7, "somebody's"));
        file_->Reopen();
        Write("three");
        EXPECT_EQ(Written(), Created() + Frame(7, "somebody's") + Created(1) + Frame(3, "three"));
        EXPECT_EQ(Counts().bytesEmptied.Get(), 0u);
    }
}

// Where the next file cannot be had, the one that was moved takes the records.
TEST_F(FileFaults, AFileThatCannotBeMadeAnewIsWrittenOn) {
    for (const FilePolicy policy : kPolicies) {
        MakeUnder(policy);
        Write("one");
        fs::rename(file_->CurrentPath(), Path("moved"));
        RefuseFiles();
        file_->Reopen();
        file_->Rotate();
        Write("two");
        EXPECT_EQ(ReadFile(Path("moved")), Created() + Frame(1, "one") + Frame(2, "two"));
        EXPECT_EQ(Counts().failures.Get(), 2u);
        EXPECT_EQ(Dropped(), 0u);
    }
}

TEST_F(FileFaults, AnOrderedRotationEmptiesNothing) {
    for (const FilePolicy policy : kPolicies) {
        MakeUnder(policy);
        file_->Rotate();
        EXPECT_EQ(Written(), Created());
        Write("one");
        file_->Rotate();
        Write("two");
        EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(2, "two"));
        SetClockTo(1);
        file_->Rotate();
        EXPECT_EQ(Written(),
                  Created() + Frame(1, "one") + Frame(2, "two") + Closed(1) + Created(1));
        EXPECT_EQ(Counts().rotations.Get(), 1u);
    }
}

TEST_F(FileFaults, AnOrderEndsAPause) {
    for (const auto order : {&LogFile::Reopen, &LogFile::Rotate}) {
        MakeUnder(FilePolicy::kKeepRecords);
        RefuseFiles();
        for (int i = 0; i < 12; ++i) {
            Write("lost");
            Calls().LetPass(1000000);
        }
        Write("lost");
        Calls().ScriptOpens(nullptr);
        (*file_.*order)();
        Write("fourteen");
        EXPECT_EQ(Written(), Created() + Frame(14, "fourteen"));
    }
}

// The books of a category whose disk fills up.
TEST_F(FileFaults, AFullDiskLosesOnlyWhatIsCounted) {
    for (const FilePolicy policy : kPolicies) {
        const SmallFileSystem disk(Path("disk"), 65536, 100);
        if (!disk.IsMounted()) {
            GTEST_SKIP() << "no file system can be mounted here";
        }
        LetFilesDiffer();
        MakeUnder(policy, 100000000, "disk/log");
        const std::string text(500, 'x');
        for (int i = 0; i < 200; ++i) {
            Write(text);
        }
        WriteBatch(Texts(50, text));
        EXPECT_GT(Dropped(), 100u);
        EXPECT_EQ(Counts().recordsWritten.Get() + Dropped(), 250u);
        EXPECT_EQ(Counts().lastError.Get(), static_cast<uint64_t>(ENOSPC));
        EXPECT_EQ(OfKind(ParseLogDirectory(Path("disk/log")), ParsedPiece::RECORD).size(),
                  Counts().recordsWritten.Get());
        EXPECT_EQ(CountFiles("disk/log") == 1, policy == FilePolicy::kKeepRecords);
        file_.reset();
    }
}

TEST_F(FileFaults, ACategoryWritesAgainWithinASecondOfRoomOnTheDisk) {
    const SmallFileSystem disk(Path("disk"), 65536, 100);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    LetFilesDiffer();
    MakeUnder(FilePolicy::kKeepRecords, 100000000, "disk/log");
    Write("first");
    const std::string text(500, 'x');
    for (int round = 0; round < 20; ++round) {
        disk.Fill("filler");
        while (Counts().failing.Get() == 0) {
            Write(text);
        }
        for (int i = 0; i < 100; ++i) {
            Calls().LetPass(20000);
            Write(text);
        }
        EXPECT_EQ(Counts().failing.Get(), 1u);
        fs::remove(Path("disk/filler"));
        Calls().LetPass(1000000);
        Write("back");
        EXPECT_EQ(Counts().failing.Get(), 0u);
    }
    const auto pieces = ParseLogDirectory(Path("disk/log"));
    EXPECT_EQ(CountFiles("disk/log"), 1u);
    EXPECT_EQ(OfKind(pieces, ParsedPiece::RECORD).size(), Counts().recordsWritten.Get());
    EXPECT_EQ(pieces.front().kind, ParsedPiece::FILE_CREATED);
    EXPECT_EQ(pieces.back().record.detail, "back");
}

TEST_F(FileFaults, NoFileIsMadeWhileTheDiskIsFull) {
    const SmallFileSystem disk(Path("disk"), 65536, 100);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    MakeUnder(FilePolicy::kKeepRecords, 100000000, "disk/log");
    disk.Fill("filler");
    for (int i = 0; i < 30; ++i) {
        SetClockTo(i);
        Write("lost");
        EXPECT_EQ(CountFiles("disk/log"), 0u);
        Calls().LetPass(1000000);
    }
    fs::remove(Path("disk/filler"));
    Write("back");
    EXPECT_EQ(ReadFile(file_->CurrentPath()), Created(29) + Frame(31, "back"));
    EXPECT_EQ(Dropped(), 30u);
}

TEST_F(FileFaults, ADiskWithoutInodesIsWrittenOnInTheFileThatThereIs) {
    const SmallFileSystem disk(Path("disk"), 1048576, 4);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    MakeUnder(FilePolicy::kKeepRecords, 2000, "disk/log");
    LetFilesDiffer();
    WriteFile(Path("disk/filler"), "");
    LogFile other(Path("disk/log").c_str(), "unbi_other_", 2000, 5);
    other.SetPolicy(FilePolicy::kKeepRecords);
    for (int i = 0; i < 100; ++i) {
        Write("text");
        other.WriteRecord(WithDetail("lost").Get());
    }
    EXPECT_EQ(Dropped(), 0u);
    EXPECT_EQ(Counts().recordsWritten.Get(), 100u);
    EXPECT_EQ(CountFiles("disk/log"), 1u);
    EXPECT_EQ(other.Statistics().recordsDropped.Get(), 100u);
    fs::remove(Path("disk/filler"));
    Calls().LetPass(1000000);
    other.WriteRecord(WithDetail("back").Get());
    EXPECT_EQ(other.Statistics().recordsWritten.Get(), 1u);
    EXPECT_EQ(OfKind(ParseLogPieces(other.CurrentPath()), ParsedPiece::RECORD).size(), 1u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
