// A client that is told of alarms.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "bundle/loggers.h"
#include "bundle/operationlog.h"
#include "network/alarmboard.h"
#include "northbound.hh"

namespace NS_NORTHBOUND {

// Has a thread of its own for the call-backs, so that a client which does not answer holds up
// nobody else. When a client is too slow, the oldest changes are left out.
//
// Thread safety: any thread may call any operation.
class Subscriber {
  public:
    // Tries the receiver with a call-back first and throws CORBA::SystemException when it does not
    // answer. REQUIRES: `loggers` outlives the object.
    Subscriber(const Loggers& loggers, const Caller& caller, Northbound::AlarmReceiver_ptr receiver,
               unsigned int answerLimit);

    // Waits for a call-back that is being made, at most its time limit.
    ~Subscriber();

    Subscriber(const Subscriber&) = delete;
    Subscriber& operator=(const Subscriber&) = delete;

    // Takes note of the change and returns at once.
    void Tell(const Alarm& change);

    // No more call-backs are begun. Does not wait.
    void End();

    // Whether its thread is at its end, after End or because a call-back failed. Destroying it does
    // not wait any more.
    bool IsDone() const { return done_.load(); }

    uint32_t Session() const { return caller_.session; }

  private:
    void Run();
    bool TakeChanges(std::vector<Alarm>& changes, std::size_t& missed);
    void CallBack(const std::vector<Alarm>& changes, std::size_t missed);
    void LogNoAnswer(const char* reason);
    bool HasEnded();

    const Loggers& loggers_;
    const Caller caller_;
    const Northbound::AlarmReceiver_var receiver_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Alarm> waiting_;
    std::size_t missed_ = 0;
    bool ends_ = false;
    std::atomic<bool> done_{false};
    std::thread thread_;  // uses all of the above
};

}  // namespace NS_NORTHBOUND
