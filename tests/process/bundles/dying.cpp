// A bundle whose process dies, or exits, once the file "now" stands in the share directory. Its
// argument says how: a signal's name, "exit", or "lock" for a crash with a lock of the log service
// in hand. With a second argument "handler" it has a handler for the signals, which says so; with
// "default" it has set the default action as one sets a handler.
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "bundlemgr/serviceobjectbase.h"
#include "qv_base_log/logmaintenance.h"
#include "qv_base_log/logservice.h"

namespace {

using namespace NS_LOG_SERVICE1;

LoggerIF& Logger(const char* category) {
    LogSvcInterface* const service = FindLogService();
    LoggerIF* const logger =
        service == nullptr ? nullptr : service->GetLogger("dying", "bundle", category);
    if (logger == nullptr) {
        std::_Exit(1);
    }
    return *logger;
}

void Say(const char* text) {
    static_cast<void>(!write(STDERR_FILENO, text, std::strlen(text)));
}

extern "C" void EarlierHandler(int) {
    Say("the earlier handler was called\n");
}

extern "C" void EarlierHandlerWithInformation(int, siginfo_t* information, void*) {
    Say(information->si_code > 0 ? "the earlier handler knows the fault\n"
                                 : "the earlier handler knows the sender\n");
}

void SetHandlers(const std::string& which) {
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    if (which == "handler") {
        signal(SIGSEGV, &EarlierHandler);
        action.sa_sigaction = &EarlierHandlerWithInformation;
    } else {
        action.sa_handler = SIG_DFL;
    }
    sigaction(SIGABRT, &action, nullptr);
}

// The queue copies the texts with its lock held.
void CrashWithALockHeld() {
    const std::string text(100, 'x');
    std::string broken(100, 'x');
    const char* nowhere = reinterpret_cast<const char*>(16);
    std::memcpy(static_cast<void*>(&broken), &nowhere, sizeof nowhere);
    Logger("debug").Log(text, broken, 1, 1, text);
}

void Die(const std::string& how) {
    if (how == "segv") {
        int* volatile nowhere = reinterpret_cast<int*>(16);
        *nowhere = 0;
    } else if (how == "abort") {
        std::abort();
    } else if (how == "exit") {
        std::exit(7);
    } else if (how == "lock") {
        CrashWithALockHeld();
    }
}

void QueueRecords() {
    Logger("corba_alarm").Log("f", "g", 1, 1, "the only one");
    for (int i = 0; i < 100; ++i) {
        Logger("corbaoper").Log("f", "g", 1, 1, "queued " + std::to_string(i));
        Logger("corbasys").Log("f", "g", 1, 1, "queued " + std::to_string(i));
    }
}

void StartBusyThreads() {
    for (const char* category : {"corbadebug", "corbanotify"}) {
        std::thread([category] {
            for (;;) {
                Logger(category).Log("f", "g", 1, 1, "busy");
            }
        }).detach();
    }
}

class Dying : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    Dying() : ServiceObjectBase("test", "dying") {}

    int init(int count, char* arguments[]) override {
        const std::string how = arguments[0];
        if (count > 1) {
            SetHandlers(arguments[1]);
        }
        // A file must be open: a process that dies opens none.
        for (const char* category : {"corbaoper", "corbasys", "corba_alarm", "debug"}) {
            Logger(category).Log("f", "g", 1, 1, "at once");
        }
        FindLogMaintenance()->SetQueuedOutput(true);
        QueueRecords();
        // One that waits for ever for a lock is not held up by them, and they take all the time.
        if (how != "lock") {
            StartBusyThreads();
        }
        std::thread([how] {
            const std::string now = std::string(std::getenv("_APP_SHARE_DIR")) + "/now";
            while (!std::filesystem::exists(now)) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            Die(how);
        }).detach();
        return 0;
    }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) ACE_Service_Object* _make_dying(
    ACE_Service_Object_Exterminator* gobbler) {
    *gobbler = nullptr;
    return new Dying;
}
