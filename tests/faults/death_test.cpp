// Processes that die while they log: what they had written is in the files, and at most the last
// frame is torn.
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <numeric>
#include <random>
#include <thread>

#include "faults/faultsfixture.h"
#include "support/forkedchild.h"

using namespace NS_LOG_SERVICE1;
using namespace testing;

namespace NS_TEST {
namespace {

constexpr size_t kThreads = 3;

// How many calls a process goes on for behind the moment of its death, some megabytes: whoever is
// to kill it may not get a processor for long.
constexpr uint64_t kMostCallsBehind = 20000;

// Shared by the test and the process that dies.
struct Progress {
    std::array<std::atomic<uint64_t>, kThreads> returned{};  // calls of Log, by thread
    uint64_t Sum() const {
        return std::accumulate(returned.begin(), returned.end(), uint64_t{0},
                               [](uint64_t sum, const auto& count) { return sum + count; });
    }
};

using Returned = std::array<uint64_t, kThreads>;

// "3.17": the 17th text of the third thread.
std::string NameOf(size_t thread, uint64_t number) {
    return std::to_string(thread) + "." + std::to_string(number);
}

class Death : public FaultsTest, public WithParamInterface<std::tuple<LogFilePolicy, OutputKind>> {
  protected:
    Death() {
        store_.Set("logfilesize", "100000000");
        store_.Set("queuebuflength", "50");
        void* const memory = ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE,
                                    MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        progress_ = new (memory) Progress;
    }
    ~Death() override { ::munmap(progress_, sizeof(Progress)); }

    static OutputKind Kind() { return std::get<1>(GetParam()); }

    // Each thread logs texts with its own numbers until the process dies, but no more than it needs
    // for that. In dumps, each fourth is an error, and the others are kept back.
    [[noreturn]] void LogUntilDeath(void (*die)(), uint64_t moment) {
        Begin(Kind(), std::get<0>(GetParam()), {});
        std::vector<std::thread> threads;
        for (size_t thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([this, thread, moment] {
                for (uint64_t number = 1; progress_->Sum() < moment + kMostCallsBehind; ++number) {
                    const int level = Kind() != OutputKind::DUMP ? 1 : number % 4 == 0 ? 0 : 3;
                    OperLogger().Log("file.cpp", "Function", 7, level, NameOf(thread, number));
                    progress_->returned[thread] = number;
                }
            });
        }
        if (die != nullptr) {
            while (progress_->Sum() < moment) {
                std::this_thread::yield();
            }
            die();
        }
        for (;;) {
            ::pause();
        }
    }

    static bool HasEnded(pid_t child) {
        siginfo_t ended{};
        ::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT);
        return ended.si_pid == child;
    }

    // Runs that in another process, which dies by itself or, without `die`, is killed at that
    // moment. Returns how many calls had returned before its end at least.
    Returned DieAt(uint64_t moment, void (*die)()) {
        std::filesystem::remove_all(Path("log"));
        for (auto& count : progress_->returned) {
            count = 0;
        }
        const pid_t child = ForkChild();
        if (child == 0) {
            LogUntilDeath(die, moment);
        }
        if (die == nullptr) {
            while (progress_->Sum() < moment && !HasEnded(child)) {
                std::this_thread::yield();
            }
            ::kill(child, SIGKILL);
            EXPECT_EQ(AwaitChild(child), -SIGKILL);
        } else {
            EXPECT_NE(AwaitChild(child), 0);
        }
        EXPECT_GE(progress_->Sum(), moment);
        Returned died{};
        for (size_t thread = 0; thread < kThreads; ++thread) {
            died[thread] = progress_->returned[thread].load();
        }
        return died;
    }

    // Everything is whole but perhaps the last frame, each thread's texts are in order and without
    // a gap, and in direct output all are there whose call had returned.
    void ExpectKept(const Returned& died) {
        std::map<size_t, std::vector<uint64_t>> found;
        uint64_t number = 0;
        const auto take = [&found](const ParsedRecord& record) {
            if (record.function == "Function") {
                const size_t dot = record.detail.find('.');
                found[std::stoul(record.detail)].push_back(
                    std::stoull(record.detail.substr(dot + 1)));
            }
        };
        for (const std::string& name : ListLogFiles(Path("log"), "corbaoper")) {
            const TornLogFile file = ReadTornLogFile(Path("log/" + name));
            for (const ParsedPiece& piece : file.pieces) {
                if (piece.kind == ParsedPiece::FILE_CREATED) {
                    continue;
                }
                EXPECT_EQ(piece.number, ++number);
                for (const ParsedRecord& dumped : piece.dumped) {
                    take(dumped);
                }
                take(piece.record);
            }
            // The beginning of the next frame, perhaps not even all of its first line.
            const std::string next = "<" + std::to_string(number + 1) + ">\n";
            const size_t common = std::min(next.size(), file.rest.size());
            EXPECT_EQ(file.rest.substr(0, common), next.substr(0, common));
        }
        EXPECT_GT(number, 0u);
        for (size_t thread = 0; thread < kThreads; ++thread) {
            ExpectKeptOfThread(found[thread], died[thread]);
        }
    }

    void ExpectKeptOfThread(const std::vector<uint64_t>& numbers, uint64_t returned) {
        if (Kind() == OutputKind::DUMP) {
            ExpectErrors(numbers, returned);
            return;
        }
        for (size_t i = 0; i < numbers.size(); ++i) {
            ASSERT_EQ(numbers[i], i + 1);
        }
        if (Kind() == OutputKind::DIRECT) {
            EXPECT_GE(numbers.size(), returned);
        }
    }

    // Each error whose call had returned is there, and the texts around it in order.
    static void ExpectErrors(const std::vector<uint64_t>& numbers, uint64_t returned) {
        const std::set<uint64_t> all(numbers.begin(), numbers.end());
        EXPECT_EQ(all.size(), numbers.size());
        for (uint64_t error = 4; error <= returned; error += 4) {
            ASSERT_EQ(all.count(error), 1u);
        }
    }

    // A few each time; QV_KILLS says another number.
    static int Kills() {
        const char* const kills = std::getenv("QV_KILLS");
        return kills == nullptr ? 4 : std::atoi(kills);
    }

    Progress* progress_ = nullptr;
};

TEST_P(Death, ByAKillAtAnyMomentTearsAtMostTheLastFrame) {
    ASSERT_GT(Kills(), 0);
    std::mt19937 random(20240305);
    for (int i = 0; i < Kills(); ++i) {
        const uint64_t moment = 100 + random() % 3000;
        SCOPED_TRACE(moment);
        ExpectKept(DieAt(moment, nullptr));
    }
}

TEST_P(Death, OfAClientThatCrashesAbortsOrExitsAtOnceIsLikeAKill) {
    // A sanitizer would take a second to describe the first one.
    ::signal(SIGSEGV, SIG_DFL);
    void (*const ways[])() = {[] { ::raise(SIGSEGV); }, [] { std::abort(); }, [] { ::_exit(3); }};
    for (const auto way : ways) {
        ExpectKept(DieAt(100, way));
    }
}

INSTANTIATE_TEST_SUITE_P(Policies, Death,
                         Combine(Values(LOG_FILE_POLICY_CONTRACT, LOG_FILE_POLICY_KEEP_RECORDS),
                                 Values(OutputKind::DIRECT, OutputKind::QUEUED, OutputKind::DUMP)));

// The process is killed inside each single write, behind some of its bytes.
class DeathInAWrite : public FaultsTest, public WithParamInterface<LogFilePolicy> {
  protected:
    void LogAll() {
        for (int i = 1; i <= 12; ++i) {
            LogNext(i % 5 == 0 ? 0 : i % 2 == 0 ? 1 : 3);
        }
    }
    std::map<std::string, std::string> Files() const {
        std::map<std::string, std::string> files;
        for (const std::string& name : ListLogFiles(Path("log"), "corbaoper")) {
            // The process's number is not of interest.
            files[name.substr(0, name.rfind('_'))] = ReadFile(Path("log/" + name));
        }
        return files;
    }
};

TEST_P(DeathInAWrite, LeavesTheBytesUpToThere) {
    Begin(OutputKind::DIRECT, GetParam(), {});
    LogAll();
    const uint64_t writes = CallsSoFar(FaultyCall::WRITE);
    End();
    const std::map<std::string, std::string> whole = Files();
    ASSERT_GT(writes, 8u);
    std::string before;
    for (uint64_t n = 1; n <= writes; ++n) {
        const size_t bytes = n % 7;
        SCOPED_TRACE(n);
        const pid_t child = ForkChild();
        if (child == 0) {
            Begin(OutputKind::DIRECT, GetParam(), {{FaultyCall::WRITE, n, n, 0, bytes, true}});
            LogAll();
            EndChild(0);
        }
        ASSERT_EQ(AwaitChild(child), -SIGKILL);
        std::string now;
        for (const auto& [name, text] : Files()) {
            ASSERT_EQ(whole.count(name), 1u);
            EXPECT_THAT(whole.at(name), StartsWith(text));
            now += text;
        }
        EXPECT_GE(now.size() + 7, before.size());
        before = now;
    }
}

INSTANTIATE_TEST_SUITE_P(Policies, DeathInAWrite,
                         Values(LOG_FILE_POLICY_CONTRACT, LOG_FILE_POLICY_KEEP_RECORDS));

}  // namespace
}  // namespace NS_TEST
