// What every bundle's service object has in common.
#include "bundlemgr/serviceobjectbase.h"

#include <memory>

#include "hostcontrol.h"
#include "serviceobjectlist.h"

namespace NS_BUNDLEMGR1 {

using NS_REFERENCE_HOST::RecursiveMutexLock;
using NS_REFERENCE_HOST::ServiceObjectList;

ServiceObjectBase::ServiceObjectBase(const char* bundleName, const char* serviceName)
    : bundleName_(bundleName), serviceName_(serviceName) {
    ServiceObjectList::Instance().Add(this);
}

ServiceObjectBase::~ServiceObjectBase() {
    ServiceObjectList::Instance().Remove(this);
}

int ServiceObjectBase::UnRegistSvc() {
    if (interface_ != nullptr) {
        NS_REFERENCE_HOST::RemoveFromIFBuf(interface_);
    }
    return 0;
}

std::string ServiceObjectBase::GetName() const {
    return serviceName_;
}

int ServiceObjectBase::StopService() {
    return 0;
}

ServiceInterface* ServiceObjectBase::GetInterface() {
    return interface_;
}

ServiceInterface* ServiceObjectBase::CreateInterface() {
    return nullptr;
}

void ServiceObjectBase::RemoveInterface() {
    std::unique_ptr<ServiceInterface> removed;
    {
        // A lookup goes through the list of service objects under this lock and registers what it
        // finds. So first remove the pointer, then the registration, and delete the object last.
        const RecursiveMutexLock guard(ServiceObjectList::Instance().Lock());
        removed.reset(interface_);
        interface_ = nullptr;
    }
    if (removed != nullptr) {
        NS_REFERENCE_HOST::RemoveFromIFBuf(removed.get());
    }
}

}  // namespace NS_BUNDLEMGR1
