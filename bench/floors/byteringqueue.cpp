#include "floors/byteringqueue.h"

#include "floors/recordtext.h"
#include "harness/sample.h"

namespace NS_BENCH {

ByteRingQueue::ByteRingQueue(const Job& job) : file_(job.directory + "/queued.log") {
    queue_.reserve(kQueueLength * kRecordTextSize);
    full_.reserve(kQueueLength * kRecordTextSize);
}

void ByteRingQueue::Record(int /*category*/, int number) {
    char buffer[kRecordTextSize];
    char* const body = buffer + kTagSize;
    auto size = static_cast<size_t>(WriteRecordBody(body, number) - body);
    bool isFull = false;
    {
        const std::lock_guard<std::mutex> guard(queueMutex_);
        const char* const begin = WriteTags(buffer, size, ++lastNumber_);
        queue_.insert(queue_.end(), begin, begin + size);
        isFull = ++count_ >= kQueueLength;
    }
    if (isFull) {
        Write(kQueueLength);
    }
}

void ByteRingQueue::Write(int least) {
    const std::lock_guard<std::mutex> fileGuard(fileMutex_);
    {
        const std::lock_guard<std::mutex> queueGuard(queueMutex_);
        if (count_ < least) {
            return;  // another thread was quicker
        }
        queue_.swap(full_);
        count_ = 0;
    }
    file_.Write(full_.data(), full_.size());
    full_.clear();
}

void ByteRingQueue::Drain() {
    Write(1);
}

}  // namespace NS_BENCH
