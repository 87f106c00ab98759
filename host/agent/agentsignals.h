// The signals that the agent obeys, and those that must not end it.
#pragma once

#include "process/stopsignals.h"

namespace NS_REFERENCE_HOST {

// SIGINT and SIGTERM ask for the end, SIGHUP asks to open all log files again. Ignores SIGXFSZ, so
// that a file at the process's limit is like a full disk, and SIGUSR1, SIGUSR2 and SIGALRM, which
// would end the process though nobody meant that. REQUIRES: no other thread runs yet, because
// threads inherit the blocked signals.
//
// Thread safety: one thread.
class AgentSignals {
  public:
    // Throws std::system_error.
    AgentSignals();
    ~AgentSignals();

    AgentSignals(const AgentSignals&) = delete;
    AgentSignals& operator=(const AgentSignals&) = delete;

    // Polls as readable once the end was asked for, and remains so.
    int StopDescriptor() const { return stop_.Descriptor(); }

    // Polls as readable once a SIGHUP has arrived, until TakeReopen.
    int ReopenDescriptor() const { return reopen_; }
    void TakeReopen() const;

  private:
    const StopSignals stop_;
    int reopen_;
};

}  // namespace NS_REFERENCE_HOST
