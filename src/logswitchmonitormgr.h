// The switch monitor: applies changes of the configuration file while the service runs.
#pragma once

#include <ace/Event.h>
#include <ace/Monotonic_Time_Policy.h>
#include <ace/Semaphore.h>
#include <ace/Task.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <string>

namespace NS_LOG_SERVICE1 {

// Owns one thread. Every 30 seconds it compares the file's modification time, in whole seconds,
// with the last one, and applies the switches when it differs. Init takes the first one: only a
// later change is applied.
//
// Thread safety: one thread calls Instance, Init, Stop and Destroy. svc and Check run on the
// monitor's own thread, so that only one Check runs at a time.
class LogSwitchMonitorMgr : public ACE_Task_Base {
  public:
    using PollInterval = std::chrono::milliseconds;

    // How long the service's monitor sleeps.
    static constexpr PollInterval kPollInterval = std::chrono::seconds(30);

    // The monitor, created on the first call; `pollInterval` is then as for the constructor. Null
    // only when the lock under which it is created cannot be taken.
    static LogSwitchMonitorMgr* Instance(PollInterval pollInterval = kPollInterval);

    // Deletes the monitor if there is one. Does not end its thread: Stop must have been called.
    static void Destroy();

    // In a child process, which does not have the thread: nobody must wait for its end.
    static void AfterForkInChild();

    // `pollInterval`: how long the thread sleeps. Tests shorten it; the service never does.
    explicit LogSwitchMonitorMgr(PollInterval pollInterval = kPollInterval);
    ~LogSwitchMonitorMgr() override;

    LogSwitchMonitorMgr(const LogSwitchMonitorMgr&) = delete;
    LogSwitchMonitorMgr& operator=(const LogSwitchMonitorMgr&) = delete;

    // Finds the file, remembers its modification time and starts the thread. When the file cannot
    // be examined, returns -1 and starts no thread; otherwise returns 0.
    int Init();

    // Starts the thread. Always returns 0.
    int open(void* args = nullptr) override;
    int close(u_long flags = 0) override;

    // The thread. Returns 0.
    int svc() override;

    // Asks the thread to end and waits until it has ended; then the object may be deleted. Returns
    // at once when no thread was started. Always returns 0. REQUIRES: called only once for each
    // thread. The thread signals its end once, so a second call would wait for ever.
    int Stop();

    // Ends the thread if it runs and no Stop has waited for its end, also when the thread that
    // called Stop was cancelled while it waited. Called before the object is deleted.
    void EndForgottenThread();

    // Reads the switches from the configuration and applies those that differ from the current
    // state.
    void Check();

  private:
    // Waits on the monotonic clock: a wall clock that is set back must not lengthen the sleep.
    using StopEvent = ACE_Event_T<ACE_Monotonic_Time_Policy>;

    // What one pass of the thread does between two sleeps.
    void Examine();
    void Sleep();
    static void ReportFailedPass();

    const PollInterval pollInterval_;
    std::string configFilePath_;  // written before the thread starts
    StopEvent stopEvent_;
    ACE_Semaphore exitSemaphore_;
    std::atomic<bool> stopRequested_{false};
    std::atomic<bool> started_{false};
    bool threadToEnd_ = false;       // the control thread's: started, and not waited for yet
    struct stat lastFileStatus_ {};  // the thread's, once it runs
};

}  // namespace NS_LOG_SERVICE1
