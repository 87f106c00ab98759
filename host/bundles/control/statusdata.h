// What the maintenance interface tells, as JSON.
#pragma once

#include <json/value.h>

#include <vector>

#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_REFERENCE_HOST {

// Arrays of objects whose members have the names of the structures' fields; a logger's levels are
// an array of four truth values, and "lastErrorText" says what "lastError" means, "" for 0. Any
// thread.
Json::Value ToJson(const std::vector<NS_LOG_SERVICE1::ChannelStatus>& channels);
Json::Value ToJson(const std::vector<NS_LOG_SERVICE1::LoggerStatus>& loggers);
Json::Value ToJson(const std::vector<NS_LOG_SERVICE1::ModuleStatus>& modules);

}  // namespace NS_REFERENCE_HOST
