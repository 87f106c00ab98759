#include "ship/storetarget.h"

#include <utility>

namespace NS_LOG_FLEET {
namespace {

// A transaction stores about so many bytes of files: each costs a write to the disk that is waited
// for.
constexpr size_t kBatch = size_t{4} * 1024 * 1024;

// Carries out what may throw StoreError.
template <class Work>
auto Translated(Work work) {
    try {
        return work();
    } catch (const StoreError& error) {
        throw TargetError(std::string("the store: ") + error.what(), error.IsPassing());
    }
}

KnownFile MakeKnown(const StoredFile& file) {
    return {file.id,           file.name, file.first,
            file.stored,       file.size, file.isComplete && file.stored >= file.size,
            file.isWantedAgain};
}

}  // namespace

StoreTarget::StoreTarget(const std::string& url)
    : url_(url), store_(Translated([&] { return RecordStore(url); })) {}

TargetFile StoreTarget::Open(const FileIdentity& file) {
    const StoredFile stored = Translated([&] { return store_.FindFile(file); });
    days_[stored.id] = DayOfName(file.name);
    if (stored.isComplete) {
        complete_.insert(stored.id);
    }
    return {stored.id, stored.stored, stored.isComplete};
}

std::optional<KnownFile> StoreTarget::Find(const FileIdentity& file) {
    const std::optional<StoredFile> stored = Translated([&] { return store_.LookUp(file); });
    return stored ? std::optional<KnownFile>(MakeKnown(*stored)) : std::nullopt;
}

void StoreTarget::Send(int64_t handle, FilePart part) {
    waiting_.Add(RowFile{handle, days_[handle]}, std::move(part));
    if (waiting_.bytes >= kBatch) {
        Translated([&] { StoreFullBatch(); });
    }
}

// A store that has no more connections to give is sent to over the first one.
bool StoreTarget::IsSecondFree() {
    if (!second_ && !isSecondRefused_) {
        try {
            second_ = std::make_unique<BackgroundStore>(url_);
        } catch (const StoreError&) {
            isSecondRefused_ = true;
        }
    }
    return second_ && !second_->IsBusy();
}

void StoreTarget::StoreFullBatch() {
    hadFullBatch_ = true;
    if (IsSecondFree()) {
        second_->Start(std::exchange(waiting_, StoreBatch()));
        return;
    }
    waiting_.StoreIn(store_);
    waiting_ = StoreBatch();
}

void StoreTarget::Flush() {
    Translated([&] {
        waiting_.StoreIn(store_);
        waiting_ = StoreBatch();
        if (second_) {
            second_->Await();
        }
    });
    // Many hosts share the store's connections.
    if (!hadFullBatch_) {
        second_.reset();
    }
    hadFullBatch_ = false;
}

std::vector<KnownFile> StoreTarget::FilesOf(const std::string& host) {
    std::vector<KnownFile> files;
    for (const StoredFile& file : Translated([&] { return store_.FilesOf(host); })) {
        files.push_back(MakeKnown(file));
    }
    return files;
}

void StoreTarget::NoteGone(int64_t handle, uint64_t lost) {
    Translated([&] { store_.NoteGone(handle, lost); });
    days_.erase(handle);
    complete_.erase(handle);
}

void StoreTarget::NoteComplete(int64_t handle, uint64_t size) {
    if (complete_.insert(handle).second) {
        Translated([&] { store_.NoteComplete(handle, size); });
    }
}

void StoreTarget::NoteSentAgain(int64_t handle) {
    Translated([&] { store_.NoteSentAgain(handle); });
}

void StoreTarget::NoteHost(const HostState& state) {
    Translated([&] { store_.NoteHost(state); });
}

}  // namespace NS_LOG_FLEET
