// How the bundles of the agent say what went wrong.
#pragma once

#include <string>

namespace NS_REFERENCE_HOST {

// Says `text` in the name of `bundle`: through the platform's log proxy where there is one, else
// on standard error. Not through the logging service, which may be what is missing. Any thread.
void Report(const char* bundle, const std::string& text);

}  // namespace NS_REFERENCE_HOST
