// A client that is told of alarms.
#include "bundle/subscriber.h"

#include <exception>

#include "bundle/conversions.h"
#include "common/report.h"
#include "network/operationidentifier.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logmacros.h"
#include "util/threadcontext.h"

namespace NS_NORTHBOUND {

namespace {

using NS_LOG_SERVICE1::LOG_LEVEL_0;
using NS_LOG_SERVICE1::LOG_LEVEL_1;
using NS_LOG_SERVICE1::LOG_LEVEL_2;

constexpr std::size_t kMostWaiting = 1000;

}  // namespace

Subscriber::Subscriber(const Loggers& loggers, const Caller& caller,
                       Northbound::AlarmReceiver_ptr receiver, unsigned int answerLimit)
    : loggers_(loggers),
      caller_(caller),
      receiver_(Northbound::AlarmReceiver::_duplicate(receiver)) {
    // Without a limit a client that hangs would keep the thread, and so the agent's end, for ever.
    omniORB::setClientCallTimeout(receiver_, answerLimit);
    receiver_->ping();
    thread_ = std::thread([this] { Run(); });
}

Subscriber::~Subscriber() {
    End();
    thread_.join();
}

void Subscriber::Tell(const Alarm& change) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        waiting_.push_back(change);
        if (waiting_.size() > kMostWaiting) {
            waiting_.pop_front();
            ++missed_;
        }
    }
    wake_.notify_one();
}

void Subscriber::End() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ends_ = true;
    }
    wake_.notify_one();
}

bool Subscriber::TakeChanges(std::vector<Alarm>& changes, std::size_t& missed) {
    std::unique_lock<std::mutex> lock(mutex_);
    wake_.wait(lock, [this] { return ends_ || !waiting_.empty(); });
    changes.assign(waiting_.begin(), waiting_.end());
    waiting_.clear();
    missed = missed_;
    missed_ = 0;
    return !ends_;
}

void Subscriber::CallBack(const std::vector<Alarm>& changes, std::size_t missed) {
    if (missed > 0) {
        QV_LOG_FORMAT(loggers_.notifications, LOG_LEVEL_1, "too slow: %zu changes are left out",
                      missed);
    }
    QV_LOG_FORMAT(loggers_.notificationDetails, LOG_LEVEL_2, "tell %zu changes", changes.size());
    Northbound::AlarmSeq sequence;
    ConvertAll(changes, sequence);
    receiver_->alarmsChanged(sequence);
}

// A client may go as soon as its session is closed, also while it is being told of a change: that
// is no failure.
void Subscriber::LogNoAnswer(const char* reason) {
    if (HasEnded()) {
        QV_LOG_FORMAT(loggers_.notifications, LOG_LEVEL_1,
                      "the subscription ends, the last call-back is not answered: %s", reason);
    } else {
        QV_LOG_FORMAT(loggers_.notifications, LOG_LEVEL_0,
                      "the subscription breaks off: the client does not answer: %s", reason);
    }
}

bool Subscriber::HasEnded() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return ends_;
}

void Subscriber::Run() {
    // The context is that of the call which made the subscription: its identifier leads to all of
    // what became of it.
    const NS_UTIL::ThreadContextScope context(
        NS_UTIL::ThreadContextInfo(static_cast<int>(caller_.session), "alarmsChanged", caller_.user,
                                   OperationIdentifier(caller_.session, caller_.call)));
    try {
        QV_LOG(loggers_.notifications, LOG_LEVEL_1, "the subscription begins");
        std::vector<Alarm> changes;
        std::size_t missed = 0;
        while (TakeChanges(changes, missed)) {
            CallBack(changes, missed);
        }
        QV_LOG(loggers_.notifications, LOG_LEVEL_1, "the subscription ends");
    } catch (const CORBA::Exception& error) {
        LogNoAnswer(error._name());
    } catch (const std::exception& error) {
        NS_REFERENCE_HOST::Report("qv_northbound",
                                  std::string("a subscription breaks off: ") + error.what());
    }
    done_.store(true);
}

}  // namespace NS_NORTHBOUND
