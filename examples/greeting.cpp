// A small client bundle: looks up the logging service and logs a text and an alarm.
#include <ace/Service_Object.h>
#include <json/value.h>

#include "bundlemgr/serviceobjectbase.h"
#include "qv_base_log/logmacros.h"
#include "qv_base_log/logservice.h"

namespace {

using namespace NS_LOG_SERVICE1;

class Greeting : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    Greeting() : ServiceObjectBase("greeting_bundle", "greeting") {}

    // Called after the logging service's, when the configuration names that bundle first.
    int init(int /*argc*/, ACE_TCHAR* /*argv*/[]) override {
        LogSvcInterface* service = FindLogService();
        if (service == nullptr) {
            return -1;
        }
        LoggerIF* logger = service->GetLogger("greeting_bundle", "greeting", "corbaoper");
        QV_LOG(logger, LOG_LEVEL_1, "the greeting bundle is here");
        Json::Value alarm;
        alarm["severity"] = "cleared";
        Json::Value alarms(Json::arrayValue);
        alarms.append(alarm);
        QV_LOG_ALARM(logger, alarms);
        return 0;
    }

    int fini() override { return 0; }
};

void Free(void* object) {
    delete static_cast<ACE_Service_Object*>(object);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) ACE_Service_Object* _make_greeting(
    ACE_Service_Object_Exterminator* gobbler) {
    if (gobbler != nullptr) {
        *gobbler = &Free;
    }
    return new Greeting;
}
