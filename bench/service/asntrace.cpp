#include "service/asntrace.h"

#include <stdexcept>

#include "harness/sample.h"

namespace NS_BENCH {

namespace {

bool Masks(const std::string& way) {
    if (way != "PrintAsn" && way != "LogAsnTrace") {
        throw std::invalid_argument("no way " + way);
    }
    return way == "LogAsnTrace";
}

}  // namespace

// Level 3 is on, or LogAsnTrace would not print. The files are small enough for a long run not to
// fill the disk.
ServiceAsnTrace::ServiceAsnTrace(const Job& job)
    : file_(kFile),
      function_(kFunction),
      masks_(Masks(job.way)),
      message_(static_cast<size_t>(job.count)),
      bundle_(job.directory, "logswitch = 1,1,1,1\nlogfilesize = 100000000\n"),
      logger_(bundle_.Log().GetLogger("bench", "asn", "corbaoper")) {}

void ServiceAsnTrace::Record(int /*category*/, int /*number*/) {
    if (masks_) {
        logger_->LogAsnTrace(file_, function_, kLine, message_);
    } else {
        logger_->PrintAsn(file_, function_, kLine, message_);
    }
}

}  // namespace NS_BENCH
