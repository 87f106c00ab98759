// The operation that the calling thread carries out.
#include "util/threadcontext.h"

#include "nodestructor.h"

namespace NS_UTIL {

struct ThreadContextInfo::Contents {
    int threadId;
    std::string interfaceName;
    std::string userInfo;
    std::string operUUID;
};

namespace {

const std::string& EmptyText() {
    static const NS_REFERENCE_HOST::NoDestructor<std::string> text;
    return *text;
}

// What the calling thread set; null: the empty context. Both are trivial, so that the objects
// which a thread destroys at its end can still ask when the storage below is gone.
thread_local const ThreadContextInfo* current = nullptr;
thread_local bool threadEnds = false;

struct Storage {
    ~Storage() {
        current = nullptr;
        threadEnds = true;
    }
    ThreadContextInfo context;
};

// Only threads that set a context ever touch it.
thread_local Storage storage;

}  // namespace

ThreadContextInfo::ThreadContextInfo() noexcept = default;

ThreadContextInfo::ThreadContextInfo(int threadId, const std::string& interfaceName,
                                     const std::string& userInfo, const std::string& operUUID)
    : contents_(
          std::make_shared<const Contents>(Contents{threadId, interfaceName, userInfo, operUUID})) {
}

ThreadContextInfo::ThreadContextInfo(const ThreadContextInfo&) noexcept = default;
ThreadContextInfo::ThreadContextInfo(ThreadContextInfo&&) noexcept = default;
ThreadContextInfo& ThreadContextInfo::operator=(const ThreadContextInfo&) noexcept = default;
ThreadContextInfo& ThreadContextInfo::operator=(ThreadContextInfo&&) noexcept = default;
ThreadContextInfo::~ThreadContextInfo() = default;

int ThreadContextInfo::GetThreadId() const noexcept {
    return contents_ == nullptr ? 0 : contents_->threadId;
}

const std::string& ThreadContextInfo::GetInterfaceName() const noexcept {
    return contents_ == nullptr ? EmptyText() : contents_->interfaceName;
}

const std::string& ThreadContextInfo::GetUserInfo() const noexcept {
    return contents_ == nullptr ? EmptyText() : contents_->userInfo;
}

const std::string& ThreadContextInfo::GetOperUUID() const noexcept {
    return contents_ == nullptr ? EmptyText() : contents_->operUUID;
}

ThreadContextMgr* ThreadContextMgr::Instance() {
    static ThreadContextMgr manager;
    return &manager;
}

ThreadContextInfo ThreadContextMgr::GetThreadContext() const noexcept {
    return current == nullptr ? ThreadContextInfo() : *current;
}

void ThreadContextMgr::SetThreadContext(const ThreadContextInfo& context) noexcept {
    if (threadEnds) {
        return;
    }
    storage.context = context;
    current = &storage.context;
}

ThreadContextScope::ThreadContextScope(const ThreadContextInfo& context) noexcept
    : previous_(ThreadContextMgr::Instance()->GetThreadContext()) {
    ThreadContextMgr::Instance()->SetThreadContext(context);
}

ThreadContextScope::~ThreadContextScope() {
    ThreadContextMgr::Instance()->SetThreadContext(previous_);
}

}  // namespace NS_UTIL
