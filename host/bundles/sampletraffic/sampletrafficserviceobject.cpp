// The service object of the sample-traffic bundle.
#include "sampletraffic/sampletrafficserviceobject.h"

#include "common/arguments.h"
#include "common/report.h"
#include "qv_base_log/logservice.h"
#include "sampletraffic/sampletraffic.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kName[] = "qv_sample_traffic";

}  // namespace

SampleTrafficServiceObject::SampleTrafficServiceObject() : WorkingServiceObject(kName) {}

std::unique_ptr<Work> SampleTrafficServiceObject::PrepareWork(int argc, char* argv[]) {
    unsigned int threads = 4;
    unsigned int operations = 25;
    const bool read =
        ReadArguments(kName, argc, argv, {}, {},
                      {{"--threads", threads, 1, 256}, {"--operations", operations, 1, 1000000}});
    if (!read) {
        return nullptr;
    }
    NS_LOG_SERVICE1::LogSvcInterface* const service = NS_LOG_SERVICE1::FindLogService();
    if (service == nullptr) {
        Report(kName, "there is no logging service; is its bundle listed in front of this one?");
        return nullptr;
    }
    return std::make_unique<SampleTraffic>(*service, threads, operations);
}

}  // namespace NS_REFERENCE_HOST
