// What a client does when it is told of alarms.
#pragma once

#include <condition_variable>
#include <mutex>

#include "northbound.hh"

namespace NS_NORTHBOUND {

// Counts changes and prints them, if it is to. Can be made to hang, as a bad client does. The ORB
// may still call it when its owner has gone, so it is counted: make it with `new`.
//
// Thread safety: any thread may call any operation.
class Receiver : public POA_Northbound::AlarmReceiver {
  public:
    // Prints each change when `prints`. Answers the first `answers` call-backs and then none.
    Receiver(bool prints, unsigned int answers);

    void ping() override;
    void alarmsChanged(const Northbound::AlarmSeq& changes) override;

    // Waits until it has been told of that many.
    void Await(unsigned int changes);

    unsigned int Count();

  private:
    void AnswerOrHang();

    const bool prints_;
    const unsigned int answers_;
    std::mutex mutex_;
    std::condition_variable told_;
    unsigned int calls_ = 0;
    unsigned int changes_ = 0;
};

}  // namespace NS_NORTHBOUND
