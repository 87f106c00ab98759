// What hand-written code needs that does nothing but the job.
#include <stdexcept>

#include "floors/byteringqueue.h"
#include "floors/directoutput.h"
#include "floors/keptslots.h"
#include "floors/lookups.h"

namespace NS_BENCH {

std::unique_ptr<Contender> MakeContender(const Job& job) {
    if (job.subject == "direct" && job.way == "group") {
        return std::make_unique<GroupCommit>(job);
    }
    if (job.subject == "direct" || job.subject == "rotation") {
        return std::make_unique<LockedWrite>(job);
    }
    if (job.subject == "queued" || job.subject == "paced") {
        return std::make_unique<ByteRingQueue>(job);
    }
    if (job.subject == "kept" || job.subject == "dump") {
        return std::make_unique<KeptSlots>(job);
    }
    if (job.subject == "getlogger") {
        return std::make_unique<NameTable>(job);
    }
    if (job.subject == "asn") {
        return std::make_unique<PrintedMessage>(job);
    }
    throw std::invalid_argument("no subject " + job.subject);
}

}  // namespace NS_BENCH
