// The service, loaded as an agent loads it.
#pragma once

#include <memory>
#include <string>

#include "agent/bundle.h"
#include "qv_base_log/logmaintenanceinterface.h"
#include "qv_base_log/logsvcinterface.h"

namespace NS_BENCH {

// Writes a configuration below `directory` where there is none, makes it the share directory, loads
// the bundle and starts it; ends and unloads it again. What the service reports goes to standard
// error.
//
// Thread safety: one thread for its making and end, any in between.
class ServiceBundle {
  public:
    // `configuration` stands behind the lines that every measurement has. Throws what the loading
    // of a bundle throws.
    ServiceBundle(const std::string& directory, const std::string& configuration);
    ~ServiceBundle();

    ServiceBundle(const ServiceBundle&) = delete;
    ServiceBundle& operator=(const ServiceBundle&) = delete;

    NS_LOG_SERVICE1::LogSvcInterface& Log() const { return *log_; }
    NS_LOG_SERVICE1::LogMaintenanceInterface& Maintenance() const { return *maintenance_; }

  private:
    std::unique_ptr<NS_REFERENCE_HOST::Bundle> bundle_;
    NS_LOG_SERVICE1::LogSvcInterface* log_ = nullptr;
    NS_LOG_SERVICE1::LogMaintenanceInterface* maintenance_ = nullptr;
};

// The calling thread's operation from now on: that of the sample record.
void EnterSampleOperation();

}  // namespace NS_BENCH
