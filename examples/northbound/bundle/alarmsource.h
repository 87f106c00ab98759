// Alarms that come and go.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <random>
#include <thread>

#include "bundle/loggers.h"
#include "network/alarmboard.h"
#include "network/network.h"

namespace NS_NORTHBOUND {

// Stands for the network's own reports. A thread raises an alarm, or clears the oldest, so many
// times a second; a seed decides which.
//
// Thread safety: Start and Stop on one thread.
class AlarmSource {
  public:
    // `told` is called on the source's thread with each change. REQUIRES: the others outlive it.
    AlarmSource(const Loggers& loggers, const Network& network, AlarmBoard& board,
                unsigned int perSecond, std::function<void(const Alarm&)> told);
    ~AlarmSource();

    AlarmSource(const AlarmSource&) = delete;
    AlarmSource& operator=(const AlarmSource&) = delete;

    void Start();

    // After this `told` is not called any more. May be called again.
    void Stop();

  private:
    void Run();
    Alarm Change();

    const Loggers& loggers_;
    const Network& network_;
    AlarmBoard& board_;
    const unsigned int perSecond_;
    const std::function<void(const Alarm&)> told_;
    std::mt19937 random_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stops_ = false;
    std::thread thread_;
};

}  // namespace NS_NORTHBOUND
