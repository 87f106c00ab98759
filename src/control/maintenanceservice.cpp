#include "control/maintenanceservice.h"

#include <string>
#include <system_error>

#include "base/singleton.h"
#include "bundlemgr/ifbuf.h"
#include "control/logmaintenanceimpl.h"
#include "diagnostic/diagnostic.h"
#include "manager/logmgr.h"

namespace NS_LOG_SERVICE1 {
namespace {

Singleton<MaintenanceService> maintenanceService(&StaticObjectLock);

void ReportLoss(const std::string& category, const LogFileStatistics& file) {
    const uint64_t lost = file.recordsDropped.Get();
    if (lost != 0) {
        const std::string reason =
            std::generic_category().message(static_cast<int>(file.lastError.Get()));
        Diagnostic().Print(kDiagnosticFailure,
                           "\n[qv_base_log::fini] %s: %llu records could not be written "
                           "(last error: %s) !!\n",
                           category.c_str(), static_cast<unsigned long long>(lost), reason.c_str());
    }
}

void ReportLosses() {
    if (LogMgr* manager = LogMgr::InstanceIfAny()) {
        // First, so that what cannot be written at the very end is counted as well.
        manager->FlushAll();
        manager->Channels().ForEach([](const std::string& category, TEDebugInfoBuf& channel) {
            ReportLoss(category, channel.FileStatistics());
        });
    }
}

}  // namespace

MaintenanceService::MaintenanceService()
    : ServiceObjectBase("qv_base_bundle", "qv_base_log_maintenance") {}

void MaintenanceService::Start() {
    MaintenanceService* service = maintenanceService.Instance();
    if (service != nullptr && service->GetInterface() == nullptr &&
        service->CreateInterface() != nullptr) {
        NS_BUNDLEMGR1::SetIFBuf(LOG_MAINTENANCE_INTERFACE_NAME, service->GetInterface());
    }
}

void MaintenanceService::Finish() {
    MaintenanceService* service = maintenanceService.InstanceIfAny();
    if (service == nullptr) {
        return;
    }
    service->RemoveInterface();
    maintenanceService.Destroy();
    try {
        ReportLosses();
    } catch (...) {  // NOLINT: whatever a report meets, the service must end
    }
}

NS_BUNDLEMGR1::ServiceInterface* MaintenanceService::CreateInterface() {
    if (LogMgr* manager = LogMgr::InstanceIfAny()) {
        interface_ = new LogMaintenanceImpl(*manager);  // the base class owns it by a plain pointer
    }
    return interface_;
}

}  // namespace NS_LOG_SERVICE1
