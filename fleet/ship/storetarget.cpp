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
    : store_(Translated([&] { return RecordStore(url); })) {}

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
    waitingSize_ += part.bytes.size();
    waiting_.push_back({RowFile{handle, days_[handle]}, std::move(part)});
    if (waitingSize_ >= kBatch) {
        Flush();
    }
}

void StoreTarget::Flush() {
    std::vector<RecordStore::Entry> entries;
    entries.reserve(waiting_.size());
    for (const Waiting& waiting : waiting_) {
        entries.push_back({waiting.file, &waiting.part});
    }
    Translated([&] { return store_.Store(entries); });
    waiting_.clear();
    waitingSize_ = 0;
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
