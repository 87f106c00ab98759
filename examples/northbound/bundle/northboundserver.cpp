// All of the agent's northbound side.
#include "bundle/northboundserver.h"

#include <exception>

#include "bundle/agentservant.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logmacros.h"

namespace NS_NORTHBOUND {

NorthboundServer::NorthboundServer(const ServerOptions& options, const Loggers& loggers)
    : loggers_(loggers),
      network_(kNetworkSize, kNetworkSeed),
      operations_(loggers_, network_, board_, std::chrono::milliseconds(options.answerTime)),
      source_(loggers_, network_, board_, options.alarms,
              [this](const Alarm& change) { subscribers_.Tell(change); }),
      reference_(options.reference),
      orb_(options.port, options.callLimit) {
    try {
        Start(options.answerLimit);
    } catch (...) {
        Stop();
        throw;
    }
}

NorthboundServer::~NorthboundServer() {
    Stop();
}

void NorthboundServer::Start(unsigned int answerLimit) {
    const PortableServer::Servant_var<AgentServant> servant(
        new AgentServant(loggers_, operations_, subscribers_, answerLimit));
    const std::string reference = orb_.Serve(*servant.in());
    source_.Start();
    reference_.Write(reference);
    QV_LOG_FORMAT(loggers_.system, NS_LOG_SERVICE1::LOG_LEVEL_1, "serving %u elements",
                  network_.Count());
}

// Also after a start that failed half-way: a client may have subscribed by then.
void NorthboundServer::Stop() noexcept {
    reference_.Remove();
    source_.Stop();
    subscribers_.Close();
    orb_.Stop();
    try {
        QV_LOG(loggers_.system, NS_LOG_SERVICE1::LOG_LEVEL_1, "no longer serving");
    } catch (const std::exception&) {
        // No memory for the record.
    }
}

}  // namespace NS_NORTHBOUND
