// Alarms that come and go.
#include "bundle/alarmsource.h"

#include <json/value.h>

#include <array>
#include <chrono>
#include <exception>
#include <utility>

#include "common/report.h"
#include "qv_base_log/logmacros.h"
#include "util/threadcontext.h"

namespace NS_NORTHBOUND {

namespace {

constexpr unsigned int kSeed = 20;
constexpr std::size_t kActiveAtMost = 40;
constexpr std::array<const char*, 4> kCauses = {"loss of signal", "fan failed",
                                                "temperature above 60 \u00B0C", "port degraded"};

// An array, as the service takes alarms.
Json::Value ToJson(const Alarm& alarm, const std::string& element) {
    Json::Value alarms(Json::arrayValue);
    Json::Value& value = alarms.append(Json::objectValue);
    value["alarm"] = Json::UInt64(alarm.id);
    value["managedElement"] = element;
    value["probableCause"] = alarm.cause;
    value["perceivedSeverity"] = alarm.isActive ? NameOf(alarm.severity) : "cleared";
    return alarms;
}

}  // namespace

AlarmSource::AlarmSource(const Loggers& loggers, const Network& network, AlarmBoard& board,
                         unsigned int perSecond, std::function<void(const Alarm&)> told)
    : loggers_(loggers),
      network_(network),
      board_(board),
      perSecond_(perSecond),
      told_(std::move(told)),
      random_(kSeed) {}

AlarmSource::~AlarmSource() {
    Stop();
}

void AlarmSource::Start() {
    if (perSecond_ > 0) {
        thread_ = std::thread([this] { Run(); });
    }
}

void AlarmSource::Stop() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stops_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

Alarm AlarmSource::Change() {
    Alarm changed;
    if (board_.Count() >= kActiveAtMost && board_.ClearOldest(changed)) {
        return changed;
    }
    const auto draw = static_cast<uint32_t>(random_());
    return board_.Raise(draw % network_.Count() + 1, kCauses[draw / 16 % kCauses.size()],
                        static_cast<Severity>(draw / 64 % 4));
}

void AlarmSource::Run() {
    const NS_UTIL::ThreadContextScope context(
        NS_UTIL::ThreadContextInfo(0, "alarmSource", "agent", ""));
    const std::chrono::microseconds period(1000000 / perSecond_);
    std::unique_lock<std::mutex> lock(mutex_);
    while (!wake_.wait_for(lock, period, [this] { return stops_; })) {
        lock.unlock();
        try {
            const Alarm changed = Change();
            // Inside of the macro, which does without the JSON where nobody logs.
            QV_LOG_ALARM(loggers_.alarms, ToJson(changed, network_.Find(changed.element).name));
            told_(changed);
        } catch (const std::exception& error) {
            NS_REFERENCE_HOST::Report("qv_northbound",
                                      std::string("an alarm is lost: ") + error.what());
        }
        lock.lock();
    }
}

}  // namespace NS_NORTHBOUND
