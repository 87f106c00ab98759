#include "service/loggers.h"

#include <stdexcept>

namespace NS_BENCH {

ServiceLoggers::ServiceLoggers(const Job& job) : bundle_(job.directory, ""), asked_(job) {
    for (int i = 0; i < job.count; ++i) {
        if (bundle_.Log().GetLogger("bench", LoggerName(i), "corbaoper") == nullptr) {
            throw std::runtime_error("no logger " + LoggerName(i));
        }
    }
}

void ServiceLoggers::Record(int /*category*/, int number) {
    bundle_.Log().GetLogger("bench", asked_.At(number), "corbaoper");
}

void ServiceSwitching::Record(int /*category*/, int number) {
    Bundle().Maintenance().SetLevel(2, number % 2 != 0);
}

void ServiceStart::Record(int /*category*/, int /*number*/) {
    const ServiceBundle bundle(directory_, "");
}

}  // namespace NS_BENCH
