// The operation that the calling thread carries out.
#include "util/threadcontext.h"

#include <atomic>
#include <cstdint>
#include <utility>

#include "nodestructor.h"

namespace NS_UTIL {

// Shared by all copies of a context; the last one deletes it.
struct ThreadContextInfo::Contents {
    Contents(int id, const std::string& interface, const std::string& user, const std::string& uuid)
        : threadId(id), interfaceName(interface), userInfo(user), operUUID(uuid) {}

    void Take(int64_t copies) const { count.fetch_add(copies, std::memory_order_relaxed); }
    void GiveBack(int64_t copies) const {
        if (count.fetch_sub(copies, std::memory_order_acq_rel) == copies) {
            delete this;
        }
    }

    const int threadId;
    const std::string interfaceName;
    const std::string userInfo;
    const std::string operUUID;
    mutable std::atomic<int64_t> count{1};
};

// What the calling thread set. A record asks four times, and a count that goes up and down with
// each copy costs more than the rest of the asking. So the thread takes many counts at once, hands
// them out and takes them back without a locked instruction. Trivial, so that the objects which a
// thread destroys at its end can still ask when the storage below is gone.
struct ThreadContextInfo::ThreadsOwn {
    static constexpr int64_t kStock = int64_t{1} << 32;

    // Replaces the context. `contents` is counted already, or null.
    static void Set(const Contents* contents) noexcept;

    // A count for one more copy of the current contents. One count always stays: another thread may
    // destroy the copy.
    static const Contents* HandOut() noexcept {
        State& own = state;
        if (own.stock <= 1) {
            return HandOutOfNewStock();
        }
        --own.stock;
        return own.current;
    }

    // Takes back the count of a copy that goes.
    static void TakeBack(const Contents* contents) noexcept {
        if (contents != state.current) {
            TakeBackOther(contents);
            return;
        }
        ++state.stock;
    }

    // Hardly ever called, and not inlined: so the others save no registers.
    static const Contents* HandOutOfNewStock() noexcept;
    static void TakeBackOther(const Contents* contents) noexcept;

    struct State {
        const Contents* current;
        // Counts of `current` that are in nobody's hand. Of no contents, numbers without meaning.
        int64_t stock;
        bool threadEnds;
    };
    static thread_local State state;
};

thread_local ThreadContextInfo::ThreadsOwn::State ThreadContextInfo::ThreadsOwn::state = {};

__attribute__((noinline)) const ThreadContextInfo::Contents*
ThreadContextInfo::ThreadsOwn::HandOutOfNewStock() noexcept {
    if (state.current != nullptr) {
        state.current->Take(kStock);
    }
    state.stock += kStock - 1;
    return state.current;
}

__attribute__((noinline)) void ThreadContextInfo::ThreadsOwn::TakeBackOther(
    const Contents* contents) noexcept {
    if (contents != nullptr) {
        contents->GiveBack(1);
    }
}

void ThreadContextInfo::ThreadsOwn::Set(const Contents* contents) noexcept {
    const Contents* const previous = std::exchange(state.current, nullptr);
    const int64_t counts = std::exchange(state.stock, 0);
    if (previous != nullptr && counts != 0) {
        previous->GiveBack(counts);
    }
    state.current = contents;
    state.stock = contents == nullptr ? 0 : 1;
}

namespace {

const std::string& EmptyText() {
    static const NS_REFERENCE_HOST::NoDestructor<std::string> text;
    return *text;
}

}  // namespace

ThreadContextInfo::ThreadContextInfo() noexcept = default;

ThreadContextInfo::ThreadContextInfo(int threadId, const std::string& interfaceName,
                                     const std::string& userInfo, const std::string& operUUID)
    : contents_(new Contents(threadId, interfaceName, userInfo, operUUID)) {}

ThreadContextInfo::ThreadContextInfo(const Contents* counted) noexcept : contents_(counted) {}

ThreadContextInfo::ThreadContextInfo(const ThreadContextInfo& other) noexcept
    : contents_(other.contents_) {
    if (contents_ != nullptr) {
        contents_->Take(1);
    }
}

ThreadContextInfo::ThreadContextInfo(ThreadContextInfo&& other) noexcept
    : contents_(std::exchange(other.contents_, nullptr)) {}

ThreadContextInfo& ThreadContextInfo::operator=(const ThreadContextInfo& other) noexcept {
    return *this = ThreadContextInfo(other);
}

ThreadContextInfo& ThreadContextInfo::operator=(ThreadContextInfo&& other) noexcept {
    std::swap(contents_, other.contents_);
    return *this;
}

ThreadContextInfo::~ThreadContextInfo() {
    ThreadsOwn::TakeBack(contents_);
}

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
    return ThreadContextInfo(ThreadContextInfo::ThreadsOwn::HandOut());
}

void ThreadContextMgr::SetThreadContext(const ThreadContextInfo& context) noexcept {
    // Gives the contents back at the end of the thread. Only threads that set a context touch it.
    struct End {
        ~End() {
            ThreadContextInfo::ThreadsOwn::Set(nullptr);
            ThreadContextInfo::ThreadsOwn::state.threadEnds = true;
        }
    };
    if (ThreadContextInfo::ThreadsOwn::state.threadEnds) {
        return;
    }
    thread_local const End end;
    static_cast<void>(end);
    ThreadContextInfo copy(context);
    ThreadContextInfo::ThreadsOwn::Set(std::exchange(copy.contents_, nullptr));
}

ThreadContextScope::ThreadContextScope(const ThreadContextInfo& context) noexcept
    : previous_(ThreadContextMgr::Instance()->GetThreadContext()) {
    ThreadContextMgr::Instance()->SetThreadContext(context);
}

ThreadContextScope::~ThreadContextScope() {
    ThreadContextMgr::Instance()->SetThreadContext(previous_);
}

}  // namespace NS_UTIL
