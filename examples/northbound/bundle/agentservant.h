// The agent as clients see it.
#pragma once

#include <atomic>
#include <memory>

#include "bundle/calleraddress.h"
#include "bundle/callfailure.h"
#include "bundle/operationlog.h"
#include "bundle/operations.h"
#include "bundle/subscribers.h"
#include "network/errors.h"
#include "network/sessions.h"
#include "northbound.hh"

namespace NS_NORTHBOUND {

// Between the interface and the operations: it finds the session, brackets each call with its begin
// and end in the log, and turns values and exceptions into those of the interface.
//
// Thread safety: the ORB calls all operations, each connection on a thread of its own.
class AgentServant : public POA_Northbound::Agent {
  public:
    // A call-back has to be answered in `answerLimit` milliseconds. REQUIRES: the others outlive
    // the object.
    AgentServant(const Loggers& loggers, const Operations& operations, Subscribers& subscribers,
                 unsigned int answerLimit);

    CORBA::ULong openSession(const char* user, const char* password) override;
    void closeSession(CORBA::ULong session) override;
    Northbound::ElementSeq* getInventory(CORBA::ULong session, CORBA::ULong first,
                                         CORBA::ULong count) override;
    Northbound::ElementDetails* getElement(CORBA::ULong session, CORBA::ULong element) override;
    Northbound::ConnectionSeq* getConnections(CORBA::ULong session, CORBA::ULong element) override;
    Northbound::AlarmSeq* getActiveAlarms(CORBA::ULong session,
                                          Northbound::Severity least) override;
    void acknowledge(CORBA::ULong session, CORBA::ULongLong alarm) override;
    void subscribe(CORBA::ULong session, Northbound::AlarmReceiver_ptr listener) override;

  private:
    // Serves a call of a session: `body` gets the caller.
    template <class Body>
    auto Serve(CORBA::ULong number, const OperationTexts& texts, Body body) {
        const std::shared_ptr<Session> session = sessions_.Find(number);
        const Caller caller = CallerOf(session.get());
        OperationLog log(loggers_, texts, caller);
        try {
            if (session == nullptr) {
                throw AccessError("there is no session " + std::to_string(number));
            }
            return body(caller);
        } catch (...) {
            ThrowToClient(log);
        }
    }

    // Null: a call without a session, which gets a number all the same.
    Caller CallerOf(Session* session);

    CORBA::ULong OpenSession(const std::string& user, const std::string& password);
    void CloseSession(const Caller& caller);
    void Subscribe(const Caller& caller, Northbound::AlarmReceiver_ptr receiver);

    const OperationTexts openSession_{"openSession"};
    const OperationTexts closeSession_{"closeSession"};
    const OperationTexts getInventory_{"getInventory"};
    const OperationTexts getElement_{"getElement"};
    const OperationTexts getConnections_{"getConnections"};
    const OperationTexts getActiveAlarms_{"getActiveAlarms"};
    const OperationTexts acknowledge_{"acknowledge"};
    const OperationTexts subscribe_{"subscribe"};
    const Loggers& loggers_;
    const Operations& operations_;
    Subscribers& subscribers_;
    const unsigned int answerLimit_;
    Sessions sessions_;
    std::atomic<uint64_t> callsWithoutSession_{0};
};

}  // namespace NS_NORTHBOUND
