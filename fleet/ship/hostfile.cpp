#include "ship/hostfile.h"

#include <algorithm>
#include <utility>

#include "input/bytesource.h"

namespace NS_LOG_FLEET {

bool HostFile::IsDue(ShippedFile::Clock::time_point now) const {
    return failures == 0 || now - failed >= kRetryInterval;
}

// A descriptor whose file has moved on its server stays stale for ever; the path may be good.
bool HostFile::NoteFailure(const std::string& reason) {
    ++failures;
    failed = ShippedFile::Clock::now();
    if (file && failures % 2 == 0) {
        file->OpenAgain();
    }
    return std::exchange(failure, reason) != reason;
}

void HostFile::NoteSuccess() {
    failures = 0;
    failure.clear();
}

bool HostFile::NoteLeftOut(const LeftOut& piece) {
    leftOut.push_back(piece);
    if (!omission.empty()) {
        return false;
    }
    omission = path + ": the record at byte " + std::to_string(piece.offset) + " has " +
               std::to_string(piece.size) + " bytes, more than " + std::to_string(kLargestPiece) +
               ": it is not sent";
    return true;
}

uint64_t HostFile::LeftOutSize() const {
    uint64_t size = 0;
    for (const LeftOut& piece : leftOut) {
        size += piece.size;
    }
    return size;
}

// Of an idle file that could not be opened for a new target, what that target lacks.
uint64_t HostFile::Unsent() const {
    if (file) {
        return LeftOutSize() + file->Backlog();
    }
    return isOpen ? LeftOutSize() : IdleSize() - std::min(IdleSize(), target.resumeAt);
}

void HostFile::SetOffset(uint64_t offset) {
    leftOut.erase(std::remove_if(leftOut.begin(), leftOut.end(),
                                 [&](const LeftOut& piece) { return piece.offset >= offset; }),
                  leftOut.end());
    file->SetOffset(offset);
}

uint64_t HostFile::BeginAgain() {
    const uint64_t end = file->Offset() + file->Lost();
    // What is sent again by an order had arrived before.
    const uint64_t arrived = std::max(file->Offset(), target.resumeAt);
    const uint64_t lost = end - std::min(end, arrived) + LeftOutSize();
    leftOut.clear();
    omission.clear();
    isAsked = false;
    isOpen = false;
    isSentAgain = false;
    first.clear();
    file->Restart();
    return lost;
}

void HostFile::Reopen() {
    if (file) {
        return;
    }
    auto opened = std::make_unique<ShippedFile>(path);
    opened->Look(ShippedFile::Clock::now());
    file = std::move(opened);
}

bool HostFile::GoOnWith(std::unique_ptr<ShippedFile>& opened) {
    opened->Look(ShippedFile::Clock::now());
    if (opened->First() != first || opened->Size() < IdleSize()) {
        return false;
    }
    file = std::move(opened);
    if (isOpen) {
        file->SetOffset(IdleSize());
    }
    return true;
}

void HostFile::ReopenIfUnknown() {
    if (!target.isComplete || target.resumeAt < IdleSize()) {
        Reopen();
    }
}

}  // namespace NS_LOG_FLEET
