// One client among many.
#include "client/loadclient.h"

#include <utility>

#include "network/accounts.h"
#include "network/operationidentifier.h"

namespace NS_NORTHBOUND {

LoadClient::LoadClient(Northbound::Agent_ptr agent, const Network& network, unsigned int number,
                       const ClientOptions& options)
    : agent_(Northbound::Agent::_duplicate(agent)),
      network_(network),
      options_(options),
      user_(AccountName(number)),
      random_(number) {}

void LoadClient::Call(const char* interfaceName, const std::function<void()>& call) {
    CallReport report{"", interfaceName, user_, ""};
    if (session_ != 0) {
        report.operation = OperationIdentifier(session_, ++sessionCalls_);
    }
    try {
        call();
    } catch (const Northbound::AccessDenied& error) {
        report.operation = error.operation;
        report.failure = error.reason;
    } catch (const Northbound::UnknownObject& error) {
        report.operation = error.operation;
        report.failure = error.reason;
    } catch (const Northbound::OperationFailed& error) {
        report.operation = error.operation;
        report.failure = error.reason;
    }
    calls_.push_back(std::move(report));
}

uint32_t LoadClient::DrawElement(bool answers) {
    for (;;) {
        const uint32_t id = Draw(network_.Count()) + 1;
        if (network_.Find(id).answers == answers) {
            return id;
        }
    }
}

void LoadClient::CallWhatFails() {
    switch (Draw(4)) {
        case 0:
            Call("getConnections", [this] {
                Northbound::ConnectionSeq_var ignored =
                    agent_->getConnections(session_, network_.Count() + 1 + Draw(100));
            });
            break;
        case 1:
            Call("acknowledge", [this] { agent_->acknowledge(session_, ~CORBA::ULongLong{0}); });
            break;
        default:
            Call("getElement", [this] {
                Northbound::ElementDetails_var ignored =
                    agent_->getElement(session_, DrawElement(false));
            });
    }
}

void LoadClient::CallSomething() {
    if (Draw(100) < options_.failures) {
        CallWhatFails();
        return;
    }
    switch (Draw(5)) {
        case 0:
            Call("getInventory", [this] {
                Northbound::ElementSeq_var ignored =
                    agent_->getInventory(session_, Draw(network_.Count()) + 1, options_.count);
            });
            break;
        case 1:
            Call("getConnections", [this] {
                Northbound::ConnectionSeq_var ignored =
                    agent_->getConnections(session_, DrawElement(true));
            });
            break;
        case 2:
            Call("getActiveAlarms", [this] {
                Northbound::AlarmSeq_var ignored =
                    agent_->getActiveAlarms(session_, Northbound::Major);
            });
            break;
        default:
            Call("getElement", [this] {
                Northbound::ElementDetails_var ignored =
                    agent_->getElement(session_, DrawElement(true));
            });
    }
}

void LoadClient::Run(Northbound::AlarmReceiver_ptr receiver) {
    Call("openSession",
         [this] { session_ = agent_->openSession(user_.c_str(), PasswordOf(user_).c_str()); });
    if (!CORBA::is_nil(receiver)) {
        Call("subscribe", [this, receiver] { agent_->subscribe(session_, receiver); });
    }
    for (unsigned int i = 0; options_.calls == 0 || i < options_.calls; ++i) {
        CallSomething();
    }
    Call("closeSession", [this] { agent_->closeSession(session_); });
}

}  // namespace NS_NORTHBOUND
