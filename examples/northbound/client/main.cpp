// A client of the northbound agent.
#include <cstdio>
#include <cstring>
#include <exception>

#include "client/agentconnection.h"
#include "client/leavingreceiver.h"
#include "client/load.h"
#include "client/options.h"
#include "client/receiver.h"
#include "version/buildversion.h"

namespace {

using namespace NS_NORTHBOUND;

enum ExitCode { Done = 0, Refused = 1, BadCommandLine = 2, NoAgent = 3 };

// A session for the length of a block.
class ClientSession {
  public:
    ClientSession(Northbound::Agent_ptr agent, const ClientOptions& options)
        : agent_(agent),
          number_(agent->openSession(options.user.c_str(), options.password.c_str())) {}

    ~ClientSession() {
        try {
            agent_->closeSession(number_);
        } catch (const CORBA::Exception&) {
            // The agent is gone, and the session with it.
        }
    }

    ClientSession(const ClientSession&) = delete;
    ClientSession& operator=(const ClientSession&) = delete;

    CORBA::ULong Number() const { return number_; }

  private:
    const Northbound::Agent_ptr agent_;  // the connection's
    const CORBA::ULong number_;
};

void ShowInventory(Northbound::Agent_ptr agent, CORBA::ULong session,
                   const ClientOptions& options) {
    Northbound::ElementSeq_var elements =
        agent->getInventory(session, options.element, options.count);
    for (CORBA::ULong i = 0; i < elements->length(); ++i) {
        const Northbound::Element& element = elements[i];
        std::printf("%u %s %s %s\n", element.id, element.name.in(), element.type.in(),
                    element.accessPassword.in());
    }
}

void ShowElement(Northbound::Agent_ptr agent, CORBA::ULong session, const ClientOptions& options) {
    Northbound::ElementDetails_var details = agent->getElement(session, options.element);
    std::printf("%u %s %s: %s, %s, %s, %s; %u alarms\n", details->what.id, details->what.name.in(),
                details->what.type.in(), details->where.country.in(), details->where.city.in(),
                details->where.room.in(), details->where.cabinet.in(), details->activeAlarms);
}

void ShowConnections(Northbound::Agent_ptr agent, CORBA::ULong session,
                     const ClientOptions& options) {
    Northbound::ConnectionSeq_var connections = agent->getConnections(session, options.element);
    for (CORBA::ULong i = 0; i < connections->length(); ++i) {
        std::printf("%u %s %s\n", connections[i].index, connections[i].customer.in(),
                    connections[i].rate.in());
    }
}

void ShowAlarms(Northbound::Agent_ptr agent, CORBA::ULong session) {
    Northbound::AlarmSeq_var alarms = agent->getActiveAlarms(session, Northbound::Warning);
    for (CORBA::ULong i = 0; i < alarms->length(); ++i) {
        std::printf("alarm %llu of element %u: %s%s\n",
                    static_cast<unsigned long long>(alarms[i].id), alarms[i].element,
                    alarms[i].cause.in(), alarms[i].isAcknowledged ? ", acknowledged" : "");
    }
}

void Watch(AgentConnection& connection, CORBA::ULong session, const ClientOptions& options,
           Receiver& receiver) {
    const Northbound::AlarmReceiver_var reference = connection.Serve(receiver);
    connection.Agent()->subscribe(session, reference);
    receiver.Await(options.changes);
}

void Leave(AgentConnection& connection, CORBA::ULong session) {
    const PortableServer::Servant_var<LeavingReceiver> receiver(
        new LeavingReceiver(connection.Agent(), session));
    const Northbound::AlarmReceiver_var reference = connection.Serve(*receiver.in());
    connection.Agent()->subscribe(session, reference);
}

void RunCommand(AgentConnection& connection, const ClientOptions& options, Receiver& receiver) {
    const ClientSession session(connection.Agent(), options);
    if (options.command == "inventory") {
        ShowInventory(connection.Agent(), session.Number(), options);
    } else if (options.command == "element") {
        ShowElement(connection.Agent(), session.Number(), options);
    } else if (options.command == "connections") {
        ShowConnections(connection.Agent(), session.Number(), options);
    } else if (options.command == "alarms") {
        ShowAlarms(connection.Agent(), session.Number());
    } else if (options.command == "acknowledge") {
        connection.Agent()->acknowledge(session.Number(), options.alarm);
    } else if (options.command == "leave") {
        Leave(connection, session.Number());
    } else {
        Watch(connection, session.Number(), options, receiver);
    }
}

int Run(const ClientOptions& options) {
    const PortableServer::Servant_var<Receiver> receiver(new Receiver(true, options.answers));
    AgentConnection connection(options.reference, options.clients + 1);
    if (options.command != "load") {
        RunCommand(connection, options, *receiver.in());
        return Done;
    }
    const LoadResult result = RunLoad(connection, options);
    PrintLoad(result, options);
    return result.lost.empty() ? Done : NoAgent;
}

int Refuse(const char* operation, const char* reason) {
    std::fprintf(stderr, "qv_northbound_client: operation %s: %s\n", operation, reason);
    return Refused;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::fputs(kClientHelp, stdout);
        return Done;
    }
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::printf("qv_northbound_client %s\n", NS_VERSION::kBuildVersion);
        return Done;
    }
    ClientOptions options;
    if (!ReadClientOptions(argc - 1, argv + 1, options)) {
        return BadCommandLine;
    }
    try {
        return Run(options);
    } catch (const Northbound::AccessDenied& error) {
        return Refuse(error.operation, error.reason);
    } catch (const Northbound::UnknownObject& error) {
        return Refuse(error.operation, error.reason);
    } catch (const Northbound::OperationFailed& error) {
        return Refuse(error.operation, error.reason);
    } catch (const CORBA::SystemException& error) {
        std::fprintf(stderr, "qv_northbound_client: the agent cannot be reached: %s\n",
                     error._name());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qv_northbound_client: %s\n", error.what());
    }
    return NoAgent;
}
