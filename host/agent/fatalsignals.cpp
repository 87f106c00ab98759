// Fatal signals: what is queued is written before the process dies.
#include "agent/fatalsignals.h"

#include <semaphore.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <thread>

#include "bundlemgr/ifbuf.h"
#include "platform/nodestructor.h"

namespace NS_REFERENCE_HOST {

namespace {

using NS_LOG_SERVICE1::LogMaintenanceInterface;

constexpr std::array<int, 5> kSignals = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

// A little more than the service takes at most, unless a write blocks.
constexpr int64_t kLongestWait = 2'100'000'000;

// Everything that a handler uses: it can reach no object.
struct State {
    std::array<struct sigaction, kSignals.size()> previous;
    LogMaintenanceInterface* service;
    std::thread writer;
    std::atomic<pid_t> writerId;
    pid_t processId;
    sem_t wanted;
    std::atomic<bool> isEnding;
    std::atomic<bool> isDone;
};

// Set before a handler is, which must not be the first to ask for it. Never destroyed: exit(3) may
// be called while the thread waits.
State* state = nullptr;

State* TheState() {
    static const NoDestructor<State> made;
    return &*made;
}

pid_t ThreadId() {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

int64_t MonotonicTime() {
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

// No signal hits the calling thread, nor those that it starts, as long as the object lives.
class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &callers_);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &callers_, nullptr); }

    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t callers_;
};

// The thread that writes.
void Serve() {
    state->writerId = ThreadId();
    while (sem_wait(&state->wanted) != 0) {
    }
    if (!state->isEnding) {
        state->service->WriteQueuesBeforeDeath();
        state->isDone = true;
    }
}

// Signals are for the other threads: a fatal one that is sent to the process must not hit the one
// that is to do the work, not even while it starts.
void StartWriter() {
    const BlockedSignals blocked;
    state->writer = std::thread(&Serve);
}

// A second thread that meets a fatal signal waits as well: its death would end the writing.
void AwaitWriter() {
    sem_post(&state->wanted);
    const int64_t end = MonotonicTime() + kLongestWait;
    while (!state->isDone && MonotonicTime() < end) {
        const struct timespec pause = {0, 1'000'000};
        nanosleep(&pause, nullptr);
    }
}

void CallPrevious(int signal, siginfo_t* info, void* context) {
    for (size_t i = 0; i < kSignals.size(); ++i) {
        const struct sigaction& previous = state->previous[i];
        // These two are no functions, whatever the flags say.
        if (kSignals[i] != signal || previous.sa_handler == SIG_DFL ||
            previous.sa_handler == SIG_IGN) {
            continue;
        }
        if ((previous.sa_flags & SA_SIGINFO) != 0) {
            previous.sa_sigaction(signal, info, context);
        } else {
            previous.sa_handler(signal);
        }
    }
}

// The signal is blocked while its handler runs, so the process dies when the handler returns.
void DieOf(int signal) {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    syscall(SYS_tgkill, getpid(), ThreadId(), signal);
}

void Handle(int signal, siginfo_t* info, void* context) {
    const int callersErrno = errno;
    // A child process that was forked has the handler and not the thread.
    if (ThreadId() != state->writerId && getpid() == state->processId) {
        AwaitWriter();
    }
    CallPrevious(signal, info, context);
    DieOf(signal);
    errno = callersErrno;
}

}  // namespace

std::unique_ptr<FatalSignals> FatalSignals::Watch() {
    const auto found = NS_BUNDLEMGR1::CheckIFBuf(NS_LOG_SERVICE1::LOG_MAINTENANCE_INTERFACE_NAME);
    auto* const service =
        found.empty() ? nullptr : dynamic_cast<LogMaintenanceInterface*>(found.front());
    return service == nullptr || service->GetVersion() < 2
               ? nullptr
               : std::make_unique<FatalSignals>(*service);
}

FatalSignals::FatalSignals(LogMaintenanceInterface& service) {
    state = TheState();
    state->service = &service;
    state->processId = getpid();
    state->isEnding = false;
    state->isDone = false;
    sem_init(&state->wanted, 0, 0);
    StartWriter();
    struct sigaction action = {};
    action.sa_sigaction = &Handle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &action, &state->previous[i]);
    }
}

FatalSignals::~FatalSignals() {
    for (size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &state->previous[i], nullptr);
    }
    state->isEnding = true;
    sem_post(&state->wanted);
    state->writer.join();
    sem_destroy(&state->wanted);
}

}  // namespace NS_REFERENCE_HOST
