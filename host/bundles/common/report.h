// Reports the errors of the agent's bundles.
#pragma once

#include <new>
#include <string>

namespace NS_REFERENCE_HOST {

// Reports `text` in the name of `bundle`, through the platform's log proxy or, when there is none,
// on standard error. Does not use the logging service, which may be what is missing. Thread safety:
// any thread.
void Report(const char* bundle, const std::string& text);

// Reports the text that `makeText` returns, unless there is no memory for that. For a thread whose
// exceptions nobody catches: they would end the process.
template <class MakeText>
void ReportIfPossible(const char* bundle, MakeText makeText) noexcept {
    try {
        Report(bundle, makeText());
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch)
    }
}

}  // namespace NS_REFERENCE_HOST
