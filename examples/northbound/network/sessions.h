// The sessions that clients have open.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace NS_NORTHBOUND {

// One client's session. Its calls are counted; the rest is constant.
struct Session {
    Session(uint32_t sessionNumber, const std::string& account)
        : number(sessionNumber), user(account) {}

    const uint32_t number;
    const std::string user;
    std::atomic<uint64_t> calls{0};
};

// Thread safety: any thread may call any operation.
class Sessions {
  public:
    // Throws AccessError unless that is an account and its password.
    std::shared_ptr<Session> Open(const std::string& user, const std::string& password);

    // Null when there is no such session.
    std::shared_ptr<Session> Find(uint32_t number) const;

    void Close(uint32_t number);

    std::size_t Count() const;

  private:
    mutable std::mutex mutex_;
    std::map<uint32_t, std::shared_ptr<Session>> open_;
    uint32_t last_ = 0;
};

}  // namespace NS_NORTHBOUND
