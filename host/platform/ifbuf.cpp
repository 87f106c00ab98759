// The registry of interfaces as bundles see it.
#include "bundlemgr/ifbuf.h"

#include "hostcontrol.h"
#include "interfaceregistry.h"

namespace NS_BUNDLEMGR1 {

bool SetIFBuf(const std::string& name, ServiceInterface* interface) {
    if (interface == nullptr) {
        return false;
    }
    NS_REFERENCE_HOST::InterfaceRegistry::Instance().Add(name, interface);
    return true;
}

std::vector<ServiceInterface*> CheckIFBuf(const std::string& name) {
    return NS_REFERENCE_HOST::InterfaceRegistry::Instance().Find(name);
}

}  // namespace NS_BUNDLEMGR1

namespace NS_REFERENCE_HOST {

void RemoveFromIFBuf(const NS_BUNDLEMGR1::ServiceInterface* interface) {
    InterfaceRegistry::Instance().Remove(interface);
}

}  // namespace NS_REFERENCE_HOST
