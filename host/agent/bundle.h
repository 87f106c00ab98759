// One bundle: its library and its service object.
#pragma once

#include <ace/Service_Object.h>
#include <ace/Service_Types.h>

#include <memory>
#include <string>
#include <vector>

#include "agent/configuredbundles.h"
#include "agent/sharedlibrary.h"
#include "bundlemgr/serviceobjectbase.h"
#include "qv_host/workingbundle.h"

namespace NS_REFERENCE_HOST {

// The constructor loads the library and the destructor unloads it. Between them the owner calls
// Init, StopService, and FiniAndFree or LeaveRunning, in this order, also when Init failed: part of
// the bundle may be running.
//
// Thread safety: one thread.
class Bundle {
  public:
    // Loads the library and calls its factory. Throws AgentError.
    explicit Bundle(const BundleEntry& entry);
    ~Bundle() = default;

    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    const std::string& Name() const { return entry_.name; }

    // Starts the service. Throws AgentError when it refuses.
    void Init();

    // Both report a failure on standard error and return false.
    bool StopService();
    bool FiniAndFree();

    // In place of FiniAndFree: the object and the library stay until the process has ended.
    void LeaveRunning();

    // Returns the bundle's interface if it has work to do, else null. Valid until FiniAndFree.
    // Throws what the bundle throws.
    const WorkingBundle* FindWork() const;

  private:
    // Frees the object by the function that the factory returned.
    struct Gobbler {
        ACE_Service_Object_Exterminator free;
        void operator()(ACE_Service_Object* object) const;
    };
    using ServiceObject = std::unique_ptr<ACE_Service_Object, Gobbler>;

    ServiceObject MakeServiceObject() const;
    NS_BUNDLEMGR1::ServiceObjectBase* Base() const;

    BundleEntry entry_;
    std::vector<char*> argumentVector_;  // points into entry_
    std::unique_ptr<SharedLibrary> library_;
    ServiceObject object_;  // destroyed before the library, whose code frees it
};

}  // namespace NS_REFERENCE_HOST
