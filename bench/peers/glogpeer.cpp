// glog: one file, flushed after every record. It has no queue and keeps nothing back.
#include <glog/logging.h>

#include <cmath>
#include <iomanip>
#include <stdexcept>

#include "harness/contender.h"
#include "harness/sample.h"

namespace NS_BENCH {

namespace {

class GlogRecords : public Contender {
  public:
    explicit GlogRecords(const Job& job) {
        FLAGS_logtostderr = false;
        FLAGS_stderrthreshold = google::GLOG_FATAL;
        FLAGS_logbuflevel = -1;
        FLAGS_max_log_size = job.subject == "rotation" ? kRotationSize >> 20U : 2000;
        google::SetLogDestination(google::GLOG_INFO, (job.directory + "/info.").c_str());
        google::SetLogSymlink(google::GLOG_INFO, "");
        google::InitGoogleLogging("bench");
    }
    ~GlogRecords() override { google::ShutdownGoogleLogging(); }

    // It knows no operation of a thread and no function: the texts come with each record.
    void Record(int /*category*/, int number) override {
        google::LogMessage(kFile, kLine, google::GLOG_INFO).stream()
            << "Func:" << kFunction << ", " << kContext << "\n Detail: " << number
            << " network elements answered " << kAnswer << " after " << std::fixed
            << std::setprecision(3) << kSeconds << " s\n";
    }
};

}  // namespace

std::unique_ptr<Contender> MakeContender(const Job& job) {
    if ((job.subject != "direct" && job.subject != "rotation") || job.categories != 1) {
        throw std::invalid_argument("no subject " + job.subject);
    }
    return std::make_unique<GlogRecords>(job);
}

}  // namespace NS_BENCH
