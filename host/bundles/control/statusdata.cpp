// The status from the maintenance interface, as JSON.
#include "control/statusdata.h"

#include <system_error>

namespace NS_REFERENCE_HOST {

namespace {

Json::Value ToJson(const NS_LOG_SERVICE1::ChannelBooks& channel) {
    Json::Value value;
    value["category"] = channel.category;
    value["currentFile"] = channel.currentFile;
    value["currentFileInPlace"] = channel.currentFileInPlace;
    value["failing"] = channel.failing;
    value["recordsReceived"] = Json::UInt64{channel.recordsReceived};
    value["recordsWritten"] = Json::UInt64{channel.recordsWritten};
    value["recordsDumped"] = Json::UInt64{channel.recordsDumped};
    value["recordsEvicted"] = Json::UInt64{channel.recordsEvicted};
    value["recordsDropped"] = Json::UInt64{channel.recordsDropped};
    value["recordsOverwritten"] = Json::UInt64{channel.recordsOverwritten};
    value["recordsQueued"] = Json::UInt64{channel.recordsQueued};
    value["recordsQueuedMost"] = Json::UInt64{channel.recordsQueuedMost};
    value["recordsCached"] = Json::UInt64{channel.recordsCached};
    value["bytesQueued"] = Json::UInt64{channel.bytesQueued};
    value["bytesWritten"] = Json::UInt64{channel.bytesWritten};
    value["bytesEmptied"] = Json::UInt64{channel.bytesEmptied};
    value["rotations"] = Json::UInt64{channel.rotations};
    value["failures"] = Json::UInt64{channel.failures};
    value["lastError"] = channel.lastError;
    value["lastErrorText"] =
        channel.lastError == 0 ? "" : std::generic_category().message(channel.lastError);
    value["lastErrorTime"] = Json::Int64{channel.lastErrorTime};
    value["lastErrorFile"] = channel.lastErrorFile;
    return value;
}

Json::Value ToJson(const NS_LOG_SERVICE1::LoggerStatus& logger) {
    Json::Value value;
    value["first"] = logger.first;
    value["second"] = logger.second;
    value["category"] = logger.category;
    for (const bool on : logger.levels) {
        value["levels"].append(on);
    }
    return value;
}

Json::Value ToJson(const NS_LOG_SERVICE1::ModuleStatus& module) {
    Json::Value value;
    value["module"] = module.module;
    value["on"] = module.on;
    return value;
}

template <typename Status>
Json::Value ToArray(const std::vector<Status>& all) {
    Json::Value array(Json::arrayValue);
    for (const Status& one : all) {
        array.append(ToJson(one));
    }
    return array;
}

}  // namespace

Json::Value ToJson(const std::vector<NS_LOG_SERVICE1::ChannelBooks>& channels) {
    return ToArray(channels);
}

Json::Value ToJson(const std::vector<NS_LOG_SERVICE1::LoggerStatus>& loggers) {
    return ToArray(loggers);
}

Json::Value ToJson(const std::vector<NS_LOG_SERVICE1::ModuleStatus>& modules) {
    return ToArray(modules);
}

}  // namespace NS_REFERENCE_HOST
