#include "service/loggers.h"

#include <stdexcept>

#include "harness/loggername.h"

namespace NS_BENCH {

ServiceLoggers::ServiceLoggers(const Job& job) : bundle_(job.directory, "") {
    for (int i = 0; i < job.count; ++i) {
        names_.push_back(LoggerName(i));
        if (bundle_.Log().GetLogger("bench", names_.back(), "corbaoper") == nullptr) {
            throw std::runtime_error("no logger " + names_.back());
        }
    }
}

void ServiceLoggers::Record(int /*category*/, int number) {
    bundle_.Log().GetLogger("bench", names_[ScatteredIndex(number, names_.size())], "corbaoper");
}

void ServiceSwitching::Record(int /*category*/, int number) {
    Bundle().Maintenance().SetLevel(2, number % 2 != 0);
}

void ServiceStart::Record(int /*category*/, int /*number*/) {
    const ServiceBundle bundle(directory_, "");
}

}  // namespace NS_BENCH
