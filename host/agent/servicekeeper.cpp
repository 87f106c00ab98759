// Looks after the logging service while the agent runs.
#include "agent/servicekeeper.h"

#include <new>
#include <string>
#include <vector>

#include "agent/agenterror.h"
#include "common/report.h"
#include "qv_base_log/logmaintenance.h"

namespace NS_REFERENCE_HOST {

namespace {

using NS_LOG_SERVICE1::FindLogMaintenance;
using NS_LOG_SERVICE1::LogMaintenanceInterface;

constexpr char kName[] = "qv_agent";

LogMaintenanceInterface* FindMaintenance() {
    LogMaintenanceInterface* const maintenance = FindLogMaintenance();
    const bool isKnown = maintenance != nullptr &&
                         maintenance->GetVersion() >= NS_LOG_SERVICE1::LOG_MAINTENANCE_VERSION;
    return isKnown ? maintenance : nullptr;
}

}  // namespace

ServiceKeeper::ServiceKeeper(NS_LOG_SERVICE1::LogFilePolicy policy)
    : policy_(policy), watch_([](const std::string& text) { Report(kName, text); }) {}

void ServiceKeeper::SetPolicy() const {
    if (LogMaintenanceInterface* const maintenance = FindMaintenance()) {
        maintenance->SetFilePolicy(policy_);
    } else if (FindLogMaintenance() != nullptr &&
               policy_ != NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT) {
        throw AgentError(ExitCode::BadConfiguration,
                         "the logging service is too old for the item \"logfilepolicy\"");
    }
}

// Without memory for a look the next one will do.
void ServiceKeeper::Look() {
    try {
        if (LogMaintenanceInterface* const maintenance = FindMaintenance()) {
            std::vector<NS_LOG_SERVICE1::ChannelBooks> books;
            maintenance->GetChannelBooks(books);
            watch_.Look(books, ChannelWatch::Clock::now());
        }
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch)
    }
}

// Without memory the agent goes on in the files that are open. Who moved them can ask again.
void ServiceKeeper::Reopen() {
    try {
        if (LogMaintenanceInterface* const maintenance = FindMaintenance()) {
            maintenance->Reopen(std::string());
        }
    } catch (const std::bad_alloc&) {
        ReportIfPossible(kName, [] { return "there was no memory to open the log files again"; });
    }
}

// Without memory the service writes what is queued at its own end.
void ServiceKeeper::FinishOutput() {
    try {
        if (LogMaintenanceInterface* const maintenance = FindMaintenance()) {
            maintenance->FlushAll();
        }
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch)
    }
    Look();
}

}  // namespace NS_REFERENCE_HOST
