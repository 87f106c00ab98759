// The interface object of a bundle with work. It tells the agent when the work has ended.
#pragma once

#include <atomic>
#include <string>

#include "common/eventdescriptor.h"
#include "qv_host/workingbundle.h"

namespace NS_REFERENCE_HOST {

// Thread safety: any thread may call any operation.
class WorkInterface : public WorkingBundle {
  public:
    explicit WorkInterface(const std::string& name);

    std::string GetIFName() const override;
    bool IsValid() const override;
    int DoneDescriptor() const override;
    bool HasSucceeded() const override;

    // The working thread calls this at its end.
    void Finish(bool success);

  private:
    const std::string name_;
    EventDescriptor done_;
    std::atomic<bool> success_{false};  // written before done_ is signalled
};

}  // namespace NS_REFERENCE_HOST
