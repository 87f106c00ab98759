// What the agent does for its clients, and what it logs of that.
#include "bundle/operations.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

#include "bundle/messages.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logmacros.h"

namespace NS_NORTHBOUND {

namespace {

using NS_LOG_SERVICE1::LOG_LEVEL_1;
using NS_LOG_SERVICE1::LOG_LEVEL_2;
using NS_LOG_SERVICE1::LOG_LEVEL_3;

// More elements than that are asked for page by page.
constexpr uint32_t kMostElements = 500;

}  // namespace

Operations::Operations(const Loggers& loggers, const Network& network, AlarmBoard& board,
                       std::chrono::milliseconds answerTime)
    : loggers_(loggers), network_(network), board_(board), answerTime_(answerTime) {}

std::vector<Element> Operations::GetInventory(uint32_t first, uint32_t count) const {
    NumbersRequest request("QAsnGetNEInfoReq", {"first", first}, {"count", count});
    QV_LOG_ASN_TRACE(loggers_.messages, request);
    std::vector<Element> elements = network_.List(first, std::min(count, kMostElements));
    QV_LOG_FORMAT(loggers_.operationDetails, LOG_LEVEL_2, "%zu elements from %u on, of %u",
                  elements.size(), first, network_.Count());
    ElementsAnswer answer(elements);
    QV_LOG_ASN_TRACE(loggers_.messages, answer);
    return elements;
}

void Operations::Ask(const Element& element) const {
    QV_LOG_FORMAT(loggers_.internalDetails, LOG_LEVEL_3, "ask %s, type %s, for its state",
                  element.name.c_str(), element.type.c_str());
    if (answerTime_.count() > 0) {
        std::this_thread::sleep_for(answerTime_);
    }
    if (!element.answers) {
        QV_LOG_FORMAT(loggers_.internal, LOG_LEVEL_1, "%s does not answer", element.name.c_str());
        throw std::runtime_error(element.name + " does not answer");
    }
}

ElementDetails Operations::GetElement(uint32_t id) const {
    NumbersRequest request("QAsnGetPhysicalLocationInfoReq", {"neID", id});
    QV_LOG_ASN_TRACE(loggers_.messages, request);
    QV_LOG_FORMAT(loggers_.operationDetails, LOG_LEVEL_2, "look up element %u", id);
    const Element& element = network_.Find(id);
    Ask(element);
    ElementDetails details{element, network_.SiteOf(id), board_.CountOf(id)};
    SiteAnswer answer(id, details.site);
    QV_LOG_ASN_TRACE(loggers_.messages, answer);
    return details;
}

std::vector<Connection> Operations::GetConnections(uint32_t id) const {
    NumbersRequest request("QAsnGetSNCsByIdxsReq", {"neID", id});
    QV_LOG_ASN_TRACE(loggers_.messages, request);
    QV_LOG_FORMAT(loggers_.operationDetails, LOG_LEVEL_2, "look up the connections of element %u",
                  id);
    std::vector<Connection> connections = network_.ConnectionsOf(id);
    // One record, not one for each connection: the trace lists them, and masks the customers.
    QV_LOG_FORMAT(loggers_.operationDetails, LOG_LEVEL_3, "element %u has %zu connections", id,
                  connections.size());
    ConnectionsAnswer answer(connections);
    QV_LOG_ASN_TRACE(loggers_.messages, answer);
    return connections;
}

std::vector<Alarm> Operations::GetActiveAlarms(Severity least) const {
    NumbersRequest request("QAsnGetActiveAlarmsReq", {"least", static_cast<uint64_t>(least)});
    QV_LOG_ASN_TRACE(loggers_.messages, request);
    std::vector<Alarm> alarms = board_.Active(least);
    QV_LOG_FORMAT(loggers_.operationDetails, LOG_LEVEL_2, "%zu alarms of severity %s and above",
                  alarms.size(), NameOf(least));
    AlarmsAnswer answer(alarms);
    QV_LOG_ASN_TRACE(loggers_.messages, answer);
    return alarms;
}

Alarm Operations::Acknowledge(uint64_t id, const std::string& user) const {
    NumbersRequest request("QAsnAcknowledgeAlarmReq", {"alarmID", id});
    QV_LOG_ASN_TRACE(loggers_.messages, request);
    QV_LOG_FORMAT(loggers_.operationDetails, LOG_LEVEL_2, "alarm %llu is to be acknowledged by %s",
                  static_cast<unsigned long long>(id), user.c_str());
    return board_.Acknowledge(id);
}

}  // namespace NS_NORTHBOUND
