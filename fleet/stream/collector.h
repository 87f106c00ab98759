// Stores what comes through the stream of one shard.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "store/recordstore.h"
#include "stream/message.h"
#include "stream/newermessages.h"
#include "stream/recentfiles.h"
#include "stream/streamconnection.h"
#include "stream/takencounts.h"

namespace NS_LOG_FLEET {

struct CollectSettings {
    StreamAddress stream;
    std::string store;  // postgresql://...
    uint32_t shard = 0;
    bool once = false;  // end when nothing more comes
    // Collectors of one store share it: none of them gives a store up at once that another one has
    // used, and a message that is refused while another one's are taken is to blame for that.
    std::shared_ptr<TakenCounts> taken = std::make_shared<TakenCounts>();
    std::shared_ptr<NewerMessages> newer = std::make_shared<NewerMessages>();
};

// A message is acknowledged when the store has it for good; what was not acknowledged comes again,
// here or at another collector of the same shard.
//
// Thread safety: `Stop` may be called by any thread and by a signal handler.
class Collector {
  public:
    explicit Collector(CollectSettings settings) : settings_(std::move(settings)) {}

    // Collects until `Stop`. Throws StreamError or StoreError when one of them refuses for a reason
    // that waiting does not remove, or one that has worked did so again and again. False: a message
    // could not be read, was not its sender's, or was refused by a store that takes others; it was
    // reported, and is not delivered again. Or there was one of a newer version, which is.
    bool Run();

    void Stop() { isStopped_ = true; }

  private:
    struct Arrived {
        OwnedMessage message;
        Message content;
        uint64_t takenBefore = 0;  // how many of its kind, before it was stored alone
    };

    using Selection = std::vector<const Arrived*>;

    void Pause(const std::string& reason);
    void Work();
    void Subscribe();
    bool Fetch();
    bool FetchOne(int64_t milliseconds);
    void Take(OwnedMessage message);
    void Refuse(natsMsg* message, const std::string& reason);
    void LeaveToNewer(natsMsg* message, const std::string& reason);
    void TellProgress();
    void ThrowIfStopped() const;
    void StoreWhatIsHeld();
    void StoreOneByOne();
    std::optional<StoreError> StoreEach();
    void RefuseWhereOthersAreTaken(const std::string& reason);
    std::optional<StoreError> StoreUntilDone(const Selection& messages);
    void ConnectToStore();
    void Store(const Selection& messages);
    RowFile FindFile(const FileIdentity& file);

    const CollectSettings settings_;
    std::unique_ptr<StreamConnection> connection_;
    StreamOwner<jsCtx, &jsCtx_Destroy> streams_;
    StreamOwner<natsSubscription, &natsSubscription_Destroy> subscription_;
    std::unique_ptr<RecordStore> store_;
    RecentFiles files_;
    int pause_ = 0;  // milliseconds
    bool hasWorked_ = false;
    int refusals_ = 0;       // in a row, by servers that have worked
    int storeRefusals_ = 0;  // in a row, of a connection to a store that has worked
    std::string problem_;
    bool hasTrouble_ = false;
    std::atomic<bool> isStopped_{false};
    std::vector<Arrived> held_;                   // has come, and is neither stored nor refused
    size_t heldBytes_ = 0;                        // of what the last Fetch has brought
    std::chrono::steady_clock::time_point told_;  // when the stream was told of progress
};

}  // namespace NS_LOG_FLEET
