// Formats the agent's status for an operator.
#pragma once

#include <json/value.h>

#include <string>

#include "agentctl/views.h"

namespace NS_REFERENCE_HOST {

// Returns what the agent is, its switches, a table of the channels and their last errors. Where
// there is room, the table has a column for each number, and the files' paths. Else it has the most
// important numbers in short, and only whether the file is well.
//
// The rates are those since `before`, the data of an earlier status of the same process; without
// such data, those since the agent's start.
//
// Thread safety: any thread. Throws as the other views do.
std::string ViewStatusSince(const Json::Value& before, const Json::Value& data,
                            const Presentation& presentation);

}  // namespace NS_REFERENCE_HOST
