// What the agent does for its clients, and what it logs of that. Nothing here knows CORBA.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "bundle/loggers.h"
#include "network/alarmboard.h"
#include "network/network.h"

namespace NS_NORTHBOUND {

struct ElementDetails {
    Element element;
    Site site;
    uint32_t activeAlarms = 0;
};

// Each operation is called inside of an OperationLog. They throw AccessError, UnknownObjectError
// and other exceptions of the standard library.
//
// Thread safety: any thread may call any operation.
class Operations {
  public:
    // An element takes `answerTime` to answer. REQUIRES: the others outlive the object.
    Operations(const Loggers& loggers, const Network& network, AlarmBoard& board,
               std::chrono::milliseconds answerTime);

    std::vector<Element> GetInventory(uint32_t first, uint32_t count) const;
    ElementDetails GetElement(uint32_t id) const;
    std::vector<Connection> GetConnections(uint32_t id) const;
    std::vector<Alarm> GetActiveAlarms(Severity least) const;

    // The alarm with the mark on it.
    Alarm Acknowledge(uint64_t id, const std::string& user) const;

  private:
    // Throws std::runtime_error when the element does not answer.
    void Ask(const Element& element) const;

    const Loggers& loggers_;
    const Network& network_;
    AlarmBoard& board_;
    const std::chrono::milliseconds answerTime_;
};

}  // namespace NS_NORTHBOUND
