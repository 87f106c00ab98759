// The sessions that clients have open.
#include "network/sessions.h"

#include "network/accounts.h"
#include "network/errors.h"

namespace NS_NORTHBOUND {

std::shared_ptr<Session> Sessions::Open(const std::string& user, const std::string& password) {
    if (!IsAccount(user, password)) {
        throw AccessError("no account has this name and this password");
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    ++last_;
    return open_[last_] = std::make_shared<Session>(last_, user);
}

std::shared_ptr<Session> Sessions::Find(uint32_t number) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = open_.find(number);
    return found == open_.end() ? nullptr : found->second;
}

void Sessions::Close(uint32_t number) {
    const std::lock_guard<std::mutex> lock(mutex_);
    open_.erase(number);
}

std::size_t Sessions::Count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return open_.size();
}

}  // namespace NS_NORTHBOUND
