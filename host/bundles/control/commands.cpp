// The commands of the control bundle.
#include "control/commands.h"

#include <unistd.h>

#include <exception>
#include <map>

#include "agentinformation.h"
#include "bundlemgr/ifbuf.h"
#include "control/answer.h"
#include "control/health.h"
#include "control/request.h"
#include "control/resulttext.h"
#include "control/statusdata.h"
#include "qv_base_log/logmaintenance.h"
#include "qv_base_log/logservice.h"
#include "qv_base_log/resultcode.h"

namespace NS_REFERENCE_HOST {

namespace {

using NS_LOG_SERVICE1::LogMaintenanceInterface;
using NS_LOG_SERVICE1::LogSvcInterface;

LogMaintenanceInterface& FindMaintenance() {
    LogMaintenanceInterface* const maintenance = NS_LOG_SERVICE1::FindLogMaintenance();
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

// Only the process's number is known when another program than the agent hosts the bundles.
Json::Value AgentData() {
    Json::Value data;
    data["process"] = static_cast<int>(getpid());
    const auto found = NS_BUNDLEMGR1::CheckIFBuf(kAgentInformationName);
    const auto* const agent =
        found.empty() ? nullptr : dynamic_cast<const AgentInformation*>(found.front());
    if (agent != nullptr) {
        data["version"] = agent->Version();
        data["configuration"] = agent->ConfigurationPath();
        data["startTime"] = Json::Int64{agent->StartTime()};
        data["uptimeMilliseconds"] = Json::Int64{agent->Uptime().count()};
    }
    return data;
}

std::vector<NS_LOG_SERVICE1::ChannelBooks> GetBooks(LogMaintenanceInterface& maintenance) {
    std::vector<NS_LOG_SERVICE1::ChannelBooks> books;
    maintenance.GetChannelBooks(books);
    return books;
}

Json::Value Status(const Request&) {
    LogMaintenanceInterface& maintenance = FindMaintenance();
    Json::Value data = OutputData(maintenance);
    data["version"] = maintenance.GetVersion();
    data["agent"] = AgentData();
    data["keepsRecords"] =
        maintenance.GetFilePolicy() == NS_LOG_SERVICE1::LOG_FILE_POLICY_KEEP_RECORDS;
    data["queueBytes"] = Json::UInt64{maintenance.GetQueueBytes()};
    const NS_LOG_SERVICE1::LogSwitches switches = maintenance.GetSwitches();
    for (const bool on : switches.levels) {
        data["levels"].append(on);
    }
    data["asnTrace"] = switches.asnTrace;
    data["outputParameters"] = switches.outputParameters;
    data["channels"] = ToJson(GetBooks(maintenance));
    return data;
}

Json::Value HealthOf(const Request&) {
    return JudgeHealth(GetBooks(FindMaintenance()));
}

using FileOperation = bool (LogMaintenanceInterface::*)(const std::string&);

// The category that the request names, or the empty text, with which the service means all of them.
// A client that names an empty one does not mean all: it failed to find out the name.
std::string CategoryOrAll(const Request& request) {
    if (!request.Has("category")) {
        return std::string();
    }
    std::string category = request.GetText("category");
    if (category.empty()) {
        throw RequestError("the request's \"category\" is empty");
    }
    return category;
}

// Carries out an operation on the files of the category that the request names, or of all.
Json::Value WithFiles(const Request& request, FileOperation operation) {
    const std::string category = CategoryOrAll(request);
    if (!(FindMaintenance().*operation)(category)) {
        throw RequestError("there is no category \"" + category + "\"");
    }
    return Json::objectValue;
}

Json::Value Flush(const Request&) {
    FindMaintenance().FlushAll();
    return Json::objectValue;
}

Json::Value FlushAll(const Request& request) {
    return WithFiles(request, &LogMaintenanceInterface::OutputAll);
}

Json::Value Reopen(const Request& request) {
    return WithFiles(request, &LogMaintenanceInterface::Reopen);
}

Json::Value Rotate(const Request& request) {
    return WithFiles(request, &LogMaintenanceInterface::Rotate);
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
        {"status", &Status}, {"health", &HealthOf}, {"flush", &Flush},     {"flushall", &FlushAll},
        {"reopen", &Reopen}, {"rotate", &Rotate},   {"queue", &Queue},     {"loggers", &Loggers},
        {"level", &Level},   {"module", &Module},   {"modules", &Modules}, {"mode", &Mode}};
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
