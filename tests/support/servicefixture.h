// A service that is configured from a scripted store and reports to a recording proxy.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "control/moduleswitchtable.h"
#include "logimpl.h"
#include "logswitchmonitormgr.h"
#include "manager/logmgr.h"
#include "platform/hostcontrol.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/logfileparser.h"
#include "support/recordinglogproxy.h"
#include "support/scriptedconfigitems.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

// Nothing of the service exists at the start of a test, and nothing is left at its end. The share
// directory holds an empty configuration file; log files go to its directory "log".
class ServiceTest : public DirectoryTest {
  protected:
    ServiceTest() : share_("_APP_SHARE_DIR", Path()), configFile_(Path("conf/corba_agent.cfg")) {
        WriteFile(configFile_, "");
        OfferDiagnostics();
        NS_REFERENCE_HOST::SetConfigItems(&store_);
    }

    ~ServiceTest() override {
        using NS_LOG_SERVICE1::LogSwitchMonitorMgr;
        LogSwitchMonitorMgr::Instance()->EndForgottenThread();
        LogSwitchMonitorMgr::Destroy();
        NS_LOG_SERVICE1::LogMgr::DestroyInstance();
        NS_LOG_SERVICE1::ModuleSwitchTable::Destroy();
        NS_REFERENCE_HOST::SetConfigItems(nullptr);
    }

    static RecordingLogProxy& Proxy() { return Diagnostics(); }

    static NS_LOG_SERVICE1::LogMgr& Manager() { return *NS_LOG_SERVICE1::LogMgr::Instance(); }

    static bool IsMonitorRunning() {
        return NS_LOG_SERVICE1::LogSwitchMonitorMgr::Instance()->thr_count() == 1;
    }

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

    // The levels and the two flags: "1111/0/0".
    static std::string State() {
        return Levels() + "/" + std::to_string(Manager().bEnableAsnLog.Get()) + "/" +
               std::to_string(Manager().bLogOutputPara.Get());
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

    // The details of the records in the files of a category; dumped ones behind their trigger.
    std::vector<std::string> Written(const std::string& category) const {
        std::vector<std::string> details;
        for (const std::string& name : ListLogFiles(Path("log"), category)) {
            for (const ParsedPiece& piece : ParseLogPieces(Path("log/" + name))) {
                if (piece.kind == ParsedPiece::RECORD || piece.kind == ParsedPiece::DUMP) {
                    details.push_back(piece.record.detail);
                }
                for (const ParsedRecord& dumped : piece.dumped) {
                    details.push_back(dumped.detail);
                }
            }
        }
        return details;
    }

    ScopedVariable share_;
    std::string configFile_;
    ScriptedConfigItems store_;
};

// Matches the record by which the service reports what RaiseStoreOutOfReach raises.
inline auto IsStoreOutOfReach() {
    using testing::Field;
    return testing::AllOf(Field("level", &ParsedRecord::level, 1),
                          Field("file", &ParsedRecord::file, "store.cpp"),
                          Field("function", &ParsedRecord::function, "Store::Read"),
                          Field("line", &ParsedRecord::line, "4711"),
                          Field("detail", &ParsedRecord::detail, "the store is out of reach"));
}

}  // namespace NS_TEST
