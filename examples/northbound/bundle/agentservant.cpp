// The agent as clients see it.
#include "bundle/agentservant.h"

#include <stdexcept>
#include <utility>

#include "bundle/conversions.h"
#include "bundle/messages.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logmacros.h"

namespace NS_NORTHBOUND {

using NS_LOG_SERVICE1::LOG_LEVEL_1;

AgentServant::AgentServant(const Loggers& loggers, const Operations& operations,
                           Subscribers& subscribers, unsigned int answerLimit)
    : loggers_(loggers),
      operations_(operations),
      subscribers_(subscribers),
      answerLimit_(answerLimit) {}

Caller AgentServant::CallerOf(Session* session) {
    if (session == nullptr) {
        // No user: a name that has not been checked does not belong into the context.
        return {0, ++callsWithoutSession_, "@" + CallerAddress()};
    }
    return {session->number, ++session->calls, session->user + "@" + CallerAddress()};
}

CORBA::ULong AgentServant::OpenSession(const std::string& user, const std::string& password) {
    OpenSessionRequest request(user);
    QV_LOG_ASN_TRACE(loggers_.messages, request);
    const std::shared_ptr<Session> session = sessions_.Open(user, password);
    QV_LOG_FORMAT(loggers_.system, LOG_LEVEL_1, "session %u of %s is open, %zu sessions",
                  session->number, user.c_str(), sessions_.Count());
    return session->number;
}

CORBA::ULong AgentServant::openSession(const char* user, const char* password) {
    OperationLog log(loggers_, openSession_, CallerOf(nullptr));
    try {
        return OpenSession(user, password);
    } catch (...) {
        ThrowToClient(log);
    }
}

// The session goes first: whoever subscribes meanwhile either is among those that end, or finds no
// session any more.
void AgentServant::CloseSession(const Caller& caller) {
    sessions_.Close(caller.session);
    subscribers_.EndThoseOf(caller.session);
    QV_LOG_FORMAT(loggers_.system, LOG_LEVEL_1, "session %u is closed, %zu sessions",
                  caller.session, sessions_.Count());
}

void AgentServant::closeSession(CORBA::ULong session) {
    Serve(session, closeSession_, [this](const Caller& caller) { CloseSession(caller); });
}

Northbound::ElementSeq* AgentServant::getInventory(CORBA::ULong session, CORBA::ULong first,
                                                   CORBA::ULong count) {
    return Serve(session, getInventory_, [&](const Caller&) {
        Northbound::ElementSeq_var answer = new Northbound::ElementSeq;
        ConvertAll(operations_.GetInventory(first, count), answer.inout());
        return answer._retn();
    });
}

Northbound::ElementDetails* AgentServant::getElement(CORBA::ULong session, CORBA::ULong element) {
    return Serve(session, getElement_, [&](const Caller&) {
        const ElementDetails details = operations_.GetElement(element);
        Northbound::ElementDetails_var answer = new Northbound::ElementDetails;
        Convert(details.element, answer->what);
        Convert(details.site, answer->where);
        answer->activeAlarms = details.activeAlarms;
        return answer._retn();
    });
}

Northbound::ConnectionSeq* AgentServant::getConnections(CORBA::ULong session,
                                                        CORBA::ULong element) {
    return Serve(session, getConnections_, [&](const Caller&) {
        Northbound::ConnectionSeq_var answer = new Northbound::ConnectionSeq;
        ConvertAll(operations_.GetConnections(element), answer.inout());
        return answer._retn();
    });
}

Northbound::AlarmSeq* AgentServant::getActiveAlarms(CORBA::ULong session,
                                                    Northbound::Severity least) {
    return Serve(session, getActiveAlarms_, [&](const Caller&) {
        Northbound::AlarmSeq_var answer = new Northbound::AlarmSeq;
        ConvertAll(operations_.GetActiveAlarms(static_cast<Severity>(least)), answer.inout());
        return answer._retn();
    });
}

void AgentServant::acknowledge(CORBA::ULong session, CORBA::ULongLong alarm) {
    Serve(session, acknowledge_, [&](const Caller& caller) {
        subscribers_.Tell(operations_.Acknowledge(alarm, caller.user));
    });
}

void AgentServant::Subscribe(const Caller& caller, Northbound::AlarmReceiver_ptr receiver) {
    if (CORBA::is_nil(receiver)) {
        throw std::invalid_argument("there is nobody to be told");
    }
    QV_LOG(loggers_.operationDetails, NS_LOG_SERVICE1::LOG_LEVEL_2, "try the receiver");
    subscribers_.Add(std::make_unique<Subscriber>(loggers_, caller, receiver, answerLimit_));
    // The client may have closed its session while its receiver was tried. Nobody could end the
    // subscription any more.
    if (sessions_.Find(caller.session) == nullptr) {
        subscribers_.EndThoseOf(caller.session);
        throw AccessError("session " + std::to_string(caller.session) + " was closed meanwhile");
    }
    QV_LOG_FORMAT(loggers_.system, LOG_LEVEL_1, "session %u is told of alarms, %zu subscriptions",
                  caller.session, subscribers_.Count());
}

void AgentServant::subscribe(CORBA::ULong session, Northbound::AlarmReceiver_ptr listener) {
    Serve(session, subscribe_, [&](const Caller& caller) { Subscribe(caller, listener); });
}

}  // namespace NS_NORTHBOUND
