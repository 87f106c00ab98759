// The logging service as other bundles see it.
#pragma once

#include <string>

#include "bundlemgr/serviceinterface.h"
#include "qv_base_log/loggerif.h"

namespace NS_LOG_SERVICE1 {

// The name under which the service is registered with the bundle manager. (The object itself
// answers "LogSvcInterface!" to GetIFName.)
static const char* const LOG_SVC_INTERFACE_NAME = "LogSvcInterface";

// Found under LOG_SVC_INTERFACE_NAME from the moment the service's bundle is loaded until it is
// finished; see logservice.h for a lookup. The bundle manager calls Init and Fini; everybody else
// calls the rest, after Init and before Fini.
//
// Thread safety: any thread may call any operation but Init and Fini at any time.
//
// Virtual slots: 0 to 3 ServiceInterface, then as declared (4 to 11).
class LogSvcInterface : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    // Reads the configuration, creates the seven channels and starts the switch monitor. A missing
    // item is reported and replaced by its default. Returns false only when the configuration
    // store was out of reach. Called once, by the bundle manager.
    virtual bool Init() = 0;

    // Ends the service: writes what is queued, closes the log files and deletes every logger. The
    // records that are still kept back because their level is off are lost. Called once, by the
    // bundle manager, after the service object's StopService; no logger may be in use any more.
    virtual void Fini() = 0;

    // The logger for these three strings: the same object for the same strings, created on the
    // first request. `first` and `second` are the caller's to choose (bundle and service, say);
    // `category` is one of "debug", "corbadebug", "corbanotify", "corba_alarm", "corbasys",
    // "corbaoper" and "corba_internal_oper" and chooses the log file. Null for any other category.
    // The service owns the logger.
    virtual LoggerIF* GetLogger(const std::string& first, const std::string& second,
                                const std::string& category) = 0;

    // Switches the output mode at run time. Mode 0 (every record is written at once): removes the
    // periodic output task, if the current mode is another. Mode 1: answers success and changes
    // nothing. Returns one of the codes in resultcode.h.
    virtual unsigned int SetOutputMode(unsigned int mode) = 0;

    // The switch of a module; on for a module that was never set. The numbers are the bundles' to
    // agree on, the service gives them no meaning.
    virtual bool GetModuleSwitch(const unsigned int& module) = 0;
    virtual void SetModuleSwitch(const unsigned int& module, const bool& on) = 0;

    // Whether `level` is on in the global switches; false for a level above 3.
    virtual bool IsLevelEnabled(const unsigned int& level) = 0;

    // The configuration item "bLogOutputPara"; what a value other than 0 governs is the callers'.
    virtual unsigned int IsLogOutputPara() = 0;
};

}  // namespace NS_LOG_SERVICE1
