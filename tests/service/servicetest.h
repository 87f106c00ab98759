// A service object over a fresh directory with a configuration file.
#pragma once

#include <ace/Service_Object.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/corbaconfigitems.h"
#include "bundlemgr/ifbuf.h"
#include "bundlemgr/processexception.h"
#include "logimpl.h"
#include "manager/logmgr.h"
#include "platform/hostcontrol.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/recordinglogproxy.h"
#include "support/temporarydirectory.h"

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

class ServiceTest : public DirectoryTest {
  protected:
    ServiceTest() : share_("_APP_SHARE_DIR", Path()) { Configure("logfilesize = 1000000\n"); }
    ~ServiceTest() override {
        NS_REFERENCE_HOST::SetConfigItems(nullptr);
        for (NS_BUNDLEMGR1::ServiceInterface* left : Registered()) {
            NS_REFERENCE_HOST::RemoveFromIFBuf(left);
            delete left;
        }
        NS_LOG_SERVICE1::LogMgr::DestroyInstance();
    }

    void Configure(const std::string& text) const {
        WriteFile(Path("conf/corba_agent.cfg"), text);
        std::vector<NS_BUNDLEMGR1::NameValueStru> items;
        NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetCorbaConfigItems(items);
    }

    // A new service object. The gobbler is kept in gobbler_.
    NS_LOG_SERVICE1::qv_base_log* Make() {
        return static_cast<NS_LOG_SERVICE1::qv_base_log*>(_make_qv_base_log(&gobbler_));
    }

    // Frees the object as the manager does.
    void Gobble(ACE_Service_Object* object) const { gobbler_(static_cast<void*>(object)); }

    // What the manager does at the end of the process.
    void End(NS_LOG_SERVICE1::qv_base_log* object) const {
        EXPECT_EQ(object->StopService(), 0);
        EXPECT_EQ(object->fini(), 0);
        Gobble(object);
    }

    ScopedVariable share_;
    ACE_Service_Object_Exterminator gobbler_ = nullptr;
};

// A service object whose diagnostics are recorded. Not for processes without log proxies.
class RecordedServiceTest : public ServiceTest {
  protected:
    RecordedServiceTest() { OfferDiagnostics(); }
};

// Every read raises: the store is out of reach.
class UnreachableItems : public NS_BUNDLEMGR1::CorbaConfigItems {
  public:
    bool GetIntItemInfo(const std::string&, int&) override { Raise(); }
    bool GetStrItemInfo(const std::string&, std::string&) override { Raise(); }
    void GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>&) override { Raise(); }

  private:
    [[noreturn]] static void Raise() {
        throw NS_BUNDLEMGR1::InterfaceNotExistException(0x41180004, "file", "function", "gone");
    }
};

}  // namespace NS_TEST
