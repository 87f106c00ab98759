// A bundle whose maintenance interface throws what is no exception.
#include "agentctl/fakelogservice.h"
#include "bundlemgr/platformapi.h"
#include "bundlemgr/serviceobjectbase.h"

namespace {

class ThrowingMaintenance : public NS_TEST::FakeMaintenance {
  public:
    void SetFilePolicy(NS_LOG_SERVICE1::LogFilePolicy) override { throw 1; }
};

// Thread safety: the manager's thread only.
class ThrowingService : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    ThrowingService() : ServiceObjectBase("throwingservice", "throwingservice") {}

  private:
    ThrowingMaintenance maintenance_;
};

}  // namespace

extern "C" QV_PLATFORM_API ACE_Service_Object* _make_throwingservice(
    ACE_Service_Object_Exterminator*) {
    return new ThrowingService;
}
