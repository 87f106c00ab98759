// Whether the channels can keep what they are given.
#pragma once

#include <json/value.h>

#include <vector>

#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_REFERENCE_HOST {

// How bad it is. Monitoring systems know these numbers.
enum class Health {
    Good = 0,
    Warning = 1,  // records were lost, or a file no longer stands under its name
    Critical = 2  // a channel cannot write now
};

// Returns {"health": the worst number, "problems": [{"health", "category", "text"}, ...]}, the
// worst problems first. Thread safety: any thread.
Json::Value JudgeHealth(const std::vector<NS_LOG_SERVICE1::ChannelBooks>& books);

}  // namespace NS_REFERENCE_HOST
