#include "lookup/interfacelookup.h"

#include <vector>

#include "base/lockguard.h"
#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/ifbuf.h"
#include "bundlemgr/processexception.h"
#include "lookup/nullserviceinterface.h"
#include "qv_base_log/resultcode.h"

namespace NS_LOG_SERVICE1 {

using NS_BUNDLEMGR1::BundleMgr;
using NS_BUNDLEMGR1::ServiceInterface;

namespace {

// Registers what the service objects offer under `name`.
void RegisterFitting(const std::string& name, const InterfaceTest& fits) {
    BundleMgr* manager = BundleMgr::Instance();
    const LockGuard<ACE_Recursive_Thread_Mutex> guard(manager->GetLock());
    for (NS_BUNDLEMGR1::ServiceObjectBase* service : manager->GetServiceObjects()) {
        ServiceInterface* candidate = service->GetInterface();
        if (candidate != nullptr && fits(candidate)) {
            NS_BUNDLEMGR1::SetIFBuf(name, candidate);
        }
    }
}

}  // namespace

ServiceInterface* LookUpInterface(const std::string& name, const InterfaceTest& fits) {
    ServiceInterface* found = GetNullServiceInterface();
    std::vector<ServiceInterface*> registered = NS_BUNDLEMGR1::CheckIFBuf(name);
    if (registered.empty()) {
        RegisterFitting(name, fits);
        registered = NS_BUNDLEMGR1::CheckIFBuf(name);
    }
    if (!registered.empty()) {
        found = registered.front();
    }
    if (found == GetNullServiceInterface()) {
        RaiseInterfaceNotExist(name);
    }
    return found;
}

void RaiseInterfaceNotExist(const std::string& name) {
    throw NS_BUNDLEMGR1::InterfaceNotExistException(LOG_RESULT_INTERFACE_NOT_EXIST, "logimpl",
                                                    "LookUpInterface", name + " does not exist");
}

}  // namespace NS_LOG_SERVICE1
