// One call of a client, from its begin to its end in the log.
#pragma once

#include <cstdint>
#include <string>

#include "bundle/loggers.h"
#include "util/threadcontext.h"

namespace NS_NORTHBOUND {

// Whose call it is. A value.
struct Caller {
    uint32_t session;  // 0: none
    uint64_t call;     // its number in the session
    std::string user;
};

// An operation of the interface and the records that each of its calls has, made once: what is
// always the same need not be formatted by every call.
struct OperationTexts {
    explicit OperationTexts(const char* operation);

    const std::string name;
    const std::string begin;
    const std::string done;
    const std::string failed;
};

// Lives on the stack of the thread that serves the call. Until it is destroyed, every record of the
// thread shows the operation's context, whatever logger it goes through.
//
// Thread safety: one thread.
class OperationLog {
  public:
    // Logs the begin. REQUIRES: `loggers` and `texts` outlive the object.
    OperationLog(const Loggers& loggers, const OperationTexts& texts, const Caller& caller);

    // Logs the end.
    ~OperationLog();

    OperationLog(const OperationLog&) = delete;
    OperationLog& operator=(const OperationLog&) = delete;

    // Logs why the call fails, at level 0, so that what was kept back is written with it.
    void Fail(const char* reason);

    const std::string& Identifier() const { return identifier_; }

  private:
    const Loggers& loggers_;
    const OperationTexts& texts_;
    const std::string identifier_;
    const NS_UTIL::ThreadContextScope context_;
    bool failed_ = false;
};

}  // namespace NS_NORTHBOUND
