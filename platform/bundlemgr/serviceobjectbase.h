// The base of every bundle's service object: what a bundle's factory returns to the manager.
#pragma once

#include <ace/Service_Object.h>

#include <string>

#include "bundlemgr/platformapi.h"
#include "bundlemgr/serviceinterface.h"

namespace NS_BUNDLEMGR1 {

// The bundle manager calls, in this order: the bundle's factory, `init`, later `StopService`,
// `fini`, and then frees the object through the gobbler that the factory handed out. `init` and
// `fini` are reached through either ACE base.
//
// Virtual slots behind those of ACE_Service_Object: UnRegistSvc, GetName, StopService,
// GetInterface, CreateInterface, RemoveInterface, and then whatever the derived class adds.
//
// Thread safety: the manager calls all operations on one thread; GetName and GetInterface may be
// called by any thread while the manager's lock is held.
class QV_PLATFORM_API ServiceObjectBase : public ACE_Service_Object {
  public:
    // Both names are copied. They identify the service in diagnostics: "bundle" + "service".
    ServiceObjectBase(const char* bundleName, const char* serviceName);

    // Takes the object off the manager's list. Does not touch the interface object.
    ~ServiceObjectBase() override;

    ServiceObjectBase(const ServiceObjectBase&) = delete;
    ServiceObjectBase& operator=(const ServiceObjectBase&) = delete;

    // Takes the interface object out of the registry, so that no new user finds it. Returns 0.
    virtual int UnRegistSvc();

    // The service name given at construction.
    virtual std::string GetName() const;

    // Ends what the service runs in the background. Returns 0, or -1 when something still runs.
    virtual int StopService();

    // The interface object, or null before CreateInterface and after RemoveInterface.
    virtual ServiceInterface* GetInterface();

    // Creates the interface object, stores it and returns it. The base has none: returns null.
    virtual ServiceInterface* CreateInterface();

    // Takes the interface object out of the registry, deletes it through its virtual destructor
    // and clears the pointer. Without an interface object it does nothing.
    virtual void RemoveInterface();

  protected:
    // Owned by this object; a plain pointer because derived classes of other builds set it.
    ServiceInterface* interface_ = nullptr;

  private:
    std::string bundleName_;
    std::string serviceName_;
};

}  // namespace NS_BUNDLEMGR1
