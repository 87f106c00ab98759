#include "control/maintenanceservice.h"

#include <cerrno>
#include <string>
#include <system_error>

#include "base/singleton.h"
#include "bundlemgr/ifbuf.h"
#include "channel/channel.h"
#include "control/logmaintenanceimpl.h"
#include "diagnostic/logproxycache.h"
#include "diagnostic/messages.h"
#include "manager/logmgr.h"

namespace NS_LOG_SERVICE1 {
namespace {

Singleton<MaintenanceService> maintenanceService(&StaticObjectLock);

// A record for which there was no memory has met no error of a file.
void ReportDropped(const char* category, const TEDebugInfoBuf& channel) {
    const unsigned long long dropped = channel.Dropped();
    if (dropped != 0) {
        const int error = static_cast<int>(channel.FileStatistics().lastError.Get());
        const std::string reason = std::generic_category().message(error == 0 ? ENOMEM : error);
        kRecordsNotWritten.Report(category, dropped, reason.c_str());
    }
}

// Records that had been written, and were lost when another file took the name of theirs.
void ReportOverwritten(const char* category, const LogFileStatistics& file) {
    const unsigned long long overwritten =
        file.writtenOverwritten.Get() + file.dumpedOverwritten.Get();
    if (overwritten != 0) {
        kRecordsOverwritten.Report(category, overwritten);
    }
}

// Whatever it meets, the service must end, and the steps behind it have their turn.
template <class Step>
void Attempt(Step step) {
    try {
        step();
    } catch (...) {  // NOLINT: there is nobody to tell
    }
}

void ReportLosses(LogMgr& manager) {
    // First, so that records that cannot be written now are counted too.
    Attempt([&] { manager.FlushAll(); });
    manager.Channels().ForEach([](const char* category, const TEDebugInfoBuf& channel) {
        Attempt([&] { ReportDropped(category, channel); });
        Attempt([&] { ReportOverwritten(category, channel.FileStatistics()); });
    });
}

}  // namespace

LogMaintenanceImpl* MaintenanceService::Maintenance() const {
    return static_cast<LogMaintenanceImpl*>(interface_);
}

MaintenanceService::MaintenanceService()
    : ServiceObjectBase(kBundleName, "qv_base_log_maintenance") {}

void MaintenanceService::Start() {
    try {
        MaintenanceService* service = maintenanceService.Instance();
        if (service != nullptr && service->GetInterface() == nullptr &&
            service->CreateInterface() != nullptr) {
            NS_BUNDLEMGR1::SetIFBuf(LOG_MAINTENANCE_INTERFACE_NAME, service->GetInterface());
        }
    } catch (...) {  // NOLINT: the service logs without this interface
        Finish();
    }
}

void MaintenanceService::Finish() {
    MaintenanceService* service = maintenanceService.InstanceIfAny();
    if (service == nullptr) {
        return;
    }
    const LogMaintenanceImpl* maintenance = service->Maintenance();
    const bool reportsLosses = maintenance != nullptr && maintenance->ReportsLosses();
    service->RemoveInterface();
    maintenanceService.Destroy();
    LogMgr* const manager = LogMgr::InstanceIfAny();
    if (reportsLosses && manager != nullptr) {
        ReportLosses(*manager);
    }
}

void MaintenanceService::AfterForkInChild() {
    const MaintenanceService* service = maintenanceService.InstanceIfAny();
    if (service != nullptr && service->Maintenance() != nullptr) {
        service->Maintenance()->AfterForkInChild();
    }
}

NS_BUNDLEMGR1::ServiceInterface* MaintenanceService::CreateInterface() {
    if (LogMgr* manager = LogMgr::InstanceIfAny()) {
        interface_ = new LogMaintenanceImpl(*manager);  // the base class owns it by a plain pointer
    }
    return interface_;
}

}  // namespace NS_LOG_SERVICE1
