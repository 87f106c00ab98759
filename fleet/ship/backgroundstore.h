// A second connection to the store, for as long as there is much to send.
#pragma once

#include <future>
#include <string>
#include <vector>

#include "store/recordstore.h"

namespace NS_LOG_FLEET {

// Parts of files that one transaction stores. A value.
struct StoreBatch {
    struct Item {
        RowFile file;
        FilePart part;
    };

    std::vector<Item> items;
    size_t bytes = 0;

    void Add(const RowFile& file, FilePart part) {
        bytes += part.bytes.size();
        items.push_back({file, std::move(part)});
    }

    // Throws StoreError.
    void StoreIn(RecordStore& store) const;
};

// Stores one batch at a time while its owner goes on.
//
// Thread safety: none.
class BackgroundStore {
  public:
    // Connects. Throws StoreError.
    explicit BackgroundStore(const std::string& url) : store_(url) {}

    BackgroundStore(const BackgroundStore&) = delete;
    BackgroundStore& operator=(const BackgroundStore&) = delete;

    bool IsBusy() const;

    // Call it when nothing is under way. Throws StoreError when the last batch was not stored; the
    // new one is not begun then.
    void Start(StoreBatch batch);

    // Waits for what is under way. Throws StoreError when it was not stored.
    void Await();

  private:
    RecordStore store_;
    std::future<void> underWay_;  // its destructor waits, before the connection goes
};

}  // namespace NS_LOG_FLEET
