#include "exithandler.h"

#include "base/deadline.h"
#include "base/lockguard.h"
#include "base/singleton.h"
#include "control/moduleswitchtable.h"
#include "manager/logmgr.h"

namespace NS_LOG_SERVICE1 {
namespace {

// Milliseconds. A slow disk is given this long to take what is written to it just now.
constexpr int64_t kLongestWait = 10000;

// Allocates nothing where nothing is queued: a signal handler may have called exit.
void WriteQueues(LogMgr& manager) {
    const Deadline deadline(kLongestWait);
    manager.outputmode = kDirectOutput;
    manager.Channels().ForEach([&deadline](const char* /*name*/, TEDebugInfoBuf& channel) {
        try {
            if (channel.Statistics().queued.Get() != 0 && channel.AwaitFree(deadline)) {
                channel.Flush();
            }
        } catch (...) {  // NOLINT: there is nobody left to tell, and there are other channels
        }
    });
}

class ExitHandler {
  public:
    ExitHandler() = default;
    ExitHandler(const ExitHandler&) = delete;
    ExitHandler& operator=(const ExitHandler&) = delete;

    // When the library is unloaded, the module switches are already deleted. When the process
    // exits, this runs first. The lock keeps the manager from being destroyed meanwhile.
    ~ExitHandler() {
        ModuleSwitchTable::KeepForGood();
        const LockGuard<ACE_Recursive_Thread_Mutex> guard(*StaticObjectLock());
        if (LogMgr* manager = LogMgr::InstanceIfAny()) {
            WriteQueues(*manager);
        }
    }
};

}  // namespace

// A local object: it is made after ACE's own static objects and so destroyed before them.
void HandleExit() {
    static const ExitHandler handler;
}

}  // namespace NS_LOG_SERVICE1
