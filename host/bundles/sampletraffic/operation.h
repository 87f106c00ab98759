// One operation of a client and the records that it leaves behind.
#pragma once

#include "sampletraffic/loggers.h"

namespace NS_REFERENCE_HOST {

// A client logs in and out again. `session` counts from 1.
void ReportSessionOpened(const Loggers& loggers, unsigned int session);
void ReportSessionClosed(const Loggers& loggers, unsigned int session);

// The operation's number alone determines what it does: every fourth requests another kind of
// object, and every tenth fails.
//
// Thread safety: one thread; it sets that thread's operation context while it runs.
class Operation {
  public:
    Operation(const Loggers& loggers, unsigned int session, unsigned int number);

    void Run() const;

  private:
    void Begin() const;
    void AskSystem() const;
    void TraceMessage() const;
    void Notify() const;
    void RaiseAlarms() const;
    void Fail() const;
    void End() const;

    const Loggers& loggers_;
    const unsigned int session_;
    const unsigned int number_;
};

}  // namespace NS_REFERENCE_HOST
