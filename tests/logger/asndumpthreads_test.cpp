// Dumps of several threads: one at a time, from the first byte printed to the last one echoed, and
// no secret of a traced message wherever bytes leave the process.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "logger/asndumpfixture.h"
#include "support/capturedoutput.h"
#include "support/onthreads.h"

namespace {

using namespace NS_TEST;

constexpr int kThreads = 8;
constexpr int kRounds = 20;

// A logger that lets another thread try to dump while its Log runs.
class Turn : public NS_TEST::EachAsnOperation {
  protected:
    // While the dump of a text calls Log, lets a dump by `other` begin, and then calls
    // `onWaiting`; whether that dump was still waiting a while after its beginning.
    bool OtherWaitsDuringLog(
        AsnOperation other, ScriptedMessage& otherMessage,
        const std::function<void()>& onWaiting = [] {}) {
        bool waited = false;
        std::future<void> done;
        logger_.onLog = [&] {
            std::promise<void> begins;
            std::future<void> begun = begins.get_future();
            done = std::async(std::launch::async, [&, begins = std::move(begins)]() mutable {
                begins.set_value();
                DumpBy(other, otherLogger_, otherMessage);
            });
            begun.wait();
            waited = done.wait_for(std::chrono::milliseconds(200)) == std::future_status::timeout;
            onWaiting();
        };
        Dumped(TextMessage("first"));
        done.get();
        return waited;
    }

    RecordingLogger otherLogger_{"c", "d", "corbasys", settings_, channels_};
};
QV_FOR_EACH_ASN_OPERATION(Turn);

TEST_P(Turn, LastsUntilTheRecordIsLoggedAndEchoed) {
    store_.Set("bEnableAsnTrace", "1");
    for (const AsnOperation other : {AsnOperation::kPrintAsn, AsnOperation::kLogAsnTrace}) {
        const CapturedOutput output(STDOUT_FILENO);
        std::string echoedBefore;
        ScriptedMessage message(nullptr, [&](std::ostream&) { echoedBefore = output.Text(); });
        EXPECT_TRUE(OtherWaitsDuringLog(other, message));
        EXPECT_THAT(echoedBefore, testing::MatchesRegex("Thread:-?[0-9]+, ASN Trace:\nfirst"));
        EXPECT_EQ(message.printed, 1);
    }
}

// The level counts when the turn comes, not when the call was made.
TEST_P(Turn, IsAwaitedByATraceBeforeItLooksAtItsLevel) {
    ScriptedMessage message = TextMessage("not printed");
    EXPECT_TRUE(OtherWaitsDuringLog(AsnOperation::kLogAsnTrace, message,
                                    [this] { otherLogger_.DisableLevel(3); }));
    EXPECT_EQ(message.printed, 0);
    EXPECT_EQ(otherLogger_.LastText(), "first");
    EXPECT_TRUE(OtherWaitsDuringLog(AsnOperation::kLogAsnTrace, message,
                                    [this] { otherLogger_.EnableLevel(3); }));
    EXPECT_EQ(message.printed, 1);
}

TEST_P(Turn, IsNotNeededForOtherRecords) {
    logger_.onLog = [&] {
        const auto done = std::async(std::launch::async,
                                     [&] { otherLogger_.Log("f.cpp", "Run", 7, 1, "not a dump"); });
        EXPECT_EQ(done.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    };
    Dumped(TextMessage("text"));
}

class DumpsOfManyThreads : public NS_TEST::AsnDumpTest {
  protected:
    // Each thread has letters of its own, and dumps messages of all types.
    static SecretText TextOf(int thread, int round) {
        const auto type = static_cast<size_t>(thread + round) % kSecretTypes;
        return SecretTextOf(type, std::to_string(thread) + "." + std::to_string(round),
                            std::string(8, static_cast<char>('A' + thread)));
    }

    // Calls `dump` with the number of each thread and each message, on that thread. No message is
    // printed while another one is.
    template <class Dump>
    static void FromManyThreads(Dump dump) {
        std::atomic<int> inside{0};
        OnThreads(kThreads, [&](int thread) {
            for (int round = 0; round < kRounds; ++round) {
                const SecretText text = TextOf(thread, round);
                ScriptedMessage message(text.type, [&](std::ostream& out) {
                    EXPECT_EQ(inside++, 0);
                    out << text.text;
                    std::this_thread::yield();
                    --inside;
                });
                dump(thread, message);
            }
        });
    }

    // What may be seen of all of them when every message is traced.
    static std::multiset<std::string> AllMasked() {
        std::multiset<std::string> all;
        for (int thread = 0; thread < kThreads; ++thread) {
            for (int round = 0; round < kRounds; ++round) {
                all.insert(TextOf(thread, round).masked);
            }
        }
        return all;
    }
};

// Direct and queued, in two categories, and repeated from the cache.
TEST_F(DumpsOfManyThreads, LeaveTheProcessMaskedByEveryWay) {
    NS_LOG_SERVICE1::Logger direct("a", "b", "corbaoper", settings_, channels_);
    off_.writes = true;
    settings_.filterbuflength = 1000;
    for (const uint32_t mode : {0u, 1u}) {
        settings_.outputmode = mode;
        FromManyThreads([&](int, ScriptedMessage& message) {
            direct.LogAsnTrace("f.cpp", "Run", 7, message);
            off_.LogAsnTrace("f.cpp", "Run", 7, message);
        });
    }
    EXPECT_GT(channels_.Find("corbaoper")->Statistics().queued.Get(), 0u);
    EXPECT_GT(Channel().Statistics().keptBack.Get(), 0u);
    channels_.FlushAll();
    off_.Log("f.cpp", "Run", 7, 0, "brings the kept back records along");

    const std::multiset<std::string> once = AllMasked();
    std::multiset<std::string> twice = once;
    twice.insert(once.begin(), once.end());
    std::multiset<std::string> found;
    size_t repeated = 0;
    for (const ParsedPiece& piece : ParseLogDirectory(Path("log"))) {
        if (piece.kind == ParsedPiece::RECORD) {
            found.insert(piece.record.detail);
        }
        for (const ParsedRecord& record : piece.dumped) {
            ++repeated;
            EXPECT_EQ(once.count(record.detail), 1u) << record.detail;
        }
    }
    EXPECT_TRUE(found == twice) << found.size() << " of " << twice.size();
    EXPECT_GT(repeated, 0u);
}

TEST_F(DumpsOfManyThreads, DoNotMixOnStandardOutput) {
    store_.Set("bEnableAsnTrace", "1");
    const CapturedOutput output(STDOUT_FILENO);
    FromManyThreads([this](int, ScriptedMessage& message) {
        DumpBy(AsnOperation::kLogAsnTrace, logger_, message);
    });
    const std::string text = output.Text();
    const std::string end = ", ASN Trace:\n";
    std::multiset<std::string> found;
    std::map<std::string, std::set<std::string>> threadsOfHeader;
    for (size_t at = 0; at < text.size();) {
        const size_t begin = text.find(end, at) + end.size();
        ASSERT_GT(begin, end.size());
        const size_t next = std::min(text.find("Thread:", begin), text.size());
        found.insert(text.substr(begin, next - begin));
        threadsOfHeader[text.substr(at, begin - at)].insert(text.substr(begin + 6, 1));
        at = next;
    }
    EXPECT_TRUE(found == AllMasked()) << found.size();
    EXPECT_EQ(threadsOfHeader.size(), static_cast<size_t>(kThreads));
    for (const auto& [header, threads] : threadsOfHeader) {
        EXPECT_EQ(threads.size(), 1u) << header;
    }
}

}  // namespace
