#include "logswitchmonitormgr.h"

#include <ace/OS_NS_stdio.h>
#include <ace/OS_NS_sys_stat.h>

#include <new>

#include "base/singleton.h"
#include "control/switchfile.h"
#include "diagnostic/logproxycache.h"
#include "diagnostic/messages.h"
#include "util/selfutilcommon.h"

namespace NS_LOG_SERVICE1 {
namespace {

Singleton<LogSwitchMonitorMgr> logSwitchMonitorMgr(&StaticObjectLock);

constexpr int kExitSemaphoreMaximum = 0x7fffffff;

// The monitor asks for the proxy itself and remembers it for itself.
NS_BUNDLEMGR1::LogProxy* MonitorLogProxy() {
    static LogProxyCache cache;
    return cache.Get();
}

constexpr DiagnosticSource kSource = {"logswitchmonitormgr", &MonitorLogProxy};

constexpr Diagnostic Failure(const char* text, int line = __builtin_LINE()) {
    return Diagnostic(kSource, kDiagnosticFailure, text, line);
}

}  // namespace

constexpr Diagnostic kMonitorWithoutFile =
    Failure("[LogSwitchMonitorMgr::Init] CALL ACE_OS::stat failed!");
constexpr Diagnostic kFileOutOfReach =
    Failure("[LogSwitchMonitorMgr::svc] CALL ACE_OS::stat failed!");
constexpr Diagnostic kPassFailed =
    Failure("[LogSwitchMonitorMgr::svc] LogSwitchMonitorMgr svc error!");
constexpr Diagnostic kMonitorGone =
    Failure("[LogSwitchMonitorMgr::~LogSwitchMonitorMgr] LogSwitchMonitorMgr Exit!");
constexpr Diagnostic kNoLogSwitchItem =
    Failure("[LogSwitchMonitorMgr::Check] call GetValByKey, get logswitch Info error.\n");
constexpr Diagnostic kNoAsnLogItem =
    Failure("[LogSwitchMonitorMgr::Check] call GetValByKey, get bEnableAsnLog Info error.\n");
// Names a variable and not the item; see docs/compatibility.md.
constexpr Diagnostic kNoOutputParaItem =
    Failure("[LogSwitchMonitorMgr::Check] call GetValByKey, get strEnableOutputPara Info error.\n");
constexpr Diagnostic kLogSwitchNotSplit =
    Failure("[LogSwitchMonitorMgr::Check] Call SplitStringByTag<%s> failed\n");
constexpr Diagnostic kLogSwitchInvalid =
    Failure("[LogSwitchMonitorMgr::Check] logswitch Info is invalid.\n");
constexpr Diagnostic kNoLogManager =
    Failure("[LogSwitchMonitorMgr::Check] get LogMgr::Instance is NULL.\n");
constexpr Diagnostic kLevelsChanged = Failure("[LogSwitchMonitorMgr::Check] %s\n");
constexpr Diagnostic kAsnLogInvalid =
    Failure("[LogSwitchMonitorMgr::Check] bEnableAsnLog<%d> is invalid.\n");
constexpr Diagnostic kAsnLogChanged =
    Failure("[LogSwitchMonitorMgr::Check] end change bEnableAsnLog = %d \n");
constexpr Diagnostic kOutputParaInvalid =
    Failure("[LogSwitchMonitorMgr::Check] bEnableOutputPara<%d> is invalid.\n");
constexpr Diagnostic kOutputParaChanged =
    Failure("[LogSwitchMonitorMgr::Check] end change bEnableOutputPara = %d \n");

LogSwitchMonitorMgr* LogSwitchMonitorMgr::Instance(PollInterval pollInterval) {
    return logSwitchMonitorMgr.Instance(pollInterval);
}

void LogSwitchMonitorMgr::Destroy() {
    logSwitchMonitorMgr.Destroy();
}

void LogSwitchMonitorMgr::AfterForkInChild() {
    if (LogSwitchMonitorMgr* monitor = logSwitchMonitorMgr.InstanceIfAny()) {
        monitor->started_ = false;
        monitor->threadToEnd_ = false;
        // The thread that waits for the event is the parent's. The end of the event would wait for
        // that thread to leave it, so the child gets another one, and the old one's memory is lost.
        new (&monitor->stopEvent_) StopEvent(0, 0, USYNC_THREAD, nullptr);
    }
}

LogSwitchMonitorMgr::LogSwitchMonitorMgr(PollInterval pollInterval)
    : pollInterval_(pollInterval),
      stopEvent_(0, 0, USYNC_THREAD, nullptr),
      exitSemaphore_(0, USYNC_THREAD, nullptr, nullptr, kExitSemaphoreMaximum) {
    ACE_OS::stat(configFilePath_.c_str(), &lastFileStatus_);
}

LogSwitchMonitorMgr::~LogSwitchMonitorMgr() {
    try {
        kMonitorGone.Report();
    } catch (...) {
        ACE_OS::printf("[LogSwitchMonitorMgr::~LogSwitchMonitorMgr] catch unkn ex!\n");
    }
}

int LogSwitchMonitorMgr::Init() {
    stopRequested_ = false;
    std::string path = NS_UTIL::SelfUtilCommon::getEnvValue("_APP_SHARE_DIR");
    path += "/conf/corba_agent.cfg";
    NS_UTIL::PathFormat(path);
    configFilePath_ = path;
    if (ACE_OS::stat(configFilePath_.c_str(), &lastFileStatus_) != 0) {
        kMonitorWithoutFile.Report();
        // Stop waits for a thread only when the one of an earlier Init still runs.
        started_ = threadToEnd_;
        return -1;
    }
    open(nullptr);
    started_ = true;
    threadToEnd_ = true;
    return 0;
}

int LogSwitchMonitorMgr::open(void* /*args*/) {
    if (activate(THR_NEW_LWP, 1) == -1) {
        exitSemaphore_.release();  // nobody else will: Stop must not wait for a thread never made
    }
    return 0;
}

int LogSwitchMonitorMgr::close(u_long /*flags*/) {
    return 0;
}

int LogSwitchMonitorMgr::svc() {
    started_ = true;
    while (!stopRequested_) {
        Sleep();
        if (stopRequested_) {
            break;
        }
        try {
            Examine();
        } catch (...) {
            ReportFailedPass();
        }
    }
    exitSemaphore_.release();
    return 0;
}

// A log proxy that throws again must not end the process.
void LogSwitchMonitorMgr::ReportFailedPass() {
    try {
        kPassFailed.Report();
    } catch (...) {  // NOLINT: there is nobody left to tell
    }
}

// The caller reads the stop flag and not the result of the wait: a signal that arrives just as the
// time runs out is lost.
void LogSwitchMonitorMgr::Sleep() {
    ACE_Time_Value_T<ACE_Monotonic_Time_Policy> interval;
    interval.set_msec(static_cast<ACE_UINT64>(pollInterval_.count()));
    stopEvent_.wait(&interval, 0);
}

void LogSwitchMonitorMgr::Examine() {
    struct stat status {};
    if (ACE_OS::stat(configFilePath_.c_str(), &status) != 0) {
        kFileOutOfReach.Report();
        return;
    }
    if (status.st_mtime == lastFileStatus_.st_mtime) {
        return;
    }
    // Remember it first: a change that cannot be applied is not tried again every 30 seconds.
    lastFileStatus_ = status;
    Check();
}

int LogSwitchMonitorMgr::Stop() {
    stopRequested_ = true;
    stopEvent_.signal();
    if (started_) {
        exitSemaphore_.acquire();
        // ACE still uses the object after svc has returned.
        wait();
    }
    threadToEnd_ = false;
    return 0;
}

void LogSwitchMonitorMgr::EndForgottenThread() {
    if (threadToEnd_) {
        Stop();
    }
}

void LogSwitchMonitorMgr::Check() {
    ApplySwitchFile();
}

}  // namespace NS_LOG_SERVICE1
