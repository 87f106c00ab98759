#include "logimpl.h"

#include <ace/Log_Msg.h>

#include <memory>

#include "base/clientwork.h"
#include "bundlemgr/ifbuf.h"
#include "bundlemgr/processexception.h"
#include "control/maintenanceservice.h"
#include "control/moduleswitchtable.h"
#include "control/serviceconfiguration.h"
#include "diagnostic/logproxycache.h"
#include "diagnostic/messages.h"
#include "exithandler.h"
#include "forkhandlers.h"
#include "logswitchmonitormgr.h"
#include "lookup/ownlogger.h"
#include "manager/logmgr.h"
#include "qv_base_log/resultcode.h"

namespace NS_LOG_SERVICE1 {

namespace {

constexpr DiagnosticSource kSource = {"logimpl", &GetLogProxy};

constexpr Diagnostic Failure(const char* text, int line = __builtin_LINE()) {
    return Diagnostic(kSource, kDiagnosticFailure, text, line);
}
constexpr Diagnostic Refusal(const char* text, int line = __builtin_LINE()) {
    return Diagnostic(kSource, kDiagnosticRefused, text, line);
}

}  // namespace

constexpr Diagnostic kInitFailed = Failure("\n in [qv_base_log::init] LogSvcIFImpl::Init failed\n");

constexpr Diagnostic kNoLogFileSize = Failure("\nGet Config Item(logfilesize) failed !!\n");
constexpr Diagnostic kNoLogFileCount = Failure("\nGet Config Item(logfilecount) failed !!\n");
constexpr Diagnostic kNoQueueLength = Failure("\nGet Config Item(queuebuflength) failed !!\n");
constexpr Diagnostic kNoFilterLength = Failure("\nGet Config Item(filterbuflength) failed !!\n");
constexpr Diagnostic kNoLogTimeInterval = Failure("\nGet Config Item(logtimeinterval) failed !!\n");
constexpr Diagnostic kNoOutputMode = Failure("\nGet Config Item(outputmode) failed !!\n");
// These three name another item than the missing one: the texts are part of the contract with
// operators; see docs/compatibility.md.
constexpr Diagnostic kNoEnableAsnLog = Failure("\nGet Config Item(outputmode) failed !!\n");
constexpr Diagnostic kNoLogOutputPara = Failure("\nGet Config Item(LogOutputPara) failed !!\n");
constexpr Diagnostic kNoEnableAsnTrace = Failure("\nGet Config Item(logfilesize) failed !!\n");
constexpr Diagnostic kMeaninglessOutputMode =
    Failure("\nlog output mode value : %d, it is meaningless !!\n");

constexpr Diagnostic kTaskNotDeleted =
    Refusal("[LogMgr::SetOutputMode]Delete local task failed, so SetOutputMode failed !!");
// Both say "Disable", and neither has a value for its "%d"; see docs/compatibility.md.
constexpr Diagnostic kEnablingRefused =
    Failure("[LogMgr::EnableAllLogLevel] Disable %s, %s, %s, Level %d error\n");
constexpr Diagnostic kDisablingRefused =
    Failure("[LogMgr::DisableAllLogLevel] Disable %s, %s, %s, Level %d error\n");

// The source has its ending here: part of the contract too; see docs/compatibility.md.
constexpr DiagnosticSource kSourceWithEnding = {"logimpl.cpp", &GetLogProxy};
constexpr Diagnostic kFormatFailed = {kSourceWithEnding, kDiagnosticFailure,
                                      "\nvsnprintf_s failed !!\n"};
constexpr Diagnostic kDumpFormatFailed = Failure("\nvsnprintf_s failed !!\n");

constexpr Diagnostic kRecordsNotWritten =
    Failure("\n[qv_base_log::fini] %s: %llu records could not be written (last error: %s) !!\n");
constexpr Diagnostic kRecordsOverwritten =
    Failure("\n[qv_base_log::fini] %s: %llu records were lost as their file was emptied !!\n");

namespace {

// Returns false when the configuration cannot be reached, which is reported, or when there is no
// manager.
bool Configure() {
    LogMgr* manager = nullptr;
    try {
        NS_BUNDLEMGR1::CorbaConfigItems* items = NS_BUNDLEMGR1::CorbaConfigItems::Instance();
        manager = LogMgr::Instance();
        if (manager != nullptr) {
            LoadServiceConfiguration(*items, *manager);
        }
        return manager != nullptr;
    } catch (const NS_BUNDLEMGR1::InterfaceNotExistException& exception) {
        ReportException(exception);
        return false;
    }
}

}  // namespace

// The manager, the monitor and the table are missing when the lock under which they are created
// cannot be taken. Then there are no loggers, switching does nothing, and every switch reads as
// never set.

// The monitor starts even when the configuration cannot be read: the file may come back.
bool LogSvcIFImpl::Init() {
    const bool configured = Configure();
    if (LogSwitchMonitorMgr* monitor = LogSwitchMonitorMgr::Instance()) {
        monitor->Init();
    }
    return configured;
}

// ACE's configurator finishes a service whose init failed without stopping it, and the monitor's
// thread runs by then. A bundle manager stops a service first.
void LogSvcIFImpl::Fini() {
    if (LogSwitchMonitorMgr* monitor = LogSwitchMonitorMgr::Instance()) {
        monitor->EndForgottenThread();
    }
    LogSwitchMonitorMgr::Destroy();
    LogMgr::DestroyInstance();
}

LoggerIF* LogSvcIFImpl::GetLogger(const std::string& first, const std::string& second,
                                  const std::string& category) {
    LogMgr* manager = LogMgr::Instance();
    return manager == nullptr ? nullptr : manager->GetLogger(first, second, category);
}

unsigned int LogSvcIFImpl::SetOutputMode(unsigned int mode) {
    LogMgr* manager = LogMgr::Instance();
    return manager == nullptr ? LOG_RESULT_INTERFACE_NOT_EXIST : manager->SetOutputMode(mode);
}

bool LogSvcIFImpl::GetModuleSwitch(const unsigned int& module) {
    ModuleSwitchTable* table = ModuleSwitchTable::Instance();
    return table == nullptr || table->Get(module);
}

void LogSvcIFImpl::SetModuleSwitch(const unsigned int& module, const bool& on) {
    if (ModuleSwitchTable* table = ModuleSwitchTable::Instance()) {
        table->Set(module, on);
    }
}

bool LogSvcIFImpl::IsLevelEnabled(const unsigned int& level) {
    const LogMgr* manager = LogMgr::Instance();
    return manager != nullptr && manager->IsLogLevelEnabled(level);
}

unsigned int LogSvcIFImpl::IsLogOutputPara() {
    const LogMgr* manager = LogMgr::Instance();
    return manager == nullptr ? 0 : manager->GetEnableOutputPara();
}

qv_base_log::qv_base_log() : ServiceObjectBase(kBundleName, kServiceName) {}

// A thread that was cancelled inside one of the following would leave the service half started or
// half ended.

int qv_base_log::StopService() {
    const ClientWork work;
    if (LogSwitchMonitorMgr* monitor = LogSwitchMonitorMgr::Instance()) {
        monitor->Stop();
    }
    return 0;
}

NS_BUNDLEMGR1::ServiceInterface* qv_base_log::CreateInterface() {
    interface_ = new LogSvcIFImpl;  // the base class owns it by a plain pointer
    return interface_;
}

int qv_base_log::fini() {
    const ClientWork work;
    MaintenanceService::Finish();
    if (interface_ != nullptr) {
        Interface()->Fini();
    }
    RemoveInterface();
    return 0;
}

int qv_base_log::init(int /*argc*/, ACE_TCHAR* /*argv*/[]) {
    const ClientWork work;
    if (interface_ != nullptr && Interface()->Init()) {
        MaintenanceService::Start();
        return 0;
    }
    kInitFailed.Report();
    return -1;
}

namespace {

// For a null pointer, prints the text of ACE's assertion but does not abort: the bundle manager
// continues to unload.
void Gobble(void* object) {
    auto* _p = static_cast<ACE_Service_Object*>(object);
    if (_p == nullptr) {
        ACE_ERROR((LM_ERROR, ACE_TEXT("ACE_ASSERT: file %N, line %l assertion failed for '%C'.\n"),
                   "_p != 0"));
        return;
    }
    delete _p;
}

}  // namespace
}  // namespace NS_LOG_SERVICE1

ACE_Service_Object* _make_qv_base_log(ACE_Service_Object_Exterminator* gobbler) {
    if (gobbler != nullptr) {
        *gobbler = &NS_LOG_SERVICE1::Gobble;
    }
    NS_LOG_SERVICE1::HandleForks();
    NS_LOG_SERVICE1::HandleExit();
    auto service = std::make_unique<NS_LOG_SERVICE1::qv_base_log>();
    try {
        NS_BUNDLEMGR1::SetIFBuf(NS_LOG_SERVICE1::LOG_SVC_INTERFACE_NAME,
                                service->CreateInterface());
    } catch (...) {
        service->RemoveInterface();
        throw;
    }
    return service.release();
}
