// Reports the errors of the agent's bundles.
#pragma once

#include <string>

namespace NS_REFERENCE_HOST {

// Reports `text` in the name of `bundle`, through the platform's log proxy or, when there is none,
// on standard error. Does not use the logging service, which may be what is missing. Thread safety:
// any thread.
void Report(const char* bundle, const std::string& text);

}  // namespace NS_REFERENCE_HOST
