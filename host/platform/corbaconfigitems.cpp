// Which configuration store the process uses, and lookups in a list of items.
#include "bundlemgr/corbaconfigitems.h"

#include <atomic>

#include "fileconfigitems.h"
#include "hostcontrol.h"

namespace {

std::atomic<NS_BUNDLEMGR1::CorbaConfigItems*> chosenItems{nullptr};  // null: the file's

}  // namespace

namespace NS_BUNDLEMGR1 {

bool GetValByKey(std::string& value, const std::string& key,
                 const std::vector<NameValueStru>& items) {
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        if (item->name == key) {
            value = item->value;
            return true;
        }
    }
    return false;
}

CorbaConfigItems* CorbaConfigItems::Instance() {
    CorbaConfigItems* chosen = chosenItems.load(std::memory_order_acquire);
    return chosen == nullptr ? &NS_REFERENCE_HOST::FileConfigItems::Instance() : chosen;
}

}  // namespace NS_BUNDLEMGR1

namespace NS_REFERENCE_HOST {

void SetConfigItems(NS_BUNDLEMGR1::CorbaConfigItems* items) {
    chosenItems.store(items, std::memory_order_release);
}

}  // namespace NS_REFERENCE_HOST
