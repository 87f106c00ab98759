// Faults that the machine makes itself: disks without room, directories and files that change
// underneath, no descriptors, a disk that hangs, a clock that jumps.
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>

#include "faults/faultsfixture.h"
#include "support/smallfilesystem.h"

namespace fs = std::filesystem;
using namespace NS_LOG_SERVICE1;
using namespace testing;

namespace NS_TEST {
namespace {

const auto kPolicies = Values(LOG_FILE_POLICY_CONTRACT, LOG_FILE_POLICY_KEEP_RECORDS);

class RealFaults : public FaultsTest, public WithParamInterface<LogFilePolicy> {
  protected:
    RealFaults() { store_.Set("logfilesize", "100000000"); }

    void BeginWith(OutputKind kind) { Begin(kind, GetParam(), {}); }

    // Ends the service, and expects whole files and closed books.
    FileContents EndAndRead() {
        outcome_ = End();
        const FileContents found = Read(outcome_);
        ExpectClosedBooks(outcome_, found);
        return found;
    }

    // The file that the category writes to.
    static std::string CurrentFile() { return Channel("corbaoper").currentFile; }

    Outcome outcome_;
};

// A log directory on a disk of its own.
class SmallDisk : public RealFaults {
  protected:
    // Returns false where nobody may mount.
    bool Mount(size_t bytes, size_t inodes) {
        disk_.emplace(Path("log"), bytes, inodes);
        return disk_->IsMounted();
    }
    ~SmallDisk() override { Stop(); }

    bool IsFull() const {
        struct statvfs status {};
        return ::statvfs(Path("log").c_str(), &status) == 0 && status.f_bavail == 0;
    }
    void Fill() const { disk_->Fill("filler"); }
    void Free() const { fs::remove(Path("log/filler")); }

    std::optional<SmallFileSystem> disk_;
};

#define QV_NEEDS_A_MOUNT(bytes, inodes)                       \
    if (!Mount(bytes, inodes)) {                              \
        GTEST_SKIP() << "no file system can be mounted here"; \
    }

TEST_P(SmallDisk, ThatIsFullAndFreeInTurnsKeepsWholeRecordsAndCountsTheOthers) {
    QV_NEEDS_A_MOUNT(128 * 1024, 1000)
    for (const OutputKind kind : {OutputKind::DIRECT, OutputKind::QUEUED, OutputKind::DUMP}) {
        SCOPED_TRACE(static_cast<int>(kind));
        BeginWith(kind);
        uint64_t dropped = 0;
        for (int round = 0; round < 3; ++round) {
            for (int i = 0; i < 10; ++i) {
                LogNext(kind == OutputKind::DUMP ? 3 : 1);
            }
            LogNext(0);
            Maintenance().FlushAll();
            Fill();
            ASSERT_TRUE(IsFull());
            for (int i = 0; i < 60; ++i) {
                LogNext(i % 10 == 9 ? 0 : 1);
            }
            Maintenance().FlushAll();
            EXPECT_GT(Channel("corbaoper").recordsDropped, dropped);
            EXPECT_EQ(Channel("corbaoper").lastError, ENOSPC);
            dropped = Channel("corbaoper").recordsDropped;
            Free();
        }
        LogNext(0);
        const FileContents found = EndAndRead();
        EXPECT_EQ(found.written.back(), static_cast<int>(outcome_.logged));
    }
}

TEST_P(SmallDisk, WithoutInodesLosesWhatFindsNoFileAndGoesOnWhenThereAreSome) {
    QV_NEEDS_A_MOUNT(10000000, 2)
    store_.Set("logfilesize", "600");
    BeginWith(OutputKind::DIRECT);
    for (int i = 0; i < 10; ++i) {
        LogNext(1);
    }
    // Who keeps records stays in the file that there is.
    EXPECT_EQ(Channel("corbaoper").recordsDropped == 0, GetParam() == LOG_FILE_POLICY_KEEP_RECORDS);
    EXPECT_EQ(Channel("corbaoper").lastError, ENOSPC);
    ASSERT_EQ(::mount("tmpfs", Path("log").c_str(), "tmpfs", MS_REMOUNT, "nr_inodes=1000"), 0);
    const int back = LogNext(1);
    EXPECT_THAT(EndAndRead().written, Contains(back));
}

TEST_P(SmallDisk, ThatIsReadOnlyLosesRecordsUntilItIsNot) {
    QV_NEEDS_A_MOUNT(10000000, 1000)
    BeginWith(OutputKind::DIRECT);
    ASSERT_EQ(::mount("tmpfs", Path("log").c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, ""), 0);
    LogNext(1);
    EXPECT_EQ(Channel("corbaoper").recordsDropped, 1u);
    EXPECT_EQ(Channel("corbaoper").lastError, EROFS);
    ASSERT_EQ(::mount("tmpfs", Path("log").c_str(), "tmpfs", MS_REMOUNT, ""), 0);
    const int back = LogNext(1);
    EXPECT_THAT(EndAndRead().written, ElementsAre(back));
}

INSTANTIATE_TEST_SUITE_P(Policies, SmallDisk, kPolicies);

// For the length of a block, the process gets no descriptor more.
class NoDescriptors {
  public:
    NoDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &previous_);
        struct rlimit limit = previous_;
        const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        limit.rlim_cur = static_cast<rlim_t>(next);
        ::close(next);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &previous_); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

  private:
    struct rlimit previous_ {};
};

TEST_P(RealFaults, NoDescriptorsAtTheFirstFileLosesRecordsAndAtRotationNone) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the undefined-behaviour sanitizer needs descriptors of its own";
#endif
    store_.Set("logfilesize", "600");
    BeginWith(OutputKind::DIRECT);
    {
        const NoDescriptors none;
        ASSERT_EQ(::open("/dev/null", O_RDONLY), -1);
        LogNext(1);
        EXPECT_EQ(Channel("corbaoper").recordsDropped, 1u);
        EXPECT_EQ(Channel("corbaoper").lastError, EMFILE);
    }
    // A rotation closes a file before it opens the next one, or stays in the file that there is.
    LogNext(1);
    {
        const NoDescriptors none;
        for (int i = 0; i < 10; ++i) {
            LogNext(1);
        }
    }
    EXPECT_EQ(Channel("corbaoper").recordsDropped, 1u);
    EXPECT_EQ(EndAndRead().written.size(), 11u);
    EXPECT_EQ(outcome_.files.size() > 2, GetParam() == LOG_FILE_POLICY_CONTRACT);
}

// What is written is written to the file that is open, under whatever name.
TEST_P(RealFaults, AFileThatIsRenamedIsWrittenOn) {
    BeginWith(OutputKind::DIRECT);
    LogNext(1);
    const std::string path = CurrentFile();
    fs::rename(path, Path("renamed"));
    LogNext(1);
    LogNext(0);
    EXPECT_EQ(ParseLogPieces(Path("renamed")).size(), 4u);
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(End().books.recordsWritten, 3u);
    EXPECT_EQ(ParseClosedLogFile(Path("renamed")).size(), 3u);
}

TEST_P(RealFaults, AFileThatIsRemovedOrReplacedTakesItsRecordsWithItUntilTheNextOne) {
    store_.Set("logfilesize", "900");
    for (const bool replaced : {false, true}) {
        SCOPED_TRACE(replaced);
        BeginWith(OutputKind::DIRECT);
        LogNext(1);
        const std::string path = CurrentFile();
        fs::remove(path);
        if (replaced) {
            WriteFile(path, "somebody's text\n");
        }
        while (CurrentFile() == path) {
            LogNext(1);
        }
        const int first = LogNext(1);
        const Outcome outcome = End();
        EXPECT_EQ(outcome.books.recordsDropped, 0u);
        if (replaced) {
            EXPECT_EQ(ReadFile(path), "somebody's text\n");
            fs::remove(path);
        }
        EXPECT_THAT(Written("corbaoper"), ElementsAre(TextOf(first)));
    }
}

TEST_P(RealFaults, AFileThatIsTruncatedGoesOnAtItsNewEnd) {
    BeginWith(OutputKind::DIRECT);
    LogNext(1);
    fs::resize_file(CurrentFile(), 0);
    const int second = LogNext(1);
    const int third = LogNext(0);
    EXPECT_THAT(Written("corbaoper"), ElementsAre(TextOf(second), TextOf(third)));
    EXPECT_EQ(ReadFile(CurrentFile()).substr(0, 4), "<2>\n");
    End();
}

TEST_P(RealFaults, ADirectoryThatIsRemovedIsMadeAgainForTheNextFile) {
    store_.Set("logfilesize", "900");
    BeginWith(OutputKind::DIRECT);
    LogNext(1);
    const std::string path = CurrentFile();
    fs::remove_all(Path("log"));
    while (CurrentFile() == path) {
        LogNext(1);
    }
    const int first = LogNext(1);
    EXPECT_EQ(End().books.recordsDropped, 0u);
    EXPECT_THAT(Written("corbaoper"), ElementsAre(TextOf(first)));
}

// Whatever stands where the directory belongs: the records are counted, and go on once it is gone.
TEST_P(RealFaults, SomethingInThePlaceOfTheDirectoryLosesRecordsUntilItIsGone) {
    const std::function<void()> placers[] = {
        [this] { WriteFile(Path("log"), "a file"); },
        [this] { fs::create_symlink(Path("nowhere/at/all/to/be/made"), Path("log")); },
        [this] { fs::create_symlink(Path("log"), Path("log")); },
    };
    for (const auto& place : placers) {
        BeginWith(OutputKind::DIRECT);
        place();
        LogNext(1);
        LogNext(0);
        EXPECT_EQ(Channel("corbaoper").recordsDropped, 2u);
        EXPECT_NE(Channel("corbaoper").lastError, 0);
        fs::remove(Path("log"));
        const int back = LogNext(1);
        EXPECT_THAT(EndAndRead().written, ElementsAre(back));
    }
}

TEST_P(RealFaults, APathThatIsTooLongLosesRecordsAndNothingElse) {
    store_.Set("logpath", Path("log/" + std::string(300, 'd')));
    BeginWith(OutputKind::DIRECT);
    LogNext(1);
    LogNext(0);
    const Outcome outcome = End();
    EXPECT_EQ(outcome.books.recordsDropped, 2u);
    EXPECT_EQ(outcome.books.lastError, ENAMETOOLONG);
    EXPECT_THAT(outcome.files, IsEmpty());
}

// Another category goes on while one waits for its disk, and so do questions about the loggers.
TEST_P(RealFaults, ADiskThatHangsHoldsUpOnlyWhoWaitsForIt) {
    for (const FaultyCall call : {FaultyCall::WRITE, FaultyCall::OPEN}) {
        BeginWith(OutputKind::DIRECT);
        Logger& other = *Manager().GetLogger("bundle", "service", "debug");
        other.Log("file.cpp", "Function", 7, 1, "the file is open");
        if (call == FaultyCall::WRITE) {
            LogNext(1);
        }
        HoldNextCall(call);
        std::thread waiting([this] { LogNext(1); });
        while (!IsCallHeld()) {
            std::this_thread::yield();
        }
        for (int i = 0; i < 100; ++i) {
            other.Log("file.cpp", "Function", 7, i % 2, "beside it");
        }
        std::vector<LoggerStatus> loggers;
        Maintenance().GetLoggers(loggers);
        EXPECT_EQ(loggers.size(), 2u);
        EXPECT_TRUE(IsCallHeld());
        EXPECT_THAT(Written("debug"), SizeIs(101));
        ReleaseCall();
        waiting.join();
        EXPECT_EQ(EndAndRead().written.size(), outcome_.logged);
    }
}

// The clock decides about stamps and names only.
TEST_P(RealFaults, AClockThatJumpsLosesNoRecordAsLongAsNoNameComesBack) {
    store_.Set("logfilesize", "600");
    BeginWith(OutputKind::DIRECT);
    for (const int64_t second : {kStart - 3600, kStart - 315360000, kStart + 3, kStart + 3153600000,
                                 int64_t{2147483646}, int64_t{2147483649}, int64_t{4294967297},
                                 int64_t{1711846799}, int64_t{1729994400}, int64_t{0}}) {
        StopClock(second, 1);
        for (int i = 0; i < 6; ++i) {
            LogNext(1);
        }
    }
    const Outcome outcome = End();
    EXPECT_EQ(outcome.books.recordsDropped, 0u);
    EXPECT_EQ(outcome.books.recordsWritten, outcome.logged);
    std::set<std::string> texts;
    for (const std::string& text : Written("corbaoper")) {
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), outcome.logged);
    EXPECT_THAT(outcome.files, Contains(Key(HasSubstr("_20380119_0314"))));
}

TEST_P(RealFaults, TextsOfAnyKindNeitherTearAFrameNorStopTheNext) {
    BeginWith(OutputKind::DIRECT);
#if defined(__SANITIZE_THREAD__)
    constexpr size_t kHuge = size_t{4} * 1024 * 1024;  // each byte costs the sanitizer its time
#else
    constexpr size_t kHuge = size_t{64} * 1024 * 1024;
#endif
    const std::string huge(kHuge, 'x');
    OperLogger().Log("file.cpp", "Function", 7, 1, huge);
    const std::string hostile[] = {std::string("a\0b", 3),    "\xff\xfe\x80", "</2>\n\n<3>\n",
                                   "\x1b[2J\x1b]0;title\x07", "%s%n%p%9999d", "\r\n\t|,;:<>"};
    for (const std::string& text : hostile) {
        for (const std::string& first : hostile) {
            LoggerIF* logger = Manager().GetLogger(first, text, "corbaoper");
            ASSERT_NE(logger, nullptr);
            logger->Log("file.cpp", "Function", 7, 1, text);
            logger->LogFormat("file.cpp", "Function", 7, 1, "%s", text.c_str());
        }
    }
    EXPECT_EQ(Manager().GetLogger("a", "b", "corbaoper\n"), nullptr);
    OperLogger().Log("file.cpp", "Function", 7, 1, "the last one");
    const Outcome outcome = End();
    EXPECT_EQ(outcome.books.recordsWritten, 2u + 2 * 36);
    ASSERT_EQ(outcome.files.size(), 1u);
    const std::string& bytes = outcome.files.begin()->second;
    EXPECT_NE(bytes.find(huge + "\n</1>\n\n<2>\n"), std::string::npos);
    EXPECT_THAT(bytes.substr(bytes.size() - 300),
                HasSubstr(" Detail: the last one\n</74>\n\n\nFile close"));
}

TEST_P(RealFaults, AnyConfigurationStartsAServiceWhoseBooksClose) {
    NS_REFERENCE_HOST::SetConfigItems(nullptr);  // from here on, the file counts
    const std::map<std::string, std::string> usual = {
        {"logfilesize", "1000000"}, {"logfilecount", "5"},    {"queuebuflength", "4"},
        {"filterbuflength", "3"},   {"logtimeinterval", "1"}, {"logswitch", "1,1,1,0"},
        {"outputmode", "0"},        {"bEnableAsnLog", "1"},   {"bLogOutputPara", "0"}};
    const std::string values[] = {"missing",    "",           "abc", "-1",
                                  "2147483648", "4294967297", "0",   std::string(1024 * 1024, '9'),
                                  "1,1,1,1,1",  "%s%n"};
    for (const auto& [item, ignored] : usual) {
        for (const std::string& value : values) {
            SCOPED_TRACE(item + " = " + value.substr(0, 20));
            std::string text;
            for (const auto& [name, usualValue] : usual) {
                if (name != item) {
                    text += name + " = " + usualValue + "\n";
                } else if (value != "missing") {
                    text += name + " = " + value + "\n";
                }
            }
            WriteFile(configFile_, text);
            BeginWith(OutputKind::QUEUED);
            OperLogger().EnableLevel(1);
            OperLogger().DisableLevel(3);
            for (int i = 0; i < 6; ++i) {
                LogNext(i % 4);
            }
            const FileContents found = EndAndRead();
            EXPECT_FALSE(found.written.empty());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Policies, RealFaults, kPolicies);

}  // namespace
}  // namespace NS_TEST
