// A configuration store whose items and failures the test decides.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "bundlemgr/processexception.h"

namespace NS_TEST {

// Raises what a store raises that is out of reach, with texts that a test recognises.
[[noreturn]] inline void RaiseStoreOutOfReach() {
    throw NS_BUNDLEMGR1::InterfaceNotExistException(4711, "store.cpp", "Store::Read",
                                                    "the store is out of reach");
}

// Thread safety: any thread may read items; they and the hooks are set under no lock, before the
// readers start or through Set.
class ScriptedConfigItems : public NS_BUNDLEMGR1::CorbaConfigItems {
  public:
    using Hook = std::function<void()>;

    // Puts `value` in the place of whatever stands under `name`, or behind the other items.
    void Set(const std::string& name, const std::string& value) {
        const std::lock_guard<std::mutex> guard(mutex_);
        for (NS_BUNDLEMGR1::NameValueStru& item : items_) {
            if (item.name == name) {
                item.value = value;
                return;
            }
        }
        items_.push_back({name, value});
    }

    // Adds an item, even when there is one of that name.
    void Add(const std::string& name, const std::string& value) {
        const std::lock_guard<std::mutex> guard(mutex_);
        items_.push_back({name, value});
    }

    // Called when single item `name` is asked for, before the answer; may throw.
    void OnAsked(const std::string& name, const Hook& hook) { onAsked_[name] = hook; }

    // Called when all items are asked for, before the answer; may throw.
    void OnAllAsked(const Hook& hook) {
        const std::lock_guard<std::mutex> guard(mutex_);
        onAllAsked_ = hook;
    }

    bool GetIntItemInfo(const std::string& name, int& value) override {
        std::string text;
        if (!GetStrItemInfo(name, text)) {
            return false;
        }
        value = std::stoi(text);
        return true;
    }

    bool GetStrItemInfo(const std::string& name, std::string& value) override {
        Note(name);
        const auto hook = onAsked_.find(name);
        if (hook != onAsked_.end()) {
            hook->second();
        }
        const std::lock_guard<std::mutex> guard(mutex_);
        return NS_BUNDLEMGR1::GetValByKey(value, name, items_);
    }

    void GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>& items) override {
        Hook hook;
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            ++allAsked_;
            hook = onAllAsked_;
        }
        if (hook) {
            hook();
        }
        const std::lock_guard<std::mutex> guard(mutex_);
        items = items_;
    }

    // The single items that were asked for, in order, but for the platform's own "logpath".
    std::vector<std::string> Asked() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return asked_;
    }

    // How often all items were asked for.
    int AllAsked() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return allAsked_;
    }

  private:
    void Note(const std::string& name) {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (name != "logpath") {
            asked_.push_back(name);
        }
    }

    mutable std::mutex mutex_;
    std::vector<NS_BUNDLEMGR1::NameValueStru> items_;  // guarded by mutex_
    std::vector<std::string> asked_;                   // guarded by mutex_
    int allAsked_ = 0;                                 // guarded by mutex_
    Hook onAllAsked_;                                  // guarded by mutex_
    std::map<std::string, Hook> onAsked_;
};

}  // namespace NS_TEST
