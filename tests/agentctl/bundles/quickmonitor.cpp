// The logging service with a switch monitor that looks at the configuration file all the time.
#include "bundlemgr/platformapi.h"
#include "logimpl.h"
#include "logswitchmonitormgr.h"

// The service finds the monitor that is there already.
extern "C" QV_PLATFORM_API ACE_Service_Object* _make_quickmonitor(
    ACE_Service_Object_Exterminator* gobbler) {
    NS_LOG_SERVICE1::LogSwitchMonitorMgr::Instance(std::chrono::milliseconds(20));
    return _make_qv_base_log(gobbler);
}
