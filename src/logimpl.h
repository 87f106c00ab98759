// The service bundle: its factory, its service object and the interface it registers.
#pragma once

#include <ace/Service_Object.h>

#include <string>

#include "bundlemgr/serviceobjectbase.h"
#include "qv_base_log/logsvcinterface.h"

namespace NS_LOG_SERVICE1 {

// Holds no state. It forwards to the process's log manager, switch monitor and module switch table,
// which are created on their first use.
class LogSvcIFImpl : public LogSvcInterface {
  public:
    // Differs from the name under which the object is registered; see docs/compatibility.md.
    std::string GetIFName() const override { return "LogSvcInterface!"; }
    bool IsValid() const override { return true; }

    bool Init() override;
    void Fini() override;
    LoggerIF* GetLogger(const std::string& first, const std::string& second,
                        const std::string& category) override;
    unsigned int SetOutputMode(unsigned int mode) override;
    bool GetModuleSwitch(const unsigned int& module) override;
    void SetModuleSwitch(const unsigned int& module, const bool& on) override;
    bool IsLevelEnabled(const unsigned int& level) override;
    unsigned int IsLogOutputPara() override;
};

// The order of its life: the factory creates it, and creates and registers the interface; init;
// StopService, which ends the monitor's thread; fini, which also ends the thread when StopService
// was left out; the gobbler or the destructor, which do not touch the interface.
class qv_base_log : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    qv_base_log();

    // Ends the switch monitor's thread and waits until it has ended. Returns 0.
    int StopService() override;

    // Creates and stores the interface. Does not free one that is stored already.
    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;

    // Ends the service and deletes the interface. May be called without init, and twice. Returns 0.
    int fini() override;

    // Starts the service and ignores the arguments. Returns 0, or -1 when the configuration cannot
    // be reached. The interface stays registered then, until fini.
    int init(int argc, ACE_TCHAR* argv[]) override;

  private:
    LogSvcIFImpl* Interface() { return static_cast<LogSvcIFImpl*>(interface_); }
};

}  // namespace NS_LOG_SERVICE1

// The bundle's only exported symbol. Stores the function that frees the service object in
// `*gobbler`, unless `gobbler` is null. Then creates the object with its interface and registers
// the interface. Passes on exceptions; nothing is left allocated or registered then.
extern "C" __attribute__((visibility("default"))) ACE_Service_Object* _make_qv_base_log(
    ACE_Service_Object_Exterminator* gobbler);
