// The signals that the agent obeys, and those that must not end it.
#include "agent/agentsignals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>
#include <system_error>

namespace NS_REFERENCE_HOST {

AgentSignals::AgentSignals() {
    for (const int ignored : {SIGXFSZ, SIGUSR1, SIGUSR2, SIGALRM}) {
        signal(ignored, SIG_IGN);
    }
    // nohup ignores it. An ignored signal would never reach the descriptor.
    signal(SIGHUP, SIG_DFL);
    sigset_t hangup;
    sigemptyset(&hangup);
    sigaddset(&hangup, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &hangup, nullptr);
    reopen_ = signalfd(-1, &hangup, SFD_CLOEXEC | SFD_NONBLOCK);
    if (reopen_ < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

AgentSignals::~AgentSignals() {
    close(reopen_);
}

void AgentSignals::TakeReopen() const {
    signalfd_siginfo taken;
    while (read(reopen_, &taken, sizeof(taken)) > 0) {
    }
}

}  // namespace NS_REFERENCE_HOST
