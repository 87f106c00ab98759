// SIGINT and SIGTERM as something that can be waited for.
#include "process/stopsignals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace NS_REFERENCE_HOST {

StopSignals::StopSignals() {
    // A shell starts background programs with SIGINT ignored. An ignored signal would never reach
    // the descriptor.
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    signal(SIGPIPE, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC);
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

StopSignals::~StopSignals() {
    close(descriptor_);
}

}  // namespace NS_REFERENCE_HOST
