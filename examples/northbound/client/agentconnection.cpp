// A client's way to the agent.
#include "client/agentconnection.h"

#include <fstream>
#include <stdexcept>

#include "interface/nilreferences.h"

namespace NS_NORTHBOUND {

namespace {

std::string ReadReference(const std::string& path) {
    std::ifstream in(path);
    std::string reference;
    if (!std::getline(in, reference)) {
        throw std::runtime_error("no agent has written its reference to " + path);
    }
    return reference;
}

CORBA::ORB_ptr StartOrb(const std::string& calls) {
    // The ORB makes no more than five connections otherwise, and further calls wait for one.
    const char* options[][2] = {{"endPoint", "giop:tcp:127.0.0.1:"},
                                {"maxGIOPConnectionPerServer", calls.c_str()},
                                {nullptr, nullptr}};
    MakeNilReferences();
    int argc = 0;
    return CORBA::ORB_init(argc, nullptr, "omniORB4", options);
}

}  // namespace

AgentConnection::AgentConnection(const std::string& reference, unsigned int calls)
    : orb_(StartOrb(std::to_string(calls))) {
    const CORBA::Object_var root = orb_->resolve_initial_references("RootPOA");
    poa_ = PortableServer::POA::_narrow(root);
    const CORBA::Object_var object = orb_->string_to_object(ReadReference(reference).c_str());
    agent_ = Northbound::Agent::_narrow(object);
    if (CORBA::is_nil(agent_)) {
        throw std::runtime_error("the reference in " + reference + " names no agent");
    }
}

AgentConnection::~AgentConnection() {
    try {
        orb_->shutdown(true);
        agent_ = Northbound::Agent::_nil();
        poa_ = PortableServer::POA::_nil();
        orb_->destroy();
    } catch (const CORBA::Exception&) {
        // The process ends anyway.
    }
}

Northbound::AlarmReceiver_var AgentConnection::Serve(POA_Northbound::AlarmReceiver& receiver) {
    const PortableServer::ObjectId_var id = poa_->activate_object(&receiver);
    const CORBA::Object_var object = poa_->id_to_reference(id);
    const PortableServer::POAManager_var manager = poa_->the_POAManager();
    manager->activate();
    return Northbound::AlarmReceiver::_narrow(object);
}

}  // namespace NS_NORTHBOUND
