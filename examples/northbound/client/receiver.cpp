// What a client does when it is told of alarms.
#include "client/receiver.h"

#include <unistd.h>

#include <cstdio>

namespace NS_NORTHBOUND {

namespace {

void PrintChange(const Northbound::Alarm& alarm) {
    const char* const what = !alarm.isActive        ? "has gone"
                             : alarm.isAcknowledged ? "is acknowledged"
                                                    : "has come";
    std::printf("alarm %llu of element %u: %s %s\n", static_cast<unsigned long long>(alarm.id),
                alarm.element, alarm.cause.in(), what);
}

}  // namespace

Receiver::Receiver(bool prints, unsigned int answers) : prints_(prints), answers_(answers) {}

void Receiver::AnswerOrHang() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (calls_ < answers_) {
            ++calls_;
            return;
        }
    }
    std::printf("answering no more\n");
    std::fflush(stdout);
    for (;;) {
        pause();
    }
}

void Receiver::ping() {
    AnswerOrHang();
}

void Receiver::alarmsChanged(const Northbound::AlarmSeq& changes) {
    AnswerOrHang();
    for (CORBA::ULong i = 0; prints_ && i < changes.length(); ++i) {
        PrintChange(changes[i]);
    }
    std::fflush(stdout);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        changes_ += changes.length();
    }
    told_.notify_all();
}

void Receiver::Await(unsigned int changes) {
    std::unique_lock<std::mutex> lock(mutex_);
    told_.wait(lock, [this, changes] { return changes_ >= changes; });
}

unsigned int Receiver::Count() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return changes_;
}

}  // namespace NS_NORTHBOUND
