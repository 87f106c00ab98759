// The straight road: from the files into the store.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ship/backgroundstore.h"
#include "ship/target.h"
#include "store/recordstore.h"

namespace NS_LOG_FLEET {

// While much is to be sent, a second connection stores as well: one sends rows while the other
// waits for the disk. The marks of files stay right, because the store notes what lies behind a
// gap.
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
    bool IsSecondFree();
    void StoreFullBatch();

    const std::string url_;
    RecordStore store_;
    std::unique_ptr<BackgroundStore> second_;
    bool isSecondRefused_ = false;
    bool hadFullBatch_ = false;        // since the last Flush
    std::map<int64_t, int64_t> days_;  // of the files' names
    std::set<int64_t> complete_;       // of which the store knows it
    StoreBatch waiting_;               // what the next transaction stores
};

}  // namespace NS_LOG_FLEET
