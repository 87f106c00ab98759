// Loggers whose dumps of ASN messages can be looked at, writing into a fresh directory.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "channel/channelmap.h"
#include "logger/asnmessages.h"
#include "logger/logger.h"
#include "platform/hostcontrol.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/recordinglogproxy.h"
#include "support/scriptedconfigitems.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

struct LoggedCall {
    std::string file;
    std::string function;
    unsigned int line = 0;
    int level = 0;
    std::string text;
};

// A logger that remembers what reaches its Log, and writes it only when told to.
//
// Thread safety: any thread may log; the public fields are set before.
class RecordingLogger : public NS_LOG_SERVICE1::Logger {
  public:
    using Logger::Logger;

    void Log(const std::string& file, const std::string& function, unsigned int line, int level,
             const std::string& text) override {
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            calls_.push_back({file, function, line, level, text});
        }
        if (onLog) {
            onLog();
        }
        if (writes) {
            Logger::Log(file, function, line, level, text);
        }
    }

    std::vector<LoggedCall> Calls() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return calls_;
    }

    // The text of the last call.
    std::string LastText() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return calls_.empty() ? "nothing was logged" : calls_.back().text;
    }

    std::function<void()> onLog;  // may throw
    bool writes = false;

  private:
    mutable std::mutex mutex_;
    std::vector<LoggedCall> calls_;  // guarded by mutex_
};

// The two ways to dump a message.
enum class AsnOperation { kPrintAsn, kLogAsnTrace };

inline std::ostream& operator<<(std::ostream& out, AsnOperation operation) {
    return out << (operation == AsnOperation::kPrintAsn ? "PrintAsn" : "LogAsnTrace");
}

inline void Dump(AsnOperation operation, NS_LOG_SERVICE1::LoggerIF& logger,
                 NS_ASN1::AsnObject& message) {
    if (operation == AsnOperation::kPrintAsn) {
        logger.PrintAsn("f.cpp", "Run", 7, message);
    } else {
        logger.LogAsnTrace("f.cpp", "Run", 7, message);
    }
}

// ASN logging and all levels are on. The buffer of the dumps, and whether they are echoed, belong
// to the process: these tests need one for each of them.
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

    static RecordingLogProxy& Proxy() { return Diagnostics(); }

    NS_LOG_SERVICE1::TEDebugInfoBuf& Channel() { return *channels_.Find("debug"); }

    ScopedVariable share_;
    ScriptedConfigItems store_;
    NS_LOG_SERVICE1::LogSettings settings_;
    NS_LOG_SERVICE1::ChannelMap channels_;
};

// The same with a logger.
class AsnDumpTest : public AsnLoggingTest {
  protected:
    // What `operation` logs for the message.
    std::string Dumped(AsnOperation operation, ScriptedMessage message) {
        Dump(operation, logger_, message);
        return logger_.LastText();
    }
    std::string Traced(ScriptedMessage message) {
        return Dumped(AsnOperation::kLogAsnTrace, std::move(message));
    }
    std::string Printed(ScriptedMessage message) {
        return Dumped(AsnOperation::kPrintAsn, std::move(message));
    }

    // What a trace logs while its level is off: the text that is in the buffer.
    std::string Repeated() {
        RecordingLogger logger("a", "b", "debug", settings_, channels_);
        logger.DisableLevel(3);
        ScriptedMessage message = TextMessage("must not be printed");
        logger.LogAsnTrace("f.cpp", "Run", 7, message);
        return logger.LastText();
    }

    // The same from a thread of its own, which would wait for ever if a dump were not over.
    std::string PrintedByAnotherThread(const std::string& text) {
        RecordingLogger logger("a", "b", "debug", settings_, channels_);
        std::thread thread([&] {
            ScriptedMessage message = TextMessage(text);
            logger.PrintAsn("f.cpp", "Run", 7, message);
        });
        thread.join();
        return logger.LastText();
    }

    RecordingLogger logger_{"a", "b", "debug", settings_, channels_};
};

// A test that holds for both operations alike.
class EachAsnOperation : public AsnDumpTest, public testing::WithParamInterface<AsnOperation> {
  protected:
    // Its result for the message.
    std::string Dumped(ScriptedMessage message) {
        return AsnDumpTest::Dumped(GetParam(), std::move(message));
    }
    void DumpWith(NS_LOG_SERVICE1::LoggerIF& logger, NS_ASN1::AsnObject& message) {
        Dump(GetParam(), logger, message);
    }
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
