// One client among many.
#pragma once

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "client/load.h"
#include "network/network.h"

namespace NS_NORTHBOUND {

// Logs in, makes its calls one after the other, logs out.
//
// Thread safety: one thread.
class LoadClient {
  public:
    // `number` counts from 1. REQUIRES: the others outlive the object.
    LoadClient(Northbound::Agent_ptr agent, const Network& network, unsigned int number,
               const ClientOptions& options);

    // Nil `receiver`: does not subscribe. A CORBA::SystemException ends it and is passed on.
    void Run(Northbound::AlarmReceiver_ptr receiver);

    const std::vector<CallReport>& Calls() const { return calls_; }

  private:
    // Makes a call and reports it.
    void Call(const char* interfaceName, const std::function<void()>& call);
    void CallSomething();
    void CallWhatFails();

    uint32_t Draw(uint32_t below) { return static_cast<uint32_t>(random_()) % below; }
    uint32_t DrawElement(bool answers);

    const Northbound::Agent_var agent_;
    const Network& network_;
    const ClientOptions& options_;
    const std::string user_;
    std::mt19937 random_;
    CORBA::ULong session_ = 0;
    uint64_t sessionCalls_ = 0;
    std::vector<CallReport> calls_;
};

}  // namespace NS_NORTHBOUND
