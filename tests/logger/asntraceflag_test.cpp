// Whether dumps are echoed on standard output: when the configuration is asked, and what comes of
// the answer.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "bundlemgr/processexception.h"
#include "logger/asndump.h"
#include "logger/asndumpfixture.h"
#include "support/capturedoutput.h"

namespace {

using NS_LOG_SERVICE1::ReadAsnTraceFlag;
using NS_TEST::AsnOperation;
using NS_TEST::IsDiagnostic;
using NS_TEST::ScriptedMessage;
using NS_TEST::TextMessage;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kItem = "bEnableAsnTrace";
constexpr const char* kFailure = "\nGet Config Item(logfilesize) failed !!\n";

// What stands in front of a dump of the calling thread.
std::string EchoHeader() {
    const auto number = static_cast<int32_t>(static_cast<uint32_t>(pthread_self()));
    return "Thread:" + std::to_string(number) + ", ASN Trace:\n";
}

// A store without the item.
class MissingItem : public NS_TEST::ScriptedConfigItems {};

using AsnTraceFlag = NS_TEST::AsnDumpTest;

class AsnTraceFlagOfEither : public NS_TEST::EachAsnOperation {
  protected:
    // What is echoed while the message is dumped.
    std::string Echoed(ScriptedMessage message) {
        const NS_TEST::CapturedOutput output(STDOUT_FILENO);
        DumpWith(logger_, message);
        return output.Text();
    }
};
QV_FOR_EACH_ASN_OPERATION(AsnTraceFlagOfEither);

TEST_F(AsnTraceFlag, IsOffForZeroAndAsksAgainTheNextTime) {
    settings_.logfilesize = 1234;
    EXPECT_FALSE(ReadAsnTraceFlag(settings_));
    EXPECT_FALSE(ReadAsnTraceFlag(settings_));
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem, kItem));
    EXPECT_EQ(settings_.logfilesize, 1234u);
    EXPECT_THAT(Proxy().Printed(), IsEmpty());
}

TEST_F(AsnTraceFlag, RemembersAValueOtherThanZeroForGood) {
    settings_.logfilesize = 1234;
    store_.Set(kItem, "1");
    EXPECT_TRUE(ReadAsnTraceFlag(settings_));
    store_.Set(kItem, "0");
    EXPECT_TRUE(ReadAsnTraceFlag(settings_));
    MissingItem missing;
    NS_REFERENCE_HOST::SetConfigItems(&missing);
    EXPECT_TRUE(ReadAsnTraceFlag(settings_));
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
    EXPECT_THAT(missing.Asked(), IsEmpty());
    EXPECT_EQ(settings_.logfilesize, 1234u);
    EXPECT_THAT(Proxy().Printed(), IsEmpty());
}

TEST_F(AsnTraceFlag, IsOnForANegativeValue) {
    store_.Set(kItem, "-2147483648");
    EXPECT_TRUE(ReadAsnTraceFlag(settings_));
}

TEST_F(AsnTraceFlag, ReportsAFailingReadUnderAnotherItemAndResetsTheFileSize) {
    MissingItem missing;
    NS_REFERENCE_HOST::SetConfigItems(&missing);
    settings_.logfilesize = 1234;
    EXPECT_FALSE(ReadAsnTraceFlag(settings_));
    EXPECT_EQ(settings_.logfilesize, 4194304u);
    EXPECT_THAT(Proxy().Printed(), ElementsAre(IsDiagnostic(1, "logimpl", kFailure)));
}

TEST_F(AsnTraceFlag, CanBeReadAfterAFailure) {
    MissingItem missing;
    NS_REFERENCE_HOST::SetConfigItems(&missing);
    EXPECT_FALSE(ReadAsnTraceFlag(settings_));
    EXPECT_FALSE(ReadAsnTraceFlag(settings_));
    EXPECT_THAT(Proxy().Texts(), ElementsAre(kFailure, kFailure));
    missing.Set(kItem, "3");
    EXPECT_TRUE(ReadAsnTraceFlag(settings_));
    EXPECT_EQ(Proxy().Texts().size(), 2u);
}

TEST_P(AsnTraceFlagOfEither, IsReadByTheFirstDumpAndNeverAgain) {
    EXPECT_EQ(Echoed(TextMessage("one")), "");
    store_.Set(kItem, "1");
    EXPECT_EQ(Echoed(TextMessage("two")), "");
    NS_TEST::RecordingLogger other("c", "d", "corbasys", settings_, channels_);
    ScriptedMessage message = TextMessage("three");
    DumpWith(other, message);
    EXPECT_EQ(Echoed(TextMessage("four")), "");
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
}

TEST_P(AsnTraceFlagOfEither, StaysOnWhenTheItemIsSwitchedOffLater) {
    store_.Set(kItem, "1");
    EXPECT_EQ(Echoed(TextMessage("one")), EchoHeader() + "one");
    store_.Set(kItem, "0");
    EXPECT_EQ(Echoed(TextMessage("two")), EchoHeader() + "two");
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
}

TEST_P(AsnTraceFlagOfEither, IsReadByTheFirstDumpThatIsNotSwitchedOff) {
    settings_.bEnableAsnLog = 0;
    EXPECT_EQ(Echoed(TextMessage("one")), "");
    store_.Set(kItem, "1");
    EXPECT_EQ(Echoed(TextMessage("two")), "");
    EXPECT_THAT(store_.Asked(), IsEmpty());
    settings_.bEnableAsnLog = 1;
    EXPECT_EQ(Echoed(TextMessage("three")), EchoHeader() + "three");
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
}

TEST_P(AsnTraceFlagOfEither, IsReadBeforeTheMessageIsPrinted) {
    size_t askedBefore = 0;
    ScriptedMessage message(nullptr,
                            [&](std::ostream& /*out*/) { askedBefore = store_.Asked().size(); });
    DumpWith(logger_, message);
    EXPECT_EQ(askedBefore, 1u);
}

TEST_P(AsnTraceFlagOfEither, StaysOffWhenTheReadFails) {
    MissingItem missing;
    NS_REFERENCE_HOST::SetConfigItems(&missing);
    settings_.logfilesize = 1234;
    EXPECT_EQ(Echoed(TextMessage("one")), "");
    EXPECT_EQ(logger_.LastText(), "one");
    EXPECT_EQ(settings_.logfilesize, 4194304u);
    EXPECT_THAT(Proxy().Printed(), ElementsAre(IsDiagnostic(1, "logimpl", kFailure)));
    missing.Set(kItem, "1");
    settings_.logfilesize = 1234;
    EXPECT_EQ(Echoed(TextMessage("two")), "");
    EXPECT_EQ(settings_.logfilesize, 1234u);
    EXPECT_THAT(missing.Asked(), ElementsAre(kItem));
    EXPECT_EQ(Proxy().Printed().size(), 1u);
}

// Nothing has been printed or logged yet then, and no other dump is held up.
TEST_P(AsnTraceFlagOfEither, IsReadAgainAfterTheStoreWasOutOfReach) {
    store_.OnAsked(kItem, &NS_TEST::RaiseStoreOutOfReach);
    ScriptedMessage message = TextMessage("one");
    EXPECT_THROW(DumpWith(logger_, message), NS_BUNDLEMGR1::InterfaceNotExistException);
    EXPECT_EQ(message.printed, 0);
    EXPECT_THAT(logger_.Calls(), IsEmpty());
    store_.OnAsked(kItem, [] {});
    store_.Set(kItem, "1");
    EXPECT_EQ(Echoed(TextMessage("two")), EchoHeader() + "two");
    EXPECT_EQ(PrintedByAnotherThread("three"), "three");
}

TEST_P(AsnTraceFlagOfEither, IsReadOnceByManyFirstDumpsAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            ScriptedMessage message = TextMessage("text");
            DumpWith(logger_, message);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
    EXPECT_EQ(logger_.Calls().size(), 8u);
}

TEST_F(AsnTraceFlag, IsReadByEachOperationForItself) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    EXPECT_EQ(Printed(TextMessage("one")), "one");
    store_.Set(kItem, "1");
    EXPECT_EQ(Traced(TextMessage("two")), "two");
    EXPECT_EQ(Printed(TextMessage("three")), "three");
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem, kItem));
    EXPECT_EQ(output.Text(), EchoHeader() + "two");
}

TEST_F(AsnTraceFlag, ThatOneOperationReadAsOnIsOnForTheOther) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    store_.Set(kItem, "1");
    Traced(TextMessage("one"));
    store_.Set(kItem, "0");
    Printed(TextMessage("two"));
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
    EXPECT_EQ(output.Text(), EchoHeader() + "one" + EchoHeader() + "two");
}

TEST_F(AsnTraceFlag, FailsOnceForEachOperation) {
    MissingItem missing;
    NS_REFERENCE_HOST::SetConfigItems(&missing);
    for (int i = 0; i < 3; ++i) {
        Printed(TextMessage("one"));
        Traced(TextMessage("two"));
    }
    EXPECT_THAT(Proxy().Texts(), ElementsAre(kFailure, kFailure));
}

TEST_F(AsnTraceFlag, IsReadEvenWhenLevelThreeIsOff) {
    logger_.DisableLevel(3);
    Traced(TextMessage("text"));
    EXPECT_THAT(store_.Asked(), ElementsAre(kItem));
}

class AsnEcho : public NS_TEST::EachAsnOperation {
  protected:
    AsnEcho() { store_.Set(kItem, "1"); }
};
QV_FOR_EACH_ASN_OPERATION(AsnEcho);

using AsnTraceEcho = NS_TEST::AsnDumpTest;

TEST_P(AsnEcho, ShowsTheThreadAndTheWholeDump) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    const std::string text = NS_TEST::LongText(4000000) + "\nend";
    Dumped(TextMessage("100 %s %n %d\n"));
    Dumped(TextMessage(text));
    Dumped(TextMessage(""));
    const std::string expected =
        EchoHeader() + "100 %s %n %d\n" + EchoHeader() + text + EchoHeader();
    EXPECT_TRUE(output.Text() == expected) << output.Text().substr(0, 200);
}

TEST_P(AsnEcho, NamesTheThreadThatDumps) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    std::string header;
    std::thread thread([&] {
        header = EchoHeader();
        Dumped(TextMessage("text"));
    });
    thread.join();
    EXPECT_EQ(output.Text(), header + "text");
    EXPECT_NE(header, EchoHeader());
}

TEST_P(AsnEcho, ComesAfterTheRecord) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    std::string echoedBefore = "?";
    logger_.onLog = [&] { echoedBefore = output.Text(); };
    Dumped(TextMessage("text"));
    EXPECT_EQ(echoedBefore, "");
    EXPECT_EQ(output.Text(), EchoHeader() + "text");
}

TEST_P(AsnEcho, DoesNotComeWhenLogThrows) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    logger_.onLog = [] { throw 1; };
    ScriptedMessage message = TextMessage("text");
    EXPECT_THROW(DumpWith(logger_, message), int);
    EXPECT_EQ(output.Text(), "");
}

TEST_F(AsnTraceEcho, IsMasked) {
    store_.Set(kItem, "1");
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    Traced(TextMessage("QAsnGetNEInfoRsp", "NEPwd = \"abcd\""));
    EXPECT_EQ(output.Text(), EchoHeader() + "NEPwd = \"****\"");
}

// The echo shows what was logged, so with level 3 off it is the previous dump as well.
TEST_F(AsnTraceEcho, RepeatsThePreviousDumpWithLevelThreeOff) {
    store_.Set(kItem, "1");
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    Traced(TextMessage("one"));
    logger_.DisableLevel(3);
    Traced(TextMessage("two"));
    EXPECT_EQ(output.Text(), EchoHeader() + "one" + EchoHeader() + "one");
}

}  // namespace
