// All of the agent's northbound side: what it is made of, and in which order it starts and stops.
#pragma once

#include <chrono>
#include <string>

#include "bundle/alarmsource.h"
#include "bundle/loggers.h"
#include "bundle/operations.h"
#include "bundle/orbserver.h"
#include "bundle/referencefile.h"
#include "bundle/subscribers.h"
#include "network/alarmboard.h"
#include "network/network.h"

namespace NS_NORTHBOUND {

struct ServerOptions {
    std::string reference;            // the file that tells clients where the agent is
    unsigned int port = 0;            // 0: one that is free
    unsigned int alarms = 20;         // how many come or go in a second
    unsigned int answerTime = 0;      // of an element, in milliseconds
    unsigned int answerLimit = 2000;  // for a call-back to a client, in milliseconds
    unsigned int callLimit = 5000;    // for a call to arrive and its answer to be taken, the same
};

// Thread safety: one thread.
class NorthboundServer {
  public:
    // Starts to serve. Throws std::exception when it cannot, CORBA::Exception when the ORB cannot.
    NorthboundServer(const ServerOptions& options, const Loggers& loggers);

    // Stops: first whatever calls clients, then whatever is called by them.
    ~NorthboundServer();

    NorthboundServer(const NorthboundServer&) = delete;
    NorthboundServer& operator=(const NorthboundServer&) = delete;

  private:
    void Start(unsigned int answerLimit);
    void Stop() noexcept;

    const Loggers loggers_;
    const Network network_;
    AlarmBoard board_;
    Operations operations_;
    Subscribers subscribers_;
    AlarmSource source_;
    ReferenceFile reference_;
    OrbServer orb_;
};

}  // namespace NS_NORTHBOUND
