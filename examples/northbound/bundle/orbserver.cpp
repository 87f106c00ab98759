// The ORB from its start to its end.
#include "bundle/orbserver.h"

#include "common/report.h"
#include "interface/nilreferences.h"

namespace NS_NORTHBOUND {

namespace {

// The end point is this machine's own: without one, the ORB listens on all interfaces. Without a
// limit, a client that stalls in the middle of a call would keep the agent from ending.
CORBA::ORB_ptr StartOrb(unsigned int port, unsigned int callLimit) {
    const std::string endPoint =
        "giop:tcp:127.0.0.1:" + (port == 0 ? std::string() : std::to_string(port));
    const std::string limit = std::to_string(callLimit);
    const char* options[][2] = {{"endPoint", endPoint.c_str()},
                                {"threadPerConnectionPolicy", "1"},
                                {"maxServerThreadPerConnection", "1"},
                                {"serverCallTimeOutPeriod", limit.c_str()},
                                {nullptr, nullptr}};
    MakeNilReferences();
    int argc = 0;
    return CORBA::ORB_init(argc, nullptr, "omniORB4", options);
}

}  // namespace

OrbServer::OrbServer(unsigned int port, unsigned int callLimit) : orb_(StartOrb(port, callLimit)) {
    const CORBA::Object_var root = orb_->resolve_initial_references("RootPOA");
    poa_ = PortableServer::POA::_narrow(root);
    addresses_ = std::make_unique<CallerAddressRecording>();
}

std::string OrbServer::Serve(PortableServer::ServantBase& servant) {
    const PortableServer::ObjectId_var id = poa_->activate_object(&servant);
    const CORBA::Object_var object = poa_->id_to_reference(id);
    const CORBA::String_var text = orb_->object_to_string(object);
    const PortableServer::POAManager_var manager = poa_->the_POAManager();
    manager->activate();
    return text.in();
}

void OrbServer::EndOrb() {
    orb_->shutdown(true);
    // Only now: the ORB does not guard its list of interceptors against calls that go on.
    addresses_.reset();
    poa_ = PortableServer::POA::_nil();
    orb_->destroy();
}

void OrbServer::Stop() noexcept {
    if (CORBA::is_nil(orb_)) {
        return;
    }
    try {
        EndOrb();
    } catch (const CORBA::Exception& error) {
        NS_REFERENCE_HOST::Report("qv_northbound",
                                  std::string("the ORB does not stop: ") + error._name());
    }
    orb_ = CORBA::ORB::_nil();
}

}  // namespace NS_NORTHBOUND
