// Stores what comes through the stream of one shard.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "store/recordstore.h"
#include "stream/message.h"
#include "stream/streamconnection.h"

namespace NS_LOG_FLEET {

struct CollectSettings {
    StreamAddress stream;
    std::string store;  // postgresql://...
    uint32_t shard = 0;
    bool once = false;  // end when nothing more comes
    // Whether the store has taken anything. Collectors of one store share it: none of them gives a
    // store up at once that another one has used.
    std::shared_ptr<std::atomic<bool>> hasStored = std::make_shared<std::atomic<bool>>(false);
};

// A message is acknowledged when the store has it for good; what was not acknowledged comes again,
// here or at another collector of the same shard.
//
// Thread safety: `Stop` may be called by any thread and by a signal handler.
class Collector {
  public:
    explicit Collector(CollectSettings settings) : settings_(std::move(settings)) {}

    // Collects until `Stop`. Throws StreamError or StoreError when one of them refuses for a reason
    // that waiting does not remove, or one that has worked did so again and again. False: a
    // message could not be read, was not its sender's or holds what the store takes in no column;
    // it was reported, and is not delivered again.
    bool Run();

    void Stop() { isStopped_ = true; }

  private:
    struct Arrived {
        OwnedMessage message;
        Message content;
    };

    // What is stored in one transaction.
    struct Batch {
        std::vector<Arrived> messages;
        size_t bytes = 0;
    };

    static void Report(std::string text);
    void Pause(const std::string& reason);
    void Work();
    void Subscribe();
    bool Fetch(Batch& batch);
    bool FetchOne(int64_t milliseconds, Batch& batch);
    void Take(natsMsg* message, Batch& batch);
    void Refuse(natsMsg* message, const std::string& reason);
    void StoreWhatIsTaken(Batch& batch);
    void StoreOneByOne(Batch& batch);
    std::optional<std::string> StoreUntilDone(const Batch& batch);
    std::optional<std::string> TryToStore(const Batch& batch);
    void StoreBatch(const Batch& batch);
    RowFile FindFile(const FileIdentity& file);
    static void Acknowledge(const Batch& batch);

    const CollectSettings settings_;
    std::unique_ptr<StreamConnection> connection_;
    StreamOwner<jsCtx, &jsCtx_Destroy> streams_;
    StreamOwner<natsSubscription, &natsSubscription_Destroy> subscription_;
    std::unique_ptr<RecordStore> store_;
    std::map<std::string, RowFile> files_;  // by subject
    int pause_ = 0;                         // milliseconds
    bool hasWorked_ = false;
    int refusals_ = 0;       // in a row, by servers that have worked
    int storeRefusals_ = 0;  // in a row, by a store that has worked
    std::string problem_;
    bool hasTrouble_ = false;
    std::atomic<bool> isStopped_{false};
};

}  // namespace NS_LOG_FLEET
