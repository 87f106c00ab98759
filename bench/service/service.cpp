// The service as a contender, through its bundle and its public interfaces.
#include <stdexcept>

#include "service/asntrace.h"
#include "service/loggers.h"
#include "service/memory.h"
#include "service/operations.h"
#include "service/records.h"

namespace NS_BENCH {

std::unique_ptr<Contender> MakeContender(const Job& job) {
    if (job.subject == "direct" || job.subject == "queued" || job.subject == "paced" ||
        job.subject == "kept" || job.subject == "rotation") {
        return std::make_unique<ServiceRecords>(job);
    }
    if (job.subject == "dump") {
        return std::make_unique<ServiceDump>(job);
    }
    if (job.subject == "getlogger") {
        return std::make_unique<ServiceLoggers>(job);
    }
    if (job.subject == "switchall") {
        return std::make_unique<ServiceSwitching>(job);
    }
    if (job.subject == "start") {
        return std::make_unique<ServiceStart>(job);
    }
    if (job.subject == "operator") {
        return std::make_unique<ServiceOperator>(job);
    }
    if (job.subject == "memory") {
        return std::make_unique<ServiceMemory>(job);
    }
    if (job.subject == "asn") {
        return std::make_unique<ServiceAsnTrace>(job);
    }
    throw std::invalid_argument("no subject " + job.subject);
}

}  // namespace NS_BENCH
