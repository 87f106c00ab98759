// One diagnostic of the service about itself.
#pragma once

#include "diagnostic/logproxycache.h"

namespace NS_LOG_SERVICE1 {

// Level of a failure at start-up or in a check.
constexpr int kDiagnosticFailure = 1;
// Level of an operation that was refused.
constexpr int kDiagnosticRefused = 2;

// Captures the source position where it is constructed:
//     Diagnostic().Print(kDiagnosticFailure, "\nvsnprintf_s failed !!\n");
//
// The name of the source is part of the messages that operators read, so it stays the same whatever
// file the code stands in.
class Diagnostic {
  public:
    using ProxyAccessor = NS_BUNDLEMGR1::LogProxy* (*)();

    explicit Diagnostic(const char* source = "logimpl", ProxyAccessor proxy = &GetLogProxy,
                        int line = __builtin_LINE())
        : source_(source), proxy_(proxy), line_(line) {}

    // `format` is one of the service's own texts. Where no proxy is offered, it is printed with
    // its placeholders as they are.
    template <class... Values>
    void Print(int level, const char* format, Values... values) const {
        proxy_()->SetPosition(source_, line_);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
        proxy_()->Print(level, format, values...);
#pragma GCC diagnostic pop
    }

  private:
    const char* source_;
    ProxyAccessor proxy_;
    int line_;
};

}  // namespace NS_LOG_SERVICE1
