// A service object as the bundle manager makes and frees it.
#pragma once

#include <ace/Service_Object.h>

#include <vector>

#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/ifbuf.h"
#include "support/servicefixture.h"

namespace NS_TEST {

// The service objects that exist in the process.
inline std::vector<NS_BUNDLEMGR1::ServiceObjectBase*> ListedObjects() {
    NS_BUNDLEMGR1::BundleMgr& manager = *NS_BUNDLEMGR1::BundleMgr::Instance();
    const ACE_Guard<ACE_Recursive_Thread_Mutex> guard(manager.GetLock());
    return manager.GetServiceObjects();
}

inline std::vector<NS_BUNDLEMGR1::ServiceInterface*> Registered() {
    return NS_BUNDLEMGR1::CheckIFBuf("LogSvcInterface");
}

class ServiceObjectTest : public ServiceTest {
  protected:
    ~ServiceObjectTest() override {
        for (NS_BUNDLEMGR1::ServiceInterface* left : Registered()) {
            NS_REFERENCE_HOST::RemoveFromIFBuf(left);
            delete left;
        }
    }

    // A new service object. The gobbler is kept in gobbler_.
    NS_LOG_SERVICE1::qv_base_log* Make() {
        return static_cast<NS_LOG_SERVICE1::qv_base_log*>(_make_qv_base_log(&gobbler_));
    }

    // A service object that has been started.
    NS_LOG_SERVICE1::qv_base_log* MakeAndInit() {
        NS_LOG_SERVICE1::qv_base_log* const object = Make();
        EXPECT_EQ(object->init(0, nullptr), 0);
        return object;
    }

    // Frees the object as the manager does.
    void Gobble(ACE_Service_Object* object) const { gobbler_(static_cast<void*>(object)); }

    // What the manager does at the end of the process.
    void End(NS_LOG_SERVICE1::qv_base_log* object) const {
        EXPECT_EQ(object->StopService(), 0);
        EXPECT_EQ(object->fini(), 0);
        Gobble(object);
    }

    ACE_Service_Object_Exterminator gobbler_ = nullptr;
};

}  // namespace NS_TEST
