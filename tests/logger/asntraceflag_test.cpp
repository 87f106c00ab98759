// Whether dumps are echoed on standard output: when the configuration is asked, and what comes of
// the answer.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <string>
#include <thread>

#include "bundlemgr/processexception.h"
#include "logger/asndump.h"
#include "logger/asndumpfixture.h"
#include "support/capturedoutput.h"
#include "support/onthreads.h"

namespace {

using NS_LOG_SERVICE1::ReadAsnTraceFlag;
using namespace NS_TEST;
using namespace testing;

constexpr const char* kItem = "bEnableAsnTrace";
// Names another item, and what follows resets that one: operators know the pair of effects.
constexpr const char* kFailure = "\nGet Config Item(logfilesize) failed !!\n";

// The echo of a dump of the calling thread.
std::string EchoOf(const std::string& text) {
    const auto number = static_cast<int32_t>(static_cast<uint32_t>(pthread_self()));
    return "Thread:" + std::to_string(number) + ", ASN Trace:\n" + text;
}

class AsnTraceFlag : public NS_TEST::AsnDumpTest {
  protected:
    AsnTraceFlag() { settings_.logfilesize = 1234; }

    // Reads the flag from `store`, which is asked or not; a failure is reported.
    void ExpectRead(ScriptedConfigItems& store, bool on, bool asked, bool failed) {
        NS_REFERENCE_HOST::SetConfigItems(&store);
        Diagnostics().Forget();
        settings_.logfilesize = 1234;
        const size_t before = store.Asked().size();
        EXPECT_EQ(ReadAsnTraceFlag(settings_), on);
        EXPECT_EQ(store.Asked().size() - before, asked ? 1u : 0u);
        EXPECT_EQ(settings_.logfilesize, failed ? 4194304u : 1234u);
        if (failed) {
            EXPECT_THAT(Diagnostics().Printed(), ElementsAre(IsDiagnostic(1, "logimpl", kFailure)));
        } else {
            EXPECT_THAT(Diagnostics().Printed(), IsEmpty());
        }
    }
};

TEST_F(AsnTraceFlag, IsAskedForUntilItIsNotZeroAndThenRemembered) {
    ScriptedConfigItems missing;
    ExpectRead(store_, false, true, false);
    ExpectRead(missing, false, true, true);
    ExpectRead(missing, false, true, true);
    store_.Set(kItem, "-2147483648");
    ExpectRead(store_, true, true, false);
    store_.Set(kItem, "0");
    ExpectRead(store_, true, false, false);
    ExpectRead(missing, true, false, false);
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem, kItem));
}

class AsnTraceFlagOfEither : public NS_TEST::EachAsnOperation {
  protected:
    // What is echoed while a text is dumped.
    std::string Echoed(const std::string& text) {
        const CapturedOutput output(STDOUT_FILENO);
        EXPECT_EQ(Dumped(TextMessage(text)), text);
        return output.Text();
    }
};
QV_FOR_EACH_ASN_OPERATION(AsnTraceFlagOfEither);

// A later change has no effect until the agent starts again.
TEST_P(AsnTraceFlagOfEither, IsReadOnceByTheFirstDumpsOfAnyLoggersAndThreads) {
    RecordingLogger other("c", "d", "corbasys", settings_, channels_);
    OnThreads(8, [&](int number) {
        ScriptedMessage message = TextMessage("text");
        DumpBy(GetParam(), number % 2 == 0 ? logger_ : other, message);
    });
    EXPECT_EQ(logger_.Calls().size() + other.Calls().size(), 8u);
    store_.Set(kItem, "1");
    EXPECT_EQ(Echoed("later"), "");
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
}

TEST_P(AsnTraceFlagOfEither, IsReadByTheFirstDumpThatIsNotSwitchedOffAndStaysOn) {
    settings_.bEnableAsnLog = 0;
    ScriptedMessage message = TextMessage("off");
    Dump(message);
    store_.Set(kItem, "1");
    Dump(message);
    EXPECT_THAT(store_.Asked(), IsEmpty());
    settings_.bEnableAsnLog = 1;
    EXPECT_EQ(Echoed("one"), EchoOf("one"));
    store_.Set(kItem, "0");
    EXPECT_EQ(Echoed("two"), EchoOf("two"));
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
}

// Whoever answers for the configuration may dump messages of its own, or wait for who does.
TEST_P(AsnTraceFlagOfEither, IsReadBeforeTheDumpTakesItsTurn) {
    const auto other = GetParam() == AsnOperation::kPrintAsn ? AsnOperation::kLogAsnTrace
                                                             : AsnOperation::kPrintAsn;
    RecordingLogger otherLogger("c", "d", "corbasys", settings_, channels_);
    ScriptedMessage message = TextMessage("one");
    std::future<void> otherDump;
    std::atomic<bool> asked{false};
    store_.OnAsked(kItem, [&] {
        if (!asked.exchange(true)) {
            otherDump = std::async(std::launch::async, [&] {
                ScriptedMessage otherMessage = TextMessage("other");
                DumpBy(other, otherLogger, otherMessage);
            });
            EXPECT_EQ(otherDump.wait_for(std::chrono::seconds(20)), std::future_status::ready);
        }
    });
    Dump(message);
    otherDump.get();
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem, kItem));
}

TEST_P(AsnTraceFlagOfEither, StaysOffWhenTheReadFails) {
    ScriptedConfigItems missing;
    NS_REFERENCE_HOST::SetConfigItems(&missing);
    for (int dump = 0; dump < 2; ++dump) {
        EXPECT_EQ(Echoed("text"), "");
        EXPECT_THAT(missing.Asked(), ElementsAre(kItem));
        EXPECT_THAT(Diagnostics().Texts(), ElementsAre(kFailure));
        missing.Set(kItem, "1");
    }
}

// Nothing has been printed or logged yet then, and no other dump is held up.
TEST_P(AsnTraceFlagOfEither, IsReadAgainAfterTheStoreWasOutOfReach) {
    store_.OnAsked(kItem, &RaiseStoreOutOfReach);
    ScriptedMessage message = TextMessage("one");
    EXPECT_THROW(Dump(message), NS_BUNDLEMGR1::InterfaceNotExistException);
    EXPECT_EQ(message.printed, 0);
    EXPECT_THAT(logger_.Calls(), IsEmpty());
    store_.OnAsked(kItem, [] {});
    store_.Set(kItem, "1");
    EXPECT_EQ(Echoed("two"), EchoOf("two"));
    EXPECT_EQ(PrintedByAnotherThread("three"), "three");
}

// With level 3 off too.
TEST_F(AsnTraceFlag, IsReadByEachOperationForItself) {
    const CapturedOutput output(STDOUT_FILENO);
    Printed(TextMessage("one"));
    store_.Set(kItem, "1");
    EXPECT_EQ(Repeated(), "one");
    Printed(TextMessage("two"));
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem, kItem));
    EXPECT_EQ(output.Text(), EchoOf("one"));
}

TEST_F(AsnTraceFlag, ThatOneOperationReadAsOnIsOnForTheOther) {
    const CapturedOutput output(STDOUT_FILENO);
    store_.Set(kItem, "1");
    Traced(TextMessage("one"));
    store_.Set(kItem, "0");
    Printed(TextMessage("two"));
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
    EXPECT_EQ(output.Text(), EchoOf("one") + EchoOf("two"));
}

class AsnEcho : public NS_TEST::EachAsnOperation {
  protected:
    AsnEcho() { store_.Set(kItem, "1"); }
};
QV_FOR_EACH_ASN_OPERATION(AsnEcho);

using AsnTraceEcho = AsnTraceFlag;

TEST_P(AsnEcho, ShowsTheThreadAndTheWholeDump) {
    const CapturedOutput output(STDOUT_FILENO);
    std::string expected;
    for (const std::string& text :
         {std::string("100 %s %n %d\n"), LongText(4000000) + "\nend", std::string()}) {
        Dumped(TextMessage(text));
        expected += EchoOf(text);
    }
    const std::string own = EchoOf("of another thread");
    std::thread([&] {
        Dumped(TextMessage("of another thread"));
        EXPECT_NE(EchoOf("of another thread"), own);
        expected += EchoOf("of another thread");
    }).join();
    EXPECT_TRUE(output.Text() == expected) << output.Text().substr(0, 200);
}

TEST_P(AsnEcho, ComesAfterTheRecordUnlessLogThrows) {
    const CapturedOutput output(STDOUT_FILENO);
    ScriptedMessage message = TextMessage("text");
    logger_.onLog = [] { throw 1; };
    EXPECT_THROW(Dump(message), int);
    logger_.onLog = [&] { EXPECT_EQ(output.Text(), ""); };
    Dump(message);
    EXPECT_EQ(output.Text(), EchoOf("text"));
}

// The echo shows what was logged, so with level 3 off it is the previous dump as well.
TEST_F(AsnTraceEcho, IsMaskedAndRepeated) {
    store_.Set(kItem, "1");
    const CapturedOutput output(STDOUT_FILENO);
    Traced(TextMessage("QAsnGetNEInfoRsp", "NEPwd = \"abcd\""));
    Repeated();
    EXPECT_EQ(output.Text(), EchoOf("NEPwd = \"****\"") + EchoOf("NEPwd = \"****\""));
}

}  // namespace
