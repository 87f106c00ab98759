// The sample traffic: sessions on threads of their own.
#include "sampletraffic/sampletraffic.h"

#include <atomic>
#include <exception>
#include <thread>
#include <vector>

#include "common/report.h"
#include "qv_base_log/loglevel.h"
#include "sampletraffic/loggers.h"
#include "sampletraffic/operation.h"

namespace NS_REFERENCE_HOST {

namespace {

// Detailed records are kept back, and are written when an error occurs.
void KeepFineDetailBack(NS_LOG_SERVICE1::LoggerIF& logger) {
    logger.DisableLevel(NS_LOG_SERVICE1::LOG_LEVEL_2);
    logger.DisableLevel(NS_LOG_SERVICE1::LOG_LEVEL_3);
}

// Waits for the sessions to end, also when an exception leaves the block.
//
// Thread safety: one thread.
class Sessions {
  public:
    Sessions() = default;
    ~Sessions() {
        for (std::thread& session : threads_) {
            session.join();
        }
    }

    Sessions(const Sessions&) = delete;
    Sessions& operator=(const Sessions&) = delete;

    template <typename Function>
    void Start(Function function) {
        threads_.emplace_back(function);
    }

  private:
    std::vector<std::thread> threads_;
};

void RunSession(const Loggers& loggers, unsigned int session, unsigned int operations,
                const EventDescriptor& stop) {
    ReportSessionOpened(loggers, session);
    for (unsigned int number = 0; number < operations && !stop.IsSignalled(); ++number) {
        Operation(loggers, session, number).Run();
    }
    ReportSessionClosed(loggers, session);
}

}  // namespace

SampleTraffic::SampleTraffic(NS_LOG_SERVICE1::LogSvcInterface& service, unsigned int threads,
                             unsigned int operations)
    : service_(service), threads_(threads), operations_(operations) {}

bool SampleTraffic::Run(const EventDescriptor& stop) {
    const Loggers loggers(service_);
    KeepFineDetailBack(loggers.debug);
    std::atomic<bool> success{true};
    {
        Sessions sessions;
        for (unsigned int session = 1; session <= threads_; ++session) {
            sessions.Start([this, &loggers, &stop, &success, session] {
                try {
                    RunSession(loggers, session, operations_, stop);
                } catch (const std::exception& error) {
                    Report("qv_sample_traffic", error.what());
                    success.store(false);
                }
            });
        }
    }
    return success.load();
}

}  // namespace NS_REFERENCE_HOST
