// The service object of a bundle with work. `init` starts a thread that does the work.
#pragma once

#include <memory>
#include <thread>

#include "bundlemgr/serviceobjectbase.h"
#include "common/eventdescriptor.h"
#include "common/work.h"

namespace NS_REFERENCE_HOST {

class WorkInterface;

// Thread safety: that of the base: the manager's thread only.
class WorkingServiceObject : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    // `name` is the name of the bundle and of the service. REQUIRES: it outlives the object.
    explicit WorkingServiceObject(const char* name);
    ~WorkingServiceObject() override;

    // Makes the work from the arguments and starts it. Reports a failure and returns -1.
    int init(int argc, ACE_TCHAR* argv[]) override;

    // Stops the work if it still runs, and waits for its end.
    int StopService() override;

    int fini() override;

    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;

  protected:
    // Makes the work for the arguments. Reports an error and returns null when there is none.
    virtual std::unique_ptr<Work> PrepareWork(int argc, char* argv[]) = 0;

  private:
    void RunWork() noexcept;

    const char* const name_;
    WorkInterface* working_ = nullptr;  // interface_ in its own type; the base owns it
    EventDescriptor stop_;
    std::unique_ptr<Work> work_;
    std::thread thread_;
};

}  // namespace NS_REFERENCE_HOST
