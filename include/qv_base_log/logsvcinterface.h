// The logging service as other bundles see it.
#pragma once

#include <string>

#include "bundlemgr/serviceinterface.h"
#include "qv_base_log/loggerif.h"

namespace NS_LOG_SERVICE1 {

// The name under which the service is registered with the bundle manager. GetIFName of the object
// returns another one: "LogSvcInterface!".
static const char* const LOG_SVC_INTERFACE_NAME = "LogSvcInterface";

// Registered under LOG_SVC_INTERFACE_NAME from the loading of the service's bundle until its end;
// logservice.h finds it. The bundle manager calls Init and Fini. Clients call the other operations,
// after Init and before Fini. The service owns the object.
//
// Thread safety: any thread may call any operation but Init and Fini.
//
// Virtual slots: 0 to 3 ServiceInterface, then as declared (4 to 11).
class LogSvcInterface : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    // Reads the configuration, creates the seven channels and starts the switch monitor. Reports a
    // missing item and uses its default. Returns false when the configuration store is out of reach
    // or the log manager cannot be created; the monitor is started then too, and Fini ends it. What
    // is logged to a channel that was not created by then is lost uncounted. Passes on other
    // exceptions. Called once.
    virtual bool Init() = 0;

    // Ends the service: writes out the queues, closes the log files and deletes every logger.
    // Records that are still kept back are lost. Called once, after the service object's
    // StopService. REQUIRES: nobody uses a logger any more.
    virtual void Fini() = 0;

    // Returns the logger for these three strings: the same object for the same strings, created on
    // the first request. The caller chooses `first` and `second`, by custom the names of the bundle
    // and the service. `category` chooses the log file: "debug", "corbadebug", "corbanotify",
    // "corba_alarm", "corbasys", "corbaoper" or "corba_internal_oper". Returns null for any other
    // category. The service owns the logger. May throw std::bad_alloc.
    virtual LoggerIF* GetLogger(const std::string& first, const std::string& second,
                                const std::string& category) = 0;

    // Mode 0: if the current mode is another one, removes the periodic output task; the output mode
    // itself stays, and what is queued stays queued. Mode 1: returns success and changes nothing.
    // Use LogMaintenanceInterface::SetQueuedOutput to switch queued output. Returns one of the
    // codes in resultcode.h. Passes on what the schedule service throws, except
    // InterfaceNotExistException. May throw std::bad_alloc. A thread that is cancelled meanwhile
    // ends behind the call.
    virtual unsigned int SetOutputMode(unsigned int mode) = 0;

    // Return and set the switch of a module. A module that was never set is on. The bundles agree
    // on the numbers; the service gives them no meaning. The switches outlive the service: they are
    // the same after another start, until the library is unloaded. May throw std::bad_alloc.
    virtual bool GetModuleSwitch(const unsigned int& module) = 0;
    virtual void SetModuleSwitch(const unsigned int& module, const bool& on) = 0;

    // Returns whether `level` is on in the global switches; false for a level above 3.
    virtual bool IsLevelEnabled(const unsigned int& level) = 0;

    // Returns the configuration item "bLogOutputPara". The callers decide what it governs.
    virtual unsigned int IsLogOutputPara() = 0;
};

}  // namespace NS_LOG_SERVICE1
