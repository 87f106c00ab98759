// The status from the maintenance interface, as JSON.
#pragma once

#include <json/value.h>

#include <vector>

#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_REFERENCE_HOST {

// Arrays of objects with the names of the structures' fields. A logger's levels are an array of
// four booleans. "lastErrorText" is the text for "lastError", "" for 0. Thread safety: any thread.
Json::Value ToJson(const std::vector<NS_LOG_SERVICE1::ChannelBooks>& channels);
Json::Value ToJson(const std::vector<NS_LOG_SERVICE1::LoggerStatus>& loggers);
Json::Value ToJson(const std::vector<NS_LOG_SERVICE1::ModuleStatus>& modules);

}  // namespace NS_REFERENCE_HOST
