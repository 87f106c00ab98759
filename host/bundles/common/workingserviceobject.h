// The service object of a bundle that works: runs its work on a thread from `init` to the end.
#pragma once

#include <memory>
#include <thread>

#include "bundlemgr/serviceobjectbase.h"
#include "common/eventdescriptor.h"
#include "common/work.h"

namespace NS_REFERENCE_HOST {

class WorkInterface;

// Thread safety: as the base says, the manager's thread only.
class WorkingServiceObject : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    // `name` serves as the bundle's and as the service's name; it must outlive the object.
    explicit WorkingServiceObject(const char* name);
    ~WorkingServiceObject() override;

    // Prepares the work from the arguments and starts it. -1: it was refused, which is reported.
    int init(int argc, ACE_TCHAR* argv[]) override;

    // Ends the work early if it still runs, and waits for its end.
    int StopService() override;

    int fini() override;

    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;

  protected:
    // The work that the arguments ask for; null, after a report, when there is none to do.
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
