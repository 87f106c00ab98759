// A service that is configured from a scripted store and reports to a recording proxy.
#pragma once

#include <gmock/gmock.h>

#include <cctype>
#include <chrono>
#include <future>
#include <string>
#include <vector>

#include "bundlemgr/ifbuf.h"
#include "control/moduleswitchtable.h"
#include "control/scriptedconfigitems.h"
#include "logswitchmonitormgr.h"
#include "lookup/ownlogger.h"
#include "manager/logmgr.h"
#include "platform/hostcontrol.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/logfileparser.h"
#include "support/recordinglogproxy.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

// Whether `running` is still not done after a while in which it could have been.
template <class Result>
bool IsStillBlocked(const std::future<Result>& running) {
    return running.wait_for(std::chrono::milliseconds(200)) == std::future_status::timeout;
}

// Whether `running` gets done.
template <class Result>
bool Finishes(const std::future<Result>& running) {
    return running.wait_for(std::chrono::seconds(60)) == std::future_status::ready;
}

// The text for the name of a test: without the characters that have a meaning on the way there.
inline std::string Printable(const std::string& text) {
    std::string printable;
    for (const char c : text) {
        const bool isPlain = std::isalnum(static_cast<unsigned char>(c)) != 0;
        if (isPlain || std::string(",+-. ").find(c) != std::string::npos) {
            printable += c;
        } else {
            printable += "<" + std::to_string(static_cast<int>(c)) + ">";
        }
    }
    return printable;
}

// Registers an interface for the length of a block.
class RegisteredInterface {
  public:
    RegisteredInterface(const std::string& name, NS_BUNDLEMGR1::ServiceInterface& interface)
        : interface_(interface) {
        NS_BUNDLEMGR1::SetIFBuf(name, &interface);
    }
    ~RegisteredInterface() { NS_REFERENCE_HOST::RemoveFromIFBuf(&interface_); }
    RegisteredInterface(const RegisteredInterface&) = delete;
    RegisteredInterface& operator=(const RegisteredInterface&) = delete;

  private:
    NS_BUNDLEMGR1::ServiceInterface& interface_;
};

// Its share directory holds an empty configuration file; log files go to its directory "log".
class ControlTest : public DirectoryTest {
  protected:
    ControlTest() : share_("_APP_SHARE_DIR", Path()), configFile_(Path("conf/corba_agent.cfg")) {
        WriteFile(configFile_, "");
        OfferDiagnostics();
        NS_REFERENCE_HOST::SetConfigItems(&store_);
    }

    ~ControlTest() override {
        using NS_LOG_SERVICE1::LogSwitchMonitorMgr;
        if (LogSwitchMonitorMgr::Instance()->thr_count() > 0) {
            LogSwitchMonitorMgr::Instance()->Stop();
        }
        LogSwitchMonitorMgr::Destroy();
        NS_LOG_SERVICE1::LogMgr::DestroyInstance();
        NS_LOG_SERVICE1::ModuleSwitchTable::Destroy();
        NS_REFERENCE_HOST::SetConfigItems(nullptr);
    }

    static RecordingLogProxy& Proxy() { return Diagnostics(); }

    static NS_LOG_SERVICE1::LogMgr& Manager() { return *NS_LOG_SERVICE1::LogMgr::Instance(); }

    // The global switches, level 0 first: "1100" has levels 0 and 1 on.
    static std::string Levels() { return Levels(Manager().levelSwitches); }
    static std::string Levels(NS_LOG_SERVICE1::LevelSwitches switches) {
        std::string text;
        for (size_t level = 0; level < switches.size(); ++level) {
            text += switches[level] ? '1' : '0';
        }
        return text;
    }
    static void SetLevels(const std::string& text) {
        NS_LOG_SERVICE1::LevelSwitches switches;
        for (size_t level = 0; level < switches.size(); ++level) {
            switches[level] = text[level] == '1';
        }
        Manager().levelSwitches = switches;
    }

    // Every record of the category "debug", those that its channel has kept back included.
    std::vector<ParsedRecord> DebugRecords() const {
        if (auto* channel = Manager().Channels().Find("debug")) {
            channel->OutputAll();
        }
        std::vector<ParsedRecord> records;
        for (const ParsedPiece& piece : ParseLogDirectory(Path("log"))) {
            if (piece.kind == ParsedPiece::RECORD) {
                records.push_back(piece.record);
            }
            records.insert(records.end(), piece.dumped.begin(), piece.dumped.end());
        }
        return records;
    }

    ScopedVariable share_;
    std::string configFile_;
    ScriptedConfigItems store_;
};

}  // namespace NS_TEST
