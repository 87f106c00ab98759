// A bundle with a logger whose name no terminal should be shown.
#include "bundlemgr/platformapi.h"
#include "bundlemgr/serviceobjectbase.h"
#include "qv_base_log/logservice.h"

namespace {

// Thread safety: the manager's thread only.
class OddLoggers : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    OddLoggers() : ServiceObjectBase("oddloggers", "oddloggers") {}

    int init(int, ACE_TCHAR*[]) override {
        NS_LOG_SERVICE1::LogSvcInterface* const service = NS_LOG_SERVICE1::FindLogService();
        return service != nullptr && service->GetLogger("evil\x1b[2J\n\xff", "", "debug") != nullptr
                   ? 0
                   : -1;
    }

    int fini() override { return 0; }
};

}  // namespace

extern "C" QV_PLATFORM_API ACE_Service_Object* _make_oddloggers(ACE_Service_Object_Exterminator*) {
    return new OddLoggers;
}
