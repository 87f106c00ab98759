// The result codes of the logging service in words.
#pragma once

#include <string>

namespace NS_REFERENCE_HOST {

// Any thread.
std::string ResultText(unsigned int code);

}  // namespace NS_REFERENCE_HOST
