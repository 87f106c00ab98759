#include "ship/shipper.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <thread>
#include <utility>

#include "store/columntext.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::ReadError;

constexpr std::chrono::milliseconds kFlushInterval{500};

constexpr std::chrono::milliseconds kLongestWait{1000};

constexpr std::chrono::milliseconds kFirstPause{200};
constexpr std::chrono::milliseconds kLongestPause{5000};

// A shipper that is to stop and does not wait for its target does so within this time.
constexpr std::chrono::milliseconds kLongestSleep{200};

// What a target that has worked refuses may be a connection that broke in the middle of a greeting.
constexpr int kMostRefusals = 10;

}  // namespace

Shipper::Shipper(ShipSettings settings, MakeTarget makeTarget)
    : settings_(std::move(settings)),
      makeTarget_(std::move(makeTarget)),
      watch_(settings_.paths),
      finder_(settings_.paths),
      pace_(settings_.bytesPerSecond) {}

void Shipper::Report(const std::string& text) {
    std::fprintf(stderr, "qvlog: %s\n", text.c_str());
}

void Shipper::Trouble(const std::string& text) {
    hasTrouble_ = true;
    problem_ = text;
    Report(text);
}

// What lasts is told once, and stands in the host's state as long as it lasts.
void Shipper::ReportLasting(const std::string& text) {
    hasTrouble_ = true;
    Report(text);
}

void Shipper::NoteFailure(HostFile& file, const ReadError& error) {
    if (file.NoteFailure(error.what())) {
        ReportLasting(file.failure);
    }
    // It may have been removed.
    scans_ = scans_ || file.failures == kMostTries;
}

bool Shipper::Run() {
    bool hasSentAll = false;
    while (!isStopped_) {
        try {
            Connect();
            hasSentAll = Work();
            break;
        } catch (const TargetError& error) {
            target_.reset();
            if (!error.IsPassing() && (!hasWorked_ || ++refusals_ > kMostRefusals)) {
                throw;
            }
            AwaitTarget(error);
        }
    }
    if (settings_.once && !hasSentAll) {
        Trouble("stopped before all was sent");
    }
    return !hasTrouble_;
}

// What the last target had taken and not acknowledged is forgotten: the new one tells where to go
// on.
void Shipper::Connect() {
    target_ = makeTarget_();
    hasSentPart_ = false;
    for (HostFile& file : files_) {
        file.isAsked = false;
        file.isOpen = false;
    }
    scans_ = true;
    FindFiles();
    CompareWithTarget();
}

// What was sent has arrived.
void Shipper::NoteSuccess() {
    refusals_ = 0;
    hasWorked_ = true;
    if (pause_.count() != 0) {
        Report("sending goes on");
        pause_ = std::chrono::milliseconds(0);
        problem_.clear();
    }
}

void Shipper::AwaitTarget(const TargetError& error) {
    if (problem_ != error.what()) {
        problem_ = error.what();
        Report(problem_);
    }
    pause_ = std::clamp(pause_ * 2, kFirstPause, kLongestPause);
    SleepUntil(Clock::now() + pause_);
}

// Or until it is stopped.
void Shipper::SleepUntil(Clock::time_point end) const {
    for (Clock::time_point now = Clock::now(); !isStopped_ && now < end; now = Clock::now()) {
        std::this_thread::sleep_for(std::min<Clock::duration>(end - now, kLongestSleep));
    }
}

// Until it is stopped, or with `once` until all is sent. Returns whether it is.
bool Shipper::Work() {
    bool hasSentAll = false;
    while (!isStopped_ && !hasSentAll) {
        if (scans_ || Clock::now() - scanned_ >= finder_.Interval()) {
            FindFiles();
            DropRemovedFiles();
        }
        const bool hasSent = SendRound();
        if (!hasSent || Clock::now() - flushed_ >= kFlushInterval) {
            target_->Flush();
            flushed_ = Clock::now();
            // A piece that was left out shows nothing of the target.
            if (hasSentPart_ || !hasSent) {
                NoteSuccess();
            }
            LookAtIdle();
        }
        if (Clock::now() - told_ >= settings_.stateInterval) {
            TellState();
            CompareWithTarget();
        }
        if (hasSent) {
            continue;
        }
        hasSentAll = settings_.once && IsAllSent();
        if (!hasSentAll) {
            Wait();
        }
    }
    // What was told seconds ago had a backlog that has arrived since.
    target_->Flush();
    TellState();
    target_->Flush();
    return hasSentAll;
}

void Shipper::FindFiles() {
    scans_ = false;
    scanned_ = Clock::now();
    for (const std::string& problem : finder_.Find(files_)) {
        ReportLasting(problem);
    }
}

// A directory that is not mounted has no files, and none of them is removed. A copy of a removed
// file may have its name.
void Shipper::DropRemovedFiles() {
    if (!finder_.HasSearchedAll()) {
        return;
    }
    for (const HostFile& removed : FileFinder::TakeRemoved(files_)) {
        const bool isThere = std::any_of(files_.begin(), files_.end(), [&](const HostFile& file) {
            return file.isAsked && file.target.handle == removed.target.handle;
        });
        if (removed.EndsEarly()) {
            Report(removed.path + " was removed before it could be read to its end");
        }
        if (removed.isAsked && !isThere) {
            target_->NoteGone(removed.target.handle, removed.Unsent());
        }
    }
}

// What was removed while nobody looked, and what is to be sent again.
void Shipper::CompareWithTarget() {
    for (HostFile& file : files_) {
        try {
            OpenAtTarget(file);
        } catch (const ReadError& error) {
            NoteFailure(file, error);
        }
    }
    for (const KnownFile& known : target_->FilesOf(settings_.host)) {
        const auto file = std::find_if(files_.begin(), files_.end(), [&](const HostFile& other) {
            return other.isAsked && other.target.handle == known.handle;
        });
        if (file != files_.end()) {
            TakeOrder(known, *file);
        } else if (!MayBeThere(known.name)) {
            NoteRemoved(known);
        }
    }
}

// Whether a file of this name is there, perhaps, of which it cannot be told which one it is.
bool Shipper::MayBeThere(const std::string& name) const {
    return finder_.MayHide(name) ||
           std::any_of(files_.begin(), files_.end(), [&](const HostFile& file) {
               return !file.failure.empty() && file.Name() == name;
           });
}

void Shipper::NoteRemoved(const KnownFile& known) {
    const uint64_t end = std::max(known.size, known.arrived);
    if (!known.isComplete) {
        const std::string gap =
            known.arrived < end
                ? "something is missing from byte " + std::to_string(known.arrived) + " on, and "
                : "";
        Trouble(known.name + " was removed before it was sent to its end; " + gap +
                "what is known of it ends at byte " + std::to_string(end));
    }
    target_->NoteGone(known.handle, end - known.arrived);
}

// An order that cannot be carried out now stays with the target.
void Shipper::TakeOrder(const KnownFile& known, HostFile& file) {
    if (!known.isWantedAgain || file.isSentAgain) {
        return;
    }
    try {
        file.Reopen();
    } catch (const ReadError& error) {
        NoteFailure(file, error);
        return;
    }
    Report(known.name + " is sent again");
    file.SetOffset(0);
    file.target.resumeAt = known.arrived;
    file.isSentAgain = true;
}

// False: the file's beginning is not there yet. Throws ReadError.
bool Shipper::OpenAtTarget(HostFile& file) {
    if (file.isOpen) {
        return true;
    }
    if (file.file && file.first.empty()) {
        file.file->Look(Clock::now());
        file.first = file.file->First();
    }
    if (file.first.empty()) {
        return false;
    }
    if (!file.isAsked) {
        file.target = target_->Open({settings_.host, file.Name(), file.first});
        file.isAsked = true;
    }
    file.ReopenIfUnknown();
    file.isOpen = true;
    if (file.file) {
        file.isSentAgain = file.isSentAgain || (settings_.again && !file.wasOpen);
        file.SetOffset(file.isSentAgain ? 0 : file.target.resumeAt);
    }
    file.wasOpen = true;
    return true;
}

// The file was emptied under its name, as it happens when it is full within its second. It is
// another one whatever fails from here on.
void Shipper::BeginAgain(HostFile& file) {
    const uint64_t offset = file.file->Offset();
    const uint64_t end = offset + file.file->Lost();
    Trouble(file.path + " was emptied and begins again; it was sent up to byte " +
            std::to_string(offset) + " of " + std::to_string(end));
    const bool wasOpen = file.isOpen;
    const uint64_t lost = file.BeginAgain();
    if (wasOpen) {
        target_->Flush();
        target_->NoteGone(file.target.handle, lost);
    }
}

bool Shipper::SendRound() {
    bool hasSent = false;
    for (size_t i = 0; i < files_.size() && !isStopped_; ++i) {
        HostFile& file = files_[i];
        if (!file.file || !file.IsDue(Clock::now())) {
            continue;
        }
        try {
            hasSent = SendFrom(file) || hasSent;
            file.NoteSuccess();
        } catch (const ReadError& error) {
            NoteFailure(file, error);
        }
    }
    return hasSent;
}

bool Shipper::SendFrom(HostFile& file) {
    if (!file.file->Look(Clock::now())) {
        BeginAgain(file);
    }
    FilePart part;
    if (!OpenAtTarget(file)) {
        return false;
    }
    if (!file.file->ReadPart(pace_.PartSize(), part)) {
        const std::optional<LeftOut> piece = file.file->TakeLeftOut();
        if (piece && file.NoteLeftOut(*piece)) {
            ReportLasting(file.omission);
        }
        return piece.has_value();
    }
    const size_t size = part.bytes.size();
    target_->Send(file.target.handle, std::move(part));
    hasSentPart_ = true;
    const Clock::time_point now = Clock::now();
    SleepUntil(now + pace_.Spend(size, now));
    return true;
}

// All of the file that is sent has arrived.
void Shipper::NoteEnd(HostFile& file) {
    if (file.isSentAgain) {
        target_->NoteSentAgain(file.target.handle);
        file.isSentAgain = false;
    }
    // A target that lacks some of it does not have all.
    if (file.leftOut.empty()) {
        target_->NoteComplete(file.target.handle, file.file->Size());
    }
}

// Everything that was read has arrived. Files that nobody writes any more are closed: those that
// wait for it must not wait for a backlog of others. No target knows a file that is empty.
void Shipper::LookAtIdle() {
    const Clock::time_point now = Clock::now();
    for (HostFile& file : files_) {
        const bool isEmpty = file.file && file.first.empty() && file.file->Size() == 0;
        if (!file.file || !(file.isOpen || isEmpty) || !file.file->IsOver(now)) {
            continue;
        }
        if (file.isOpen) {
            NoteEnd(file);
        }
        file.status = file.file->Status();
        file.file.reset();
    }
}

void Shipper::TellState() {
    told_ = Clock::now();
    HostState state;
    state.host = settings_.host;
    state.files = files_.size();
    // It may name a path, which may hold anything.
    state.problem = ColumnText(CurrentProblem());
    for (const HostFile& file : files_) {
        state.backlog += file.file ? file.file->Backlog() : 0;
    }
    target_->NoteHost(state);
}

std::string Shipper::CurrentProblem() const {
    const auto file = std::find_if(files_.begin(), files_.end(),
                                   [](const HostFile& each) { return !each.Problem().empty(); });
    return !problem_.empty()      ? problem_
           : file != files_.end() ? file->Problem()
                                  : finder_.Problem();
}

// But what cannot be read or found, again and again.
bool Shipper::IsAllSent() const {
    return finder_.HasTriedEnough() &&
           std::none_of(files_.begin(), files_.end(),
                        [](const HostFile& file) { return file.HasMoreToSend(); });
}

void Shipper::Wait() {
    DirectoryWatch::Changes changes =
        watch_.Wait(IsAllSent() ? kLongestWait : ShippedFile::kSettleTime / 2);
    if (changes.any) {
        std::this_thread::sleep_for(target_->Gathering());
        const DirectoryWatch::Changes more = watch_.Wait(std::chrono::milliseconds(0));
        changes.names = changes.names || more.names;
    }
    scans_ = scans_ || changes.names;
}

}  // namespace NS_LOG_FLEET
