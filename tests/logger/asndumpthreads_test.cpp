// Dumps of several threads: one at a time, from the first byte printed to the last one echoed.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "logger/asndumpfixture.h"
#include "support/capturedoutput.h"
#include "support/logfileparser.h"
#include "support/onthreads.h"

namespace {

using NS_TEST::AsnOperation;
using NS_TEST::OnThreads;
using NS_TEST::RecordingLogger;
using NS_TEST::ScriptedMessage;
using NS_TEST::TextMessage;

constexpr int kThreads = 8;
constexpr int kRounds = 40;

// A text that tells whose it is at every place, of a type whose values are masked.
std::string TextOf(int thread, int round) {
    const std::string name = std::to_string(thread) + "." + std::to_string(round);
    std::string text = "begin " + name + "\n";
    for (int line = 0; line < 1 + thread * 3 + round % 5; ++line) {
        text += "value " + name + " NEPwd = \"" + std::string(4, static_cast<char>('A' + thread)) +
                "\"\n";
    }
    return text + "end " + name;
}

std::string MaskedTextOf(int thread, int round) {
    std::string text = TextOf(thread, round);
    const std::string secret(4, static_cast<char>('A' + thread));
    for (size_t at = text.find(secret); at != std::string::npos; at = text.find(secret)) {
        text.replace(at, 4, "****");
    }
    return text;
}

// A logger that lets another thread try to dump while its Log runs.
class Turn : public NS_TEST::EachAsnOperation {
  protected:
    // While the dump of `message` calls Log, lets a dump by `other` begin; whether that one was
    // still waiting a while later.
    bool OtherWaitsDuringLog(AsnOperation other, ScriptedMessage& otherMessage) {
        bool waited = false;
        std::future<void> done;
        logger_.onLog = [&] {
            std::promise<void> begins;
            std::future<void> begun = begins.get_future();
            done = std::async(std::launch::async, [&, begins = std::move(begins)]() mutable {
                begins.set_value();
                Dump(other, otherLogger_, otherMessage);
            });
            begun.wait();
            waited = done.wait_for(std::chrono::milliseconds(200)) == std::future_status::timeout;
            logEnded_ = true;
        };
        ScriptedMessage message = TextMessage("first");
        DumpWith(logger_, message);
        done.get();
        return waited;
    }

    RecordingLogger otherLogger_{"c", "d", "corbasys", settings_, channels_};
    std::atomic<bool> logEnded_{false};
};
QV_FOR_EACH_ASN_OPERATION(Turn);

TEST_P(Turn, LastsWhileTheRecordIsLogged) {
    for (const AsnOperation other : {AsnOperation::kPrintAsn, AsnOperation::kLogAsnTrace}) {
        logEnded_ = false;
        bool printedAfterLog = false;
        ScriptedMessage message(nullptr,
                                [&](std::ostream& /*out*/) { printedAfterLog = logEnded_; });
        EXPECT_TRUE(OtherWaitsDuringLog(other, message));
        EXPECT_TRUE(printedAfterLog);
        EXPECT_EQ(message.printed, 1);
    }
}

TEST_P(Turn, LastsUntilTheDumpIsEchoed) {
    store_.Set("bEnableAsnTrace", "1");
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    std::string echoedBefore;
    ScriptedMessage message(nullptr, [&](std::ostream& /*out*/) { echoedBefore = output.Text(); });
    EXPECT_TRUE(OtherWaitsDuringLog(AsnOperation::kPrintAsn, message));
    EXPECT_THAT(echoedBefore, testing::MatchesRegex("Thread:-?[0-9]+, ASN Trace:\nfirst"));
}

TEST_P(Turn, IsAwaitedByATraceThatPrintsNothing) {
    otherLogger_.DisableLevel(3);
    ScriptedMessage message = TextMessage("not printed");
    EXPECT_TRUE(OtherWaitsDuringLog(AsnOperation::kLogAsnTrace, message));
    EXPECT_EQ(otherLogger_.LastText(), "first");
}

TEST_P(Turn, IsNotNeededForOtherRecords) {
    std::future<void> done;
    logger_.onLog = [&] {
        done = std::async(std::launch::async,
                          [&] { otherLogger_.Log("f.cpp", "Run", 7, 1, "not a dump"); });
        EXPECT_EQ(done.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    };
    Dumped(TextMessage("text"));
}

class DumpsOfManyThreads : public NS_TEST::AsnDumpTest {};

TEST_F(DumpsOfManyThreads, ArePrintedOneAtATime) {
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    OnThreads(kThreads, [&](int thread) {
        ScriptedMessage message(nullptr, [&](std::ostream& out) {
            overlaps += inside++ == 0 ? 0 : 1;
            out << "text";
            std::this_thread::yield();
            --inside;
        });
        for (int round = 0; round < kRounds; ++round) {
            Dump(thread % 2 == 0 ? AsnOperation::kPrintAsn : AsnOperation::kLogAsnTrace, logger_,
                 message);
        }
    });
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(logger_.Calls().size(), static_cast<size_t>(kThreads * kRounds));
}

TEST_F(DumpsOfManyThreads, DoNotMixInTheFiles) {
    NS_LOG_SERVICE1::Logger logger("a", "b", "debug", settings_, channels_);
    std::multiset<std::string> expected;
    for (int thread = 0; thread < kThreads; ++thread) {
        for (int round = 0; round < kRounds; ++round) {
            expected.insert(thread % 2 == 0 ? "-1 " + TextOf(thread, round)
                                            : "3 " + MaskedTextOf(thread, round));
        }
    }
    OnThreads(kThreads, [&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            ScriptedMessage message = TextMessage("QAsnGetNEInfoRsp", TextOf(thread, round));
            Dump(thread % 2 == 0 ? AsnOperation::kPrintAsn : AsnOperation::kLogAsnTrace, logger,
                 message);
        }
    });
    std::multiset<std::string> found;
    for (const NS_TEST::ParsedPiece& piece :
         NS_TEST::OfKind(NS_TEST::ParseLogDirectory(Path("log")), NS_TEST::ParsedPiece::RECORD)) {
        found.insert(std::to_string(piece.record.level) + " " + piece.record.detail);
    }
    EXPECT_TRUE(found == expected) << found.size() << " of " << expected.size();
}

TEST_F(DumpsOfManyThreads, DoNotMixOnStandardOutput) {
    store_.Set("bEnableAsnTrace", "1");
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    std::multiset<std::string> expected;
    for (int thread = 0; thread < kThreads; ++thread) {
        for (int round = 0; round < kRounds; ++round) {
            expected.insert(MaskedTextOf(thread, round));
        }
    }
    OnThreads(kThreads, [&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            ScriptedMessage message = TextMessage("QAsnGetNEInfoRsp", TextOf(thread, round));
            logger_.LogAsnTrace("f.cpp", "Run", 7, message);
        }
    });
    const std::string text = output.Text();
    std::multiset<std::string> found;
    std::map<std::string, std::set<std::string>> threadsOfHeader;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find(", ASN Trace:\n", at);
        ASSERT_NE(end, std::string::npos);
        const size_t next = std::min(text.find("Thread:", end), text.size());
        found.insert(text.substr(end + 13, next - end - 13));
        threadsOfHeader[text.substr(at, end - at)].insert(text.substr(end + 13 + 6, 1));
        at = next;
    }
    EXPECT_TRUE(found == expected) << found.size() << " of " << expected.size();
    EXPECT_EQ(threadsOfHeader.size(), static_cast<size_t>(kThreads));
    for (const auto& [header, threads] : threadsOfHeader) {
        EXPECT_EQ(threads.size(), 1u) << header;
    }
}

// Whatever is repeated is a dump as it was logged, whole and masked.
TEST_F(DumpsOfManyThreads, AreRepeatedWhole) {
    RecordingLogger off("c", "d", "debug", settings_, channels_);
    off.DisableLevel(3);
    OnThreads(kThreads, [&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            ScriptedMessage message = TextMessage("QAsnGetNEInfoRsp", TextOf(thread, round));
            (thread % 2 == 0 ? logger_ : off).LogAsnTrace("f.cpp", "Run", 7, message);
        }
    });
    std::set<std::string> logged{""};
    for (const NS_TEST::LoggedCall& call : logger_.Calls()) {
        logged.insert(call.text);
    }
    EXPECT_EQ(off.Calls().size(), static_cast<size_t>(kThreads / 2 * kRounds));
    for (const NS_TEST::LoggedCall& call : off.Calls()) {
        EXPECT_EQ(logged.count(call.text), 1u) << call.text;
    }
}

}  // namespace
