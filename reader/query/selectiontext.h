// A selection in words.
#pragma once

#include <string>

#include "query/selection.h"

namespace NS_LOG_READER {

// Every condition that was given, such as "since 2026-03-05T14:00:00.000000+01:00; category debug
// or oper; not pattern NE-7"; "everything" when none was.
std::string DescribeSelection(const Selection& selection);

}  // namespace NS_LOG_READER
