// How often a dump asks for memory, and what becomes of one that gets none.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "logger/asndumpfixture.h"
#include "support/allocations.h"
#include "support/capturedoutput.h"

namespace {

using namespace NS_TEST;

// A logger that goes no further than Log.
class SilentLogger : public NS_LOG_SERVICE1::Logger {
  public:
    using Logger::Logger;
    void Log(const std::string& /*file*/, const std::string& /*function*/, unsigned int /*line*/,
             int /*level*/, const std::string& text) override {
        textSize = text.size();
    }
    size_t textSize = 0;
};

class AsnDumpMemory : public NS_TEST::EachAsnOperation {
  protected:
    // What the dump of `size` characters needs that is not the first one. Every line of them holds
    // values that are masked.
    Allocations UsageOf(NS_LOG_SERVICE1::LoggerIF& logger, size_t size) {
        std::string text;
        while (text.size() < size) {
            text += "name = \"x\", city = \"y\"\n";
        }
        text.resize(size);
        ScriptedMessage message = TextMessage("QAsnGetPhysicalLocationInfoRsp", text);
        for (int i = 0; i < 3; ++i) {
            ForgetAllocations();
            DumpBy(GetParam(), logger, message);
        }
        return AllocationsOfThisThread();
    }

    // The dump needs one allocation, for the text that it hands to Log, or none where that is
    // short.
    void ExpectOneForTheText(size_t size) {
        const Allocations usage = UsageOf(silent_, size);
        EXPECT_EQ(usage.count, silent_.textSize < 16 ? 0u : 1u) << size;
        EXPECT_EQ(usage.bytes, silent_.textSize < 16 ? 0u : silent_.textSize + 1) << size;
    }

    SilentLogger silent_{"a", "b", "debug", settings_, channels_};
    NS_LOG_SERVICE1::Logger writing_{"a", "b", "debug", settings_, channels_};
};
QV_FOR_EACH_ASN_OPERATION(AsnDumpMemory);

TEST_P(AsnDumpMemory, IsOneAllocationForTheTextHandedToLog) {
    for (const size_t size : {15u, 16u, 1024u, 65536u, 4095998u}) {
        ExpectOneForTheText(size);
        EXPECT_EQ(silent_.textSize, size);
    }
    ExpectOneForTheText(kDumpBuffer + 100);
    EXPECT_LT(silent_.textSize, kDumpBuffer);
}

TEST_P(AsnDumpMemory, IsOneAllocationForARepeatedText) {
    silent_.DisableLevel(3);
    EXPECT_EQ(PrintedByAnotherThread(std::string(1000, 'x')).size(), 1000u);
    ExpectOneForTheText(1000);
    EXPECT_EQ(silent_.textSize, 1000u);
}

TEST_P(AsnDumpMemory, IsNoneMoreForTheEcho) {
    store_.Set("bEnableAsnTrace", "1");
    const CapturedOutput output(STDOUT_FILENO);
    ExpectOneForTheText(65536);
    EXPECT_GT(output.Text().size(), 3 * 65536u);
}

// The text. The frame of a usual record is memory of an earlier call; that of a long one is not
// kept.
TEST_P(AsnDumpMemory, IsOneAllocationUpToTheFileOrTheQueueAndOneMoreForALongText) {
    EXPECT_EQ(UsageOf(writing_, 1024).count, 1u);
    for (const size_t size : {65536u, 4000000u}) {
        EXPECT_EQ(UsageOf(writing_, size).count, 2u) << size;
    }
    settings_.outputmode = 1;
    EXPECT_EQ(UsageOf(writing_, 1024).count, 1u);
}

TEST_P(AsnDumpMemory, IsWaitedForByNobodyWhenThereIsNone) {
    ScriptedMessage message = TextMessage(std::string(1000, 'x'));
    DumpBy(GetParam(), silent_, message);
    FailNextAllocation();
    EXPECT_THROW(DumpBy(GetParam(), silent_, message), std::bad_alloc);
    EXPECT_EQ(PrintedByAnotherThread("other thread"), "other thread");
}

}  // namespace
