// Loggers whose dumps of ASN messages can be looked at, writing into a fresh directory.
#pragma once

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "channel/channelmap.h"
#include "platform/hostcontrol.h"
#include "support/asnmessages.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/logfileparser.h"
#include "support/recordinglogger.h"
#include "support/recordinglogproxy.h"
#include "support/scriptedconfigitems.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

// The buffer of the dumps: 4,096,000 bytes, one of them for the end of the text. A text that does
// not fit ends at kNoticeAt, with the notice behind it.
constexpr size_t kDumpBuffer = 4096000;
constexpr size_t kNoticeAt = 4095950;
constexpr const char* kCutNotice = "\n...More ASN not print.\n";

// The two ways to dump a message.
enum class AsnOperation { kPrintAsn, kLogAsnTrace };

inline std::ostream& operator<<(std::ostream& out, AsnOperation operation) {
    return out << (operation == AsnOperation::kPrintAsn ? "PrintAsn" : "LogAsnTrace");
}

inline void DumpBy(AsnOperation operation, NS_LOG_SERVICE1::LoggerIF& logger,
                   NS_ASN1::AsnObject& message, const std::string& file = "f.cpp",
                   const std::string& function = "Run", unsigned int line = 7) {
    if (operation == AsnOperation::kPrintAsn) {
        logger.PrintAsn(file, function, line, message);
    } else {
        logger.LogAsnTrace(file, function, line, message);
    }
}

// Channels in a fresh directory; ASN logging and all levels are on.
class AsnLoggingTest : public DirectoryTest {
  protected:
    AsnLoggingTest() : share_("_APP_SHARE_DIR", Path()) {
        OfferDiagnostics();
        NS_REFERENCE_HOST::SetConfigItems(&store_);
        store_.Set("bEnableAsnTrace", "0");
        settings_.bEnableAsnLog = 1;
        settings_.levelSwitches = NS_LOG_SERVICE1::LevelSwitches(0b1111);
        channels_.Create(settings_);
    }
    ~AsnLoggingTest() override {
        channels_.Destroy();
        NS_REFERENCE_HOST::SetConfigItems(nullptr);
    }

    ScopedVariable share_;
    ScriptedConfigItems store_;
    NS_LOG_SERVICE1::LogSettings settings_;
    NS_LOG_SERVICE1::ChannelMap channels_;
};

// The same with loggers. The buffer of the dumps, and whether they are echoed, belong to the
// process: each of these tests needs one of its own.
class AsnDumpTest : public AsnLoggingTest {
  protected:
    AsnDumpTest() { off_.DisableLevel(3); }

    // What the operation logs for the message.
    std::string Printed(ScriptedMessage message) {
        DumpBy(AsnOperation::kPrintAsn, logger_, message);
        return logger_.LastText();
    }
    std::string Traced(ScriptedMessage message) {
        DumpBy(AsnOperation::kLogAsnTrace, logger_, message);
        return logger_.LastText();
    }

    // What a trace logs while its level is off: the text that is in the buffer.
    std::string Repeated() {
        ScriptedMessage message = TextMessage("must not be printed");
        DumpBy(AsnOperation::kLogAsnTrace, off_, message);
        return off_.LastText();
    }

    // What PrintAsn logs on a thread of its own, which would wait for ever if a dump were not over.
    std::string PrintedByAnotherThread(const std::string& text) {
        RecordingLogger logger("a", "b", "debug", settings_, channels_);
        std::thread([&] {
            ScriptedMessage message = TextMessage(text);
            DumpBy(AsnOperation::kPrintAsn, logger, message);
        }).join();
        return logger.LastText();
    }

    NS_LOG_SERVICE1::TEDebugInfoBuf& Channel() { return *channels_.Find("debug"); }

    // The records of all files, without what stands inside dumps.
    std::vector<ParsedRecord> Records() const {
        std::vector<ParsedRecord> records;
        for (const ParsedPiece& piece :
             OfKind(ParseLogDirectory(Path("log")), ParsedPiece::RECORD)) {
            records.push_back(piece.record);
        }
        return records;
    }

    RecordingLogger logger_{"a", "b", "debug", settings_, channels_};
    RecordingLogger off_{"a", "b", "debug", settings_, channels_};  // level 3 is off
};

// A test that holds for both operations alike.
class EachAsnOperation : public AsnDumpTest, public testing::WithParamInterface<AsnOperation> {
  protected:
    // What the operation logs for the message.
    std::string Dumped(ScriptedMessage message) {
        Dump(message);
        return logger_.LastText();
    }
    void Dump(NS_ASN1::AsnObject& message) { DumpBy(GetParam(), logger_, message); }
};

inline std::string AsnOperationName(const testing::TestParamInfo<AsnOperation>& instance) {
    return testing::PrintToString(instance.param);
}

}  // namespace NS_TEST

// Instantiates the tests of `suite`, which derives from EachAsnOperation.
#define QV_FOR_EACH_ASN_OPERATION(suite)                                                        \
    INSTANTIATE_TEST_SUITE_P(                                                                   \
        By, suite,                                                                              \
        testing::Values(NS_TEST::AsnOperation::kPrintAsn, NS_TEST::AsnOperation::kLogAsnTrace), \
        NS_TEST::AsnOperationName)
