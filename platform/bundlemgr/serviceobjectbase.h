// The base of every bundle's service object: what a bundle's factory returns to the manager.
#pragma once

#include <ace/Service_Object.h>

#include <string>

#include "bundlemgr/platformapi.h"
#include "bundlemgr/serviceinterface.h"

namespace NS_BUNDLEMGR1 {

// The bundle manager calls, in this order, the bundle's factory, `init`, `StopService` and `fini`.
// Then it frees the object through the gobbler that the factory has returned. It may call `init`
// and `fini` through either ACE base.
//
// Virtual slots after those of ACE_Service_Object: UnRegistSvc, GetName, StopService,
// GetInterface, CreateInterface, RemoveInterface, and then those of the derived class.
//
// Thread safety: the manager calls all operations on one thread. Any thread that holds the
// manager's lock may call GetName and GetInterface.
class QV_PLATFORM_API ServiceObjectBase : public ACE_Service_Object {
  public:
    // Copies both names. Joined without a separator, they identify the service in diagnostics. May
    // throw std::bad_alloc.
    ServiceObjectBase(const char* bundleName, const char* serviceName);

    // Removes the object from the manager's list. Does not touch the interface object.
    ~ServiceObjectBase() override;

    ServiceObjectBase(const ServiceObjectBase&) = delete;
    ServiceObjectBase& operator=(const ServiceObjectBase&) = delete;

    // Removes the interface object from the registry, so that no new user finds it. Returns 0.
    virtual int UnRegistSvc();

    // Returns the service name.
    virtual std::string GetName() const;

    // Ends the service's threads. Returns 0, or -1 when one still runs.
    virtual int StopService();

    // Returns the interface object, or null before CreateInterface and after RemoveInterface.
    virtual ServiceInterface* GetInterface();

    // Creates the interface object, stores it and returns it. The base class has none and returns
    // null.
    virtual ServiceInterface* CreateInterface();

    // Removes the interface object from the registry, deletes it through its virtual destructor and
    // clears the pointer. Does nothing without an interface object.
    virtual void RemoveInterface();

  protected:
    // Owned by this object. A plain pointer, because derived classes of other builds set it.
    ServiceInterface* interface_ = nullptr;

  private:
    std::string bundleName_;
    std::string serviceName_;
};

}  // namespace NS_BUNDLEMGR1
