#include "ship/backgroundstore.h"

#include <chrono>
#include <utility>

namespace NS_LOG_FLEET {

void StoreBatch::StoreIn(RecordStore& store) const {
    std::vector<RecordStore::Entry> entries;
    entries.reserve(items.size());
    for (const Item& item : items) {
        entries.push_back({item.file, &item.part});
    }
    store.Store(entries);
}

bool BackgroundStore::IsBusy() const {
    return underWay_.valid() &&
           underWay_.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

void BackgroundStore::Start(StoreBatch batch) {
    Await();
    underWay_ =
        std::async(std::launch::async, [this, batch = std::move(batch)] { batch.StoreIn(store_); });
}

void BackgroundStore::Await() {
    if (underWay_.valid()) {
        underWay_.get();
    }
}

}  // namespace NS_LOG_FLEET
