// The registry of interfaces.
#include "interfaceregistry.h"

#include <algorithm>

#include "nodestructor.h"

namespace NS_REFERENCE_HOST {

using NS_BUNDLEMGR1::ServiceInterface;

InterfaceRegistry& InterfaceRegistry::Instance() {
    static const NoDestructor<InterfaceRegistry> registry;
    return *registry;
}

void InterfaceRegistry::Add(const std::string& name, ServiceInterface* interface) {
    const MutexLock guard(lock_);
    std::vector<ServiceInterface*>& registered = interfaces_[name];
    if (std::find(registered.begin(), registered.end(), interface) == registered.end()) {
        registered.push_back(interface);
    }
}

std::vector<ServiceInterface*> InterfaceRegistry::Find(const std::string& name) const {
    const MutexLock guard(lock_);
    const auto found = interfaces_.find(name);
    return found == interfaces_.end() ? std::vector<ServiceInterface*>() : found->second;
}

void InterfaceRegistry::Remove(const ServiceInterface* interface) {
    const MutexLock guard(lock_);
    for (auto entry = interfaces_.begin(); entry != interfaces_.end();) {
        std::vector<ServiceInterface*>& registered = entry->second;
        registered.erase(std::remove(registered.begin(), registered.end(), interface),
                         registered.end());
        entry = registered.empty() ? interfaces_.erase(entry) : std::next(entry);
    }
}

}  // namespace NS_REFERENCE_HOST
