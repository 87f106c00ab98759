// Forks of a process that logs.
#include <dlfcn.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <numeric>
#include <thread>

#include "process/processfixture.h"
#include "support/asnmessages.h"

namespace NS_TEST {
namespace {

using namespace NS_LOG_SERVICE1;
using namespace testing;

// 200 forks with QV_TEST_FULL set.
int CountOfForks() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int kUsual = 12;  // instrumented processes fork slowly
#else
    constexpr int kUsual = 40;
#endif
    return std::getenv("QV_TEST_FULL") == nullptr ? kUsual : 200;
}

class ForkOfAProcess : public ProcessTest {
  protected:
    static std::string NameOf(int child) { return "child " + std::to_string(child) + " "; }

    // Logs on all levels, through a logger that exists and a new one, and uses what else takes a
    // lock.
    static int LogInChild(int child) {
        const std::string name = NameOf(child);
        Log(2, name + "kept back");
        Log(0, name + "error");
        Log(1, name + "first");
        Manager().GetLogger("new", name, "corbaoper")->Log("f", "g", 1, 3, name + "second");
        Log(-2, name + "short");
        ScriptedMessage message = TextMessage("Type", name + "message");
        OperLogger().LogAsnTrace("f", "g", 1, message);
        ModuleSwitchTable::Instance()->Set(7, false);
        Maintenance().SetLevel(2, true);
        Maintenance().FlushAll();
        return ModuleSwitchTable::Instance()->Get(7) ? 1 : 0;
    }

    // The child's files hold what it has logged, numbered from 1 on, and nothing else.
    void ExpectFilesOf(pid_t process, int child) const {
        const std::string name = NameOf(child);
        EXPECT_THAT(DetailsOf(process),
                    ElementsAre(name + "error", name + "kept back", name + "first", name + "second",
                                name + "short", name + "message"));
        Pieces pieces = PiecesOf(process);
        EXPECT_THAT(pieces, SizeIs(7)) << "a flush opens the file of each category";
        for (const auto& [category, held] : pieces) {
            EXPECT_EQ(held.front().kind, ParsedPiece::FILE_CREATED);
            EXPECT_THAT(held, SizeIs(category == "corbaoper" ? 6 : 1)) << category;
        }
        std::vector<uint64_t> numbers;
        for (const ParsedPiece& piece : pieces["corbaoper"]) {
            numbers.push_back(piece.number);
        }
        EXPECT_THAT(numbers, ElementsAre(0, 1, 2, 3, 0, 5)) << "the short record uses up the 4";
    }

    // How many of the process's open files lie in the log directory.
    int CountOpenLogFiles() const {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code error;
            const auto target = std::filesystem::read_symlink(entry.path(), error).string();
            count += target.rfind(std::filesystem::canonical(Path()).string() + "/log/", 0) == 0;
        }
        return count;
    }
};

// Threads that log on all levels until they are told to end.
class LoggingThreads {
  public:
    explicit LoggingThreads(Logger& logger) {
        for (size_t thread = 0; thread < counts_.size(); ++thread) {
            threads_.emplace_back([this, thread, &logger] {
                while (!ended_) {
                    LogOne(logger, thread, counts_[thread]++);
                }
            });
        }
    }

    void End() {
        ended_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

    // Each record stands in `details` as often as it must: once, or not at all where its level is
    // off and newer ones may have pushed it out. Nothing else stands there.
    void ExpectEachRecordIn(const std::vector<std::string>& details) const {
        std::map<std::string, int> times;
        for (const std::string& detail : details) {
            ++times[detail];
        }
        times.erase("Debug cache is full, force output execute.");
        size_t found = 0;
        for (size_t thread = 0; thread < counts_.size(); ++thread) {
            for (int record = 0; record < counts_[thread]; ++record) {
                const auto time = times.find(Detail(thread, record));
                const int count = time == times.end() ? 0 : time->second;
                found += count == 0 ? 0 : 1;
                ASSERT_LE(count, 1) << Detail(thread, record);
                ASSERT_GE(count, Level(record) == 2 ? 0 : 1) << Detail(thread, record);
            }
        }
        EXPECT_EQ(found, times.size()) << "there are records of somebody else";
    }

  private:
    static std::string Detail(size_t thread, int record) {
        return "parent " + std::to_string(thread) + " " + std::to_string(record);
    }
    static int Level(int record) { return record % 64 == 63 ? 0 : 1 + record % 3; }

    static void LogOne(Logger& logger, size_t thread, int record) {
        if (Level(record) == 3) {
            ScriptedMessage message = TextMessage("Type", Detail(thread, record));
            logger.LogAsnTrace("f", "g", 1, message);
        } else {
            logger.Log("f", "g", 1, Level(record), Detail(thread, record));
        }
        if (record % 64 == 5) {
            const std::string name =
                "logger " + std::to_string(static_cast<int>(thread) * 1000 + record % 1000);
            LogMgr::Instance()->GetLogger("a", name, "debug");
        }
        ModuleSwitchTable::Instance()->Set(static_cast<unsigned>(thread), record % 2 == 0);
    }

    std::array<int, 8> counts_{};
    std::atomic<bool> ended_{false};
    std::vector<std::thread> threads_;
};

TEST_F(ForkOfAProcess, LeavesParentAndChildUsableWhileManyThreadsLog) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a child waits for ever when a thread was in the sanitizer's own allocator";
#endif
    Start();
    std::vector<pid_t> children;
    LoggingThreads threads(OperLogger());
    for (int i = 0; i < CountOfForks(); ++i) {
        Manager().outputmode = i / 2 % 2 == 0 ? kDirectOutput : kQueuedOutput;
        children.push_back(Fork([i] {
            const int result = LogInChild(i);
            if (result == 0 && i % 4 == 3) {
                ::execl("/bin/true", "true", nullptr);
            }
            return result;
        }));
        const int status = AwaitChild(children.back());
        EXPECT_EQ(status, 0) << "child " << i << "; -14, a signal, means that it hangs";
        if (status != 0) {
            break;
        }
    }
    threads.End();
    Manager().FlushAll();
    for (size_t i = 0; i < children.size(); ++i) {
        SCOPED_TRACE(i);
        ExpectFilesOf(children[i], static_cast<int>(i));
    }
    threads.ExpectEachRecordIn(DetailsOf(::getpid()));
}

TEST_F(ForkOfAProcess, LeavesWhatIsQueuedOrKeptBackToTheParent) {
    Start();
    Log(1, "written");
    Manager().outputmode = kQueuedOutput;
    Log(1, "queued");
    Log(2, "kept back");
    const pid_t child = Fork([this] {
        const bool closed = CountOpenLogFiles() == 0;
        const ChannelStatus status = Channel("corbaoper");
        Log(0, "of the child");
        return closed && status.recordsQueued == 0 && status.recordsQueuedMost == 0 &&
                       status.recordsCached == 0 && status.recordsWritten == 0 &&
                       status.currentFile.empty()
                   ? 0
                   : 1;
    });
    EXPECT_EQ(AwaitChild(child), 0);
    EXPECT_EQ(CountOpenLogFiles(), 1);
    EXPECT_THAT(DetailsOf(child), ElementsAre("of the child"));
    EXPECT_EQ(Channel("corbaoper").recordsQueued, 1U);
    Log(0, "of the parent");
    EXPECT_THAT(DetailsOf(::getpid()),
                ElementsAre("written", "queued", "of the parent", "kept back"));
    EXPECT_THAT(PiecesOf(::getpid())["corbaoper"], SizeIs(4)) << "the child has closed nothing";
}

// The thread that writes its parent's queue periodically is not there.
TEST_F(ForkOfAProcess, GivesTheChildDirectOutputWhenItsParentHasPeriodicOutput) {
    Start();
    ManualScheduleService schedule;
    NS_BUNDLEMGR1::SetIFBuf("ScheduleSvcInterface", &schedule);
    Maintenance().SetQueuedOutput(true);
    EXPECT_TRUE(Maintenance().HasPeriodicOutput());
    const pid_t child = Fork([] {
        Log(1, "at once");
        return Maintenance().HasPeriodicOutput() || Maintenance().GetOutputMode() != 0 ? 1 : 0;
    });
    EXPECT_EQ(AwaitChild(child), 0);
    EXPECT_THAT(DetailsOf(child), ElementsAre("at once"));
    EXPECT_TRUE(Maintenance().HasPeriodicOutput());
    EXPECT_EQ(Maintenance().GetOutputMode(), 1U);
    NS_REFERENCE_HOST::RemoveFromIFBuf(&schedule);
}

TEST_F(ForkOfAProcess, LetsTheChildEndTheService) {
    Start();
    Log(1, "of the parent");
    const pid_t child = Fork([this] {
        Log(1, "of the child");
        Stop();
        return LogMgr::InstanceIfAny() == nullptr ? 0 : 1;
    });
    EXPECT_EQ(AwaitChild(child), 0);
    Pieces pieces = PiecesOf(child);
    EXPECT_THAT(pieces, SizeIs(7));
    EXPECT_EQ(pieces["corbaoper"].back().kind, ParsedPiece::FILE_CLOSED);
    EXPECT_THAT(DetailsOf(child), ElementsAre("of the child"));
    Log(1, "still there");
    EXPECT_THAT(DetailsOf(::getpid()), ElementsAre("of the parent", "still there"));
    EXPECT_TRUE(IsMonitorRunning());
}

// The message's thread has the turn of the dumps, which the child must be able to take again.
TEST_F(ForkOfAProcess, MayHappenWhileAMessagePrintsItself) {
    Start();
    pid_t child = -1;
    ScriptedMessage message("Type", [&child](std::ostream& out) {
        out << "half of the text, ";
        child = ForkChild();
        out << (child == 0 ? "child" : "parent");
    });
    OperLogger().LogAsnTrace("f", "g", 1, message);
    if (child == 0) {
        ScriptedMessage next = TextMessage("Type", "next");
        OperLogger().LogAsnTrace("f", "g", 1, next);
        EndChild(0);
    }
    EXPECT_EQ(AwaitChild(child), 0);
    EXPECT_THAT(DetailsOf(::getpid()), ElementsAre("half of the text, parent"));
    EXPECT_EQ(DetailsOf(child).back(), "next");
}

TEST_F(ForkOfAProcess, KeepsTheCreationMaskOfTheProcess) {
    const mode_t before = ::umask(0022);
    Start();
    std::atomic<bool> ended{false};
    std::thread creator([&ended] {
        TEDebugInfoBuf* channel = Manager().Channels().Find("debug");
        for (int i = 0; !ended; ++i) {
            channel->ChangePath(std::string("/proc/none/") + std::to_string(i), "unbi_debug_");
        }
    });
    for (int i = 0; i < CountOfForks(); ++i) {
        EXPECT_EQ(AwaitChild(Fork([] { return ::umask(0) == 0022 ? 0 : 1; })), 0);
    }
    ended = true;
    creator.join();
    ::umask(before);
}

// The handlers go with the library.
TEST_F(ForkOfAProcess, IsNoConcernOfALibraryThatWasUnloaded) {
    for (int i = 0; i < 3; ++i) {
        void* const library = ::dlopen(QV_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << ::dlerror();
        auto* const make =
            reinterpret_cast<decltype(&_make_qv_base_log)>(::dlsym(library, "_make_qv_base_log"));
        ACE_Service_Object_Exterminator free = nullptr;
        ACE_Service_Object* const service = make(&free);
        ASSERT_EQ(service->init(0, nullptr), 0);
        EXPECT_EQ(AwaitChild(Fork([] { return 0; })), 0);
        static_cast<NS_BUNDLEMGR1::ServiceObjectBase*>(service)->StopService();
        service->fini();
        free(service);
        ::dlclose(library);
        EXPECT_EQ(::dlopen(QV_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
        EXPECT_EQ(AwaitChild(Fork([] { return 0; })), 0);
    }
}

}  // namespace
}  // namespace NS_TEST
