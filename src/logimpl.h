// The service bundle: its factory, its service object and the interface it registers.
#pragma once

#include <ace/Service_Object.h>

#include <string>

#include "bundlemgr/serviceobjectbase.h"
#include "qv_base_log/logsvcinterface.h"

namespace NS_LOG_SERVICE1 {

// Holds no state: everything is forwarded to the process's log manager, switch monitor and module
// switch table, which are created when they are first needed.
class LogSvcIFImpl : public LogSvcInterface {
  public:
    // The trailing "!" tells the object's own name from the one it is registered under.
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

// Life: made by the factory, which also makes and registers the interface; init; in service;
// StopService, which ends the monitor's thread and should come first; fini, which ends a thread
// that was forgotten; freed through the gobbler or its destructor, which leave the interface alone.
class qv_base_log : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    qv_base_log();

    // Ends the switch monitor's thread and waits for its end. Returns 0.
    int StopService() override;

    // Creates the interface and stores it; an interface that is there already is not freed.
    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;

    // Ends the service and deletes the interface. Harmless without init, and a second time.
    // Returns 0.
    int fini() override;

    // Starts the service; the arguments are ignored. Returns 0, or -1 when the configuration was
    // out of reach: the interface stays registered, and fini cleans up.
    int init(int argc, ACE_TCHAR* argv[]) override;

  private:
    LogSvcIFImpl* Interface() { return static_cast<LogSvcIFImpl*>(interface_); }
};

}  // namespace NS_LOG_SERVICE1

// The bundle's one exported symbol. Stores the function that frees the service object in
// `*gobbler`, unless that is null; then creates the object with its interface and registers the
// interface. What is thrown passes out and leaves nothing behind.
extern "C" __attribute__((visibility("default"))) ACE_Service_Object* _make_qv_base_log(
    ACE_Service_Object_Exterminator* gobbler);
