// The registry of interfaces.
#include "bundlemgr/ifbuf.h"

#include <algorithm>
#include <map>

#include "hostcontrol.h"
#include "mutex.h"
#include "nodestructor.h"

namespace {

using NS_BUNDLEMGR1::ServiceInterface;
using NS_REFERENCE_HOST::Mutex;
using NS_REFERENCE_HOST::MutexLock;

// Thread safety: any thread may call any operation.
class InterfaceRegistry {
  public:
    static InterfaceRegistry& Instance() {
        static const NS_REFERENCE_HOST::NoDestructor<InterfaceRegistry> registry;
        return *registry;
    }

    void Add(const std::string& name, ServiceInterface* interface) EXCLUDES(lock_) {
        const MutexLock guard(lock_);
        std::vector<ServiceInterface*>& registered = interfaces_[name];
        if (std::find(registered.begin(), registered.end(), interface) == registered.end()) {
            registered.push_back(interface);
        }
    }

    std::vector<ServiceInterface*> Find(const std::string& name) const EXCLUDES(lock_) {
        const MutexLock guard(lock_);
        const auto found = interfaces_.find(name);
        return found == interfaces_.end() ? std::vector<ServiceInterface*>() : found->second;
    }

    void Remove(const ServiceInterface* interface) EXCLUDES(lock_) {
        const MutexLock guard(lock_);
        for (auto entry = interfaces_.begin(); entry != interfaces_.end();) {
            std::vector<ServiceInterface*>& registered = entry->second;
            registered.erase(std::remove(registered.begin(), registered.end(), interface),
                             registered.end());
            entry = registered.empty() ? interfaces_.erase(entry) : std::next(entry);
        }
    }

  private:
    mutable Mutex lock_;
    std::map<std::string, std::vector<ServiceInterface*>> interfaces_ GUARDED_BY(lock_);
};

}  // namespace

namespace NS_BUNDLEMGR1 {

bool SetIFBuf(const std::string& name, ServiceInterface* interface) {
    if (interface == nullptr) {
        return false;
    }
    InterfaceRegistry::Instance().Add(name, interface);
    return true;
}

std::vector<ServiceInterface*> CheckIFBuf(const std::string& name) {
    return InterfaceRegistry::Instance().Find(name);
}

}  // namespace NS_BUNDLEMGR1

namespace NS_REFERENCE_HOST {

void RemoveFromIFBuf(const NS_BUNDLEMGR1::ServiceInterface* interface) {
    InterfaceRegistry::Instance().Remove(interface);
}

}  // namespace NS_REFERENCE_HOST
