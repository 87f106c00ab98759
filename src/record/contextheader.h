// The context header: which operation a record belongs to.
#pragma once

#include <string>

namespace NS_LOG_SERVICE1 {

// The calling thread's operation as one line of text: <operation UUID>,TopT:<thread
// number>,If:<interface name>,UserMsg:<user information> All labels and separators are always
// present. An item that the context lacks is empty.
std::string BuildContextHeader();

// The same, into memory that is used again.
void BuildContextHeader(std::string& header);

}  // namespace NS_LOG_SERVICE1
