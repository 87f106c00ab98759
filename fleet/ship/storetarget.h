// The straight road: from the files into the store.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ship/target.h"
#include "store/recordstore.h"

namespace NS_LOG_FLEET {

class StoreTarget final : public Target {
  public:
    // Connects. Throws TargetError.
    explicit StoreTarget(const std::string& url);

    TargetFile Open(const FileIdentity& file) override;
    std::optional<KnownFile> Find(const FileIdentity& file) override;
    void Send(int64_t handle, FilePart part) override;
    void Flush() override;
    std::vector<KnownFile> FilesOf(const std::string& host) override;
    void NoteGone(int64_t handle, uint64_t lost) override;
    void NoteComplete(int64_t handle, uint64_t size) override;
    void NoteSentAgain(int64_t handle) override;
    void NoteHost(const HostState& state) override;

  private:
    struct Waiting {
        RowFile file;
        FilePart part;
    };

    RecordStore store_;
    std::map<int64_t, int64_t> days_;  // of the files' names
    std::set<int64_t> complete_;       // of which the store knows it
    std::vector<Waiting> waiting_;     // what the next transaction stores
    size_t waitingSize_ = 0;
};

}  // namespace NS_LOG_FLEET
