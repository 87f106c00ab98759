// The commands of the control bundle.
#include "control/commands.h"

#include <exception>
#include <map>

#include "bundlemgr/ifbuf.h"
#include "control/answer.h"
#include "control/request.h"
#include "control/resulttext.h"
#include "control/statusdata.h"
#include "qv_base_log/logmaintenanceinterface.h"
#include "qv_base_log/logservice.h"
#include "qv_base_log/resultcode.h"

namespace NS_REFERENCE_HOST {

namespace {

using NS_LOG_SERVICE1::LogMaintenanceInterface;
using NS_LOG_SERVICE1::LogSvcInterface;

LogMaintenanceInterface& FindMaintenance() {
    const auto found = NS_BUNDLEMGR1::CheckIFBuf(NS_LOG_SERVICE1::LOG_MAINTENANCE_INTERFACE_NAME);
    auto* const maintenance =
        found.empty() ? nullptr : dynamic_cast<LogMaintenanceInterface*>(found.front());
    if (maintenance == nullptr) {
        throw RequestError("the agent runs no logging service that can be maintained");
    }
    if (maintenance->GetVersion() < NS_LOG_SERVICE1::LOG_MAINTENANCE_VERSION) {
        throw RequestError("the agent's logging service is too old to be maintained");
    }
    return *maintenance;
}

LogSvcInterface& FindService() {
    LogSvcInterface* const service = NS_LOG_SERVICE1::FindLogService();
    if (service == nullptr) {
        throw RequestError("the agent runs no logging service");
    }
    return *service;
}

void CheckResult(unsigned int code) {
    if (code != NS_LOG_SERVICE1::LOG_RESULT_OK) {
        throw RequestError(ResultText(code), code);
    }
}

Json::Value OutputData(LogMaintenanceInterface& maintenance) {
    Json::Value data(Json::objectValue);
    data["mode"] = maintenance.GetOutputMode();
    data["periodic"] = maintenance.HasPeriodicOutput();
    return data;
}

Json::Value Status(const Request&) {
    LogMaintenanceInterface& maintenance = FindMaintenance();
    Json::Value data = OutputData(maintenance);
    data["version"] = maintenance.GetVersion();
    std::vector<NS_LOG_SERVICE1::ChannelStatus> channels;
    maintenance.GetChannels(channels);
    data["channels"] = ToJson(channels);
    return data;
}

Json::Value Flush(const Request&) {
    FindMaintenance().FlushAll();
    return Json::objectValue;
}

Json::Value FlushAll(const Request& request) {
    const std::string category = request.Has("category") ? request.GetText("category") : "";
    if (!FindMaintenance().OutputAll(category)) {
        throw RequestError("there is no category \"" + category + "\"");
    }
    return Json::objectValue;
}

Json::Value Queue(const Request& request) {
    const bool on = request.GetBool("on");
    LogMaintenanceInterface& maintenance = FindMaintenance();
    CheckResult(maintenance.SetQueuedOutput(on));
    return OutputData(maintenance);
}

Json::Value Loggers(const Request&) {
    std::vector<NS_LOG_SERVICE1::LoggerStatus> loggers;
    FindMaintenance().GetLoggers(loggers);
    Json::Value data(Json::objectValue);
    data["loggers"] = ToJson(loggers);
    return data;
}

Json::Value Level(const Request& request) {
    const unsigned int level = request.GetNumber("level");
    const bool on = request.GetBool("on");
    if (!request.Has("first") && !request.Has("second") && !request.Has("category")) {
        if (!FindMaintenance().SetLevel(level, on)) {
            throw RequestError("level " + std::to_string(level) + " has no switch");
        }
        return Json::objectValue;
    }
    const std::string first = request.GetText("first");
    const std::string second = request.GetText("second");
    const std::string category = request.GetText("category");
    if (!FindMaintenance().SetLoggerLevel(first, second, category, level, on)) {
        throw RequestError("there is no such logger, or level " + std::to_string(level) +
                           " has no switch");
    }
    return Json::objectValue;
}

Json::Value Modules(const Request&) {
    std::vector<NS_LOG_SERVICE1::ModuleStatus> modules;
    FindMaintenance().GetModules(modules);
    Json::Value data(Json::objectValue);
    data["modules"] = ToJson(modules);
    return data;
}

Json::Value Module(const Request& request) {
    const unsigned int module = request.GetNumber("module");
    LogSvcInterface& service = FindService();
    if (request.Has("on")) {
        service.SetModuleSwitch(module, request.GetBool("on"));
    }
    Json::Value data(Json::objectValue);
    data["module"] = module;
    data["on"] = service.GetModuleSwitch(module);
    return data;
}

Json::Value Mode(const Request& request) {
    CheckResult(FindService().SetOutputMode(request.GetNumber("mode")));
    return Json::objectValue;
}

using Command = Json::Value (*)(const Request&);

Command FindCommand(const std::string& name) {
    static const std::map<std::string, Command> commands = {
        {"status", &Status}, {"flush", &Flush},     {"flushall", &FlushAll},
        {"queue", &Queue},   {"loggers", &Loggers}, {"level", &Level},
        {"module", &Module}, {"modules", &Modules}, {"mode", &Mode}};
    const auto found = commands.find(name);
    if (found == commands.end()) {
        throw RequestError("there is no command \"" + name + "\"");
    }
    return found->second;
}

}  // namespace

std::string AnswerRequest(const std::string& text) {
    try {
        const Request request(text);
        return MakeSuccess(FindCommand(request.GetText("command"))(request));
    } catch (const RequestError& error) {
        return error.Code() == 0 ? MakeFailure(error.what())
                                 : MakeFailure(error.what(), error.Code());
    } catch (const std::exception& error) {
        return MakeFailure(std::string("the request failed: ") + error.what());
    }
}

}  // namespace NS_REFERENCE_HOST
