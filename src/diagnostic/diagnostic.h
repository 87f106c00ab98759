// What the service says about itself through the platform's log proxy.
#pragma once

#include "base/clientwork.h"
#include "bundlemgr/logproxy.h"

namespace NS_LOG_SERVICE1 {

// Level of a failure at start-up or in a check.
constexpr int kDiagnosticFailure = 1;
// Level of an operation that was refused.
constexpr int kDiagnosticRefused = 2;

// The name under which a diagnostic gives its source, and the way to the proxy.
struct DiagnosticSource {
    const char* name;
    NS_BUNDLEMGR1::LogProxy* (*proxy)();
};

// One text of the service. Operators know two source files, "logimpl" and "logswitchmonitormgr":
// every text is defined in the one that it names, and its position is the line where it stands
// there.
//
// Thread safety: constant.
class Diagnostic {
  public:
    // `line`: where the text stands.
    constexpr Diagnostic(const DiagnosticSource& source, int level, const char* text,
                         int line = __builtin_LINE())
        : source_(&source), level_(level), text_(text), line_(line) {}

    // Fills `values` into the text and reports it. Where no proxy is offered, the text is printed
    // with its placeholders as they are. The thread is not cancelled meanwhile: a client's record
    // comes after the report of what is wrong with it.
    template <class... Values>
    void Report(Values... values) const;

    const char* Source() const { return source_->name; }
    const char* Text() const { return text_; }
    int Line() const { return line_; }

  private:
    const DiagnosticSource* source_;
    int level_;
    const char* text_;
    int line_;
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

template <class... Values>
void Diagnostic::Report(Values... values) const {
    const ClientWork work;
    source_->proxy()->SetPosition(source_->name, line_);
    source_->proxy()->Print(level_, text_, values...);
}

#pragma GCC diagnostic pop

}  // namespace NS_LOG_SERVICE1
