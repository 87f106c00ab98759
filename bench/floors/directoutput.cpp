#include "floors/directoutput.h"

#include <sched.h>

#include "floors/recordtext.h"
#include "harness/sample.h"

namespace NS_BENCH {

namespace {

std::string PathOf(const Job& job, int category) {
    return job.directory + "/" + kCategories[category] + ".log";
}

}  // namespace

LockedWrite::LockedWrite(const Job& job)
    : directory_(job.directory), rotates_(job.subject == "rotation") {
    for (int i = 0; i < job.categories; ++i) {
        targets_.push_back(std::make_unique<Target>(PathOf(job, i)));
    }
}

void LockedWrite::Record(int category, int number) {
    char buffer[kRecordTextSize];
    char* const body = buffer + kTagSize;
    auto size = static_cast<size_t>(WriteRecordBody(body, number) - body);
    Target& target = *targets_[static_cast<size_t>(category)];
    const std::lock_guard<std::mutex> guard(target.mutex);
    const char* const begin = WriteTags(buffer, size, ++target.lastNumber);
    target.file.Write(begin, size);
    RotateIfFull(target);
}

void LockedWrite::RotateIfFull(Target& target) const {
    if (rotates_ && target.file.Size() >= kRotationSize) {
        target.file.Rotate(directory_ + "/" + std::to_string(++target.rotations % 5) + ".log");
    }
}

GroupCommit::GroupCommit(const Job& job) {
    for (int i = 0; i < job.categories; ++i) {
        targets_.push_back(std::make_unique<Target>(PathOf(job, i)));
    }
}

void GroupCommit::Record(int category, int number) {
    char buffer[kRecordTextSize];
    char* const body = buffer + kTagSize;
    auto size = static_cast<size_t>(WriteRecordBody(body, number) - body);
    Target& target = *targets_[static_cast<size_t>(category)];
    std::unique_lock<std::mutex> guard(target.mutex);
    const uint64_t mine = ++target.left;
    const char* const begin = WriteTags(buffer, size, static_cast<uint32_t>(mine));
    target.pending.insert(target.pending.end(), begin, begin + size);
    if (target.writing) {
        guard.unlock();
        while (target.written.load(std::memory_order_acquire) < mine) {
            sched_yield();
        }
        return;
    }
    target.writing = true;
    guard.unlock();
    WriteAll(target);
}

void GroupCommit::WriteAll(Target& target) {
    std::unique_lock<std::mutex> guard(target.mutex);
    while (!target.pending.empty()) {
        target.batch.swap(target.pending);
        const uint64_t taken = target.left;
        guard.unlock();
        target.file.Write(target.batch.data(), target.batch.size());
        target.batch.clear();
        target.written.store(taken, std::memory_order_release);
        guard.lock();
    }
    target.writing = false;
}

}  // namespace NS_BENCH
