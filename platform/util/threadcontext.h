// The operation that the calling thread carries out: its user, its interface and its identifier.
#pragma once

#include <string>

#include "bundlemgr/platformapi.h"

namespace NS_UTIL {

// The data of one operation. A value. Copies share their contents, which never change, so a copy
// costs no more than a count. A default-constructed context is empty: thread number 0 and empty
// texts.
//
// Thread safety: any number of threads may call const operations of one object.
class QV_PLATFORM_API ThreadContextInfo {
  public:
    // The empty context; the context of one operation, which copies the texts and may throw
    // std::bad_alloc; and copies of a context.
    ThreadContextInfo() noexcept;
    ThreadContextInfo(int threadId, const std::string& interfaceName, const std::string& userInfo,
                      const std::string& operUUID);
    ThreadContextInfo(const ThreadContextInfo&) noexcept;
    ThreadContextInfo(ThreadContextInfo&&) noexcept;
    ThreadContextInfo& operator=(const ThreadContextInfo&) noexcept;
    ThreadContextInfo& operator=(ThreadContextInfo&&) noexcept;
    ~ThreadContextInfo();

    // The returned references are valid as long as this object holds the context.
    int GetThreadId() const noexcept;
    const std::string& GetInterfaceName() const noexcept;
    const std::string& GetUserInfo() const noexcept;
    const std::string& GetOperUUID() const noexcept;

  private:
    friend class ThreadContextMgr;
    struct Contents;
    struct ThreadsOwn;

    explicit ThreadContextInfo(const Contents* counted) noexcept;

    const Contents* contents_ = nullptr;  // counted; null: the empty context
};

// Thread safety: each thread sees and sets its own context only.
class QV_PLATFORM_API ThreadContextMgr {
  public:
    // Returns the manager of this process; never null.
    static ThreadContextMgr* Instance();

    // Returns the calling thread's context; an empty one when none was set.
    ThreadContextInfo GetThreadContext() const noexcept;

    // Replaces the calling thread's context.
    void SetThreadContext(const ThreadContextInfo& context) noexcept;

  private:
    ThreadContextMgr() = default;
};

// Sets the calling thread's context for the length of a block, and restores the previous one.
// Scopes nest. REQUIRES: it is constructed and destroyed on the same thread.
class QV_PLATFORM_API ThreadContextScope {
  public:
    // Copies the context.
    explicit ThreadContextScope(const ThreadContextInfo& context) noexcept;
    ~ThreadContextScope();

    ThreadContextScope(const ThreadContextScope&) = delete;
    ThreadContextScope& operator=(const ThreadContextScope&) = delete;

  private:
    ThreadContextInfo previous_;
};

}  // namespace NS_UTIL
