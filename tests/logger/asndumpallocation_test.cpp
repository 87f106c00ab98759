// How often a dump asks for memory, and what becomes of one that gets none.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "logger/asndumpfixture.h"
#include "support/allocations.h"
#include "support/capturedoutput.h"

namespace {

using NS_TEST::ScriptedMessage;
using NS_TEST::TextMessage;

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
    // What a dump needs that is not the first one.
    NS_TEST::Allocations UsageOf(NS_LOG_SERVICE1::LoggerIF& logger, ScriptedMessage message) {
        for (int i = 0; i < 3; ++i) {
            NS_TEST::ForgetAllocations();
            DumpWith(logger, message);
        }
        return NS_TEST::AllocationsOfThisThread();
    }

    // `size` characters in lines; every line holds values that are masked.
    static ScriptedMessage LocationMessage(size_t size) {
        std::string text;
        while (text.size() < size) {
            text += "name = \"x\", city = \"y\"\n";
        }
        text.resize(size);
        return TextMessage("QAsnGetPhysicalLocationInfoRsp", text);
    }

    SilentLogger silent_{"a", "b", "debug", settings_, channels_};
    NS_LOG_SERVICE1::Logger writing_{"a", "b", "debug", settings_, channels_};
};
QV_FOR_EACH_ASN_OPERATION(AsnDumpMemory);

TEST_P(AsnDumpMemory, IsOneAllocationForTheTextHandedToLog) {
    for (const size_t size : {16u, 1024u, 65536u, 4095998u}) {
        const NS_TEST::Allocations usage = UsageOf(silent_, LocationMessage(size));
        EXPECT_EQ(silent_.textSize, size);
        EXPECT_EQ(usage.count, 1u) << size;
        EXPECT_EQ(usage.bytes, size + 1) << size;
    }
}

TEST_P(AsnDumpMemory, IsNoneForAShortText) {
    const NS_TEST::Allocations usage = UsageOf(silent_, LocationMessage(15));
    EXPECT_EQ(silent_.textSize, 15u);
    EXPECT_EQ(usage.count, 0u);
}

TEST_P(AsnDumpMemory, IsOneAllocationForACutText) {
    const NS_TEST::Allocations usage = UsageOf(silent_, LocationMessage(4096100));
    EXPECT_EQ(usage.count, 1u);
    EXPECT_EQ(usage.bytes, silent_.textSize + 1);
}

TEST_P(AsnDumpMemory, IsOneAllocationForARepeatedText) {
    silent_.DisableLevel(3);
    EXPECT_EQ(PrintedByAnotherThread(std::string(1000, 'x')).size(), 1000u);
    EXPECT_EQ(UsageOf(silent_, LocationMessage(1000)).count, 1u);
    EXPECT_EQ(silent_.textSize, 1000u);
}

TEST_P(AsnDumpMemory, IsNoneMoreForTheEcho) {
    store_.Set("bEnableAsnTrace", "1");
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    EXPECT_EQ(UsageOf(silent_, LocationMessage(65536)).count, 1u);
    EXPECT_GT(output.Text().size(), 3 * 65536u);
}

// The second one is the record's context header.
TEST_P(AsnDumpMemory, IsTwoAllocationsUpToTheFile) {
    for (const size_t size : {1024u, 65536u, 4000000u}) {
        EXPECT_EQ(UsageOf(writing_, LocationMessage(size)).count, 2u) << size;
    }
}

TEST_P(AsnDumpMemory, IsTwoAllocationsUpToTheQueue) {
    settings_.outputmode = 1;
    EXPECT_EQ(UsageOf(writing_, LocationMessage(1024)).count, 2u);
}

TEST_P(AsnDumpMemory, IsWaitedForByNobodyWhenThereIsNone) {
    ScriptedMessage message = TextMessage(std::string(1000, 'x'));
    DumpWith(silent_, message);
    NS_TEST::FailNextAllocation();
    EXPECT_THROW(DumpWith(silent_, message), std::bad_alloc);
    EXPECT_EQ(PrintedByAnotherThread("other thread"), "other thread");
}

}  // namespace
