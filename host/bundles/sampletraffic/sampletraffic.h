// The traffic of a northbound agent with a handful of clients, as a sample: no client is needed.
#pragma once

#include "common/work.h"
#include "qv_base_log/logsvcinterface.h"

namespace NS_REFERENCE_HOST {

// Each thread stands for one client's session and carries out a fixed number of operations, one
// after the other, so the amount of records is the same in every run. All log categories and all
// levels occur.
//
// Thread safety: Run on one thread.
class SampleTraffic : public Work {
  public:
    SampleTraffic(NS_LOG_SERVICE1::LogSvcInterface& service, unsigned int threads,
                  unsigned int operations);

    // False when a session broke off, which is reported.
    bool Run(const EventDescriptor& stop) override;

  private:
    NS_LOG_SERVICE1::LogSvcInterface& service_;
    const unsigned int threads_;
    const unsigned int operations_;
};

}  // namespace NS_REFERENCE_HOST
