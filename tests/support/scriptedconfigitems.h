// A configuration store whose items and failures the test decides.
#pragma once

#include <algorithm>
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

// Thread safety: any thread.
class ScriptedConfigItems : public NS_BUNDLEMGR1::CorbaConfigItems {
  public:
    using Hook = std::function<void()>;

    // Puts `value` in the place of whatever stands under `name`, or behind the other items.
    void Set(const std::string& name, const std::string& value) {
        const std::lock_guard<std::mutex> guard(mutex_);
        const auto found = std::find_if(items_.begin(), items_.end(),
                                        [&](const auto& item) { return item.name == name; });
        *(found == items_.end() ? items_.emplace(found) : found) = {name, value};
    }

    // Adds an item, even when there is one of that name.
    void Add(const std::string& name, const std::string& value) {
        const std::lock_guard<std::mutex> guard(mutex_);
        items_.push_back({name, value});
    }

    // Called when single item `name` is asked for, or all at once, before the answer; may throw.
    void OnAsked(const std::string& name, const Hook& hook) {
        const std::lock_guard<std::mutex> guard(mutex_);
        hooks_[name] = hook;
    }
    void OnAllAsked(const Hook& hook) { OnAsked(kAll, hook); }

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
        const std::lock_guard<std::mutex> guard(mutex_);
        return NS_BUNDLEMGR1::GetValByKey(value, name, items_);
    }
    void GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>& items) override {
        Note(kAll);
        const std::lock_guard<std::mutex> guard(mutex_);
        items = items_;
    }

    // The single items that were asked for, in order, but for the platform's own "logpath".
    std::vector<std::string> Asked() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        std::vector<std::string> asked = asked_;
        asked.erase(std::remove(asked.begin(), asked.end(), kAll), asked.end());
        asked.erase(std::remove(asked.begin(), asked.end(), "logpath"), asked.end());
        return asked;
    }

    // How often all items were asked for.
    int AllAsked() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return static_cast<int>(std::count(asked_.begin(), asked_.end(), kAll));
    }

  private:
    static constexpr const char* kAll = "";

    void Note(const std::string& name) {
        Hook hook;
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            asked_.push_back(name);
            hook = hooks_[name];
        }
        if (hook) {
            hook();
        }
    }

    mutable std::mutex mutex_;
    std::vector<NS_BUNDLEMGR1::NameValueStru> items_;  // guarded by mutex_
    std::vector<std::string> asked_;                   // guarded by mutex_
    std::map<std::string, Hook> hooks_;                // guarded by mutex_
};

}  // namespace NS_TEST
