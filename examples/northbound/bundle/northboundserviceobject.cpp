// The service object of the northbound bundle.
#include "bundle/northboundserviceobject.h"

#include <cstdio>
#include <exception>
#include <map>
#include <optional>

#include "bundle/northboundserver.h"
#include "common/arguments.h"
#include "common/report.h"
#include "qv_base_log/logservice.h"
#include "util/selfutilcommon.h"

namespace NS_NORTHBOUND {

namespace {

using NS_REFERENCE_HOST::Report;

constexpr char kName[] = "qv_northbound";

const std::map<std::string, Details> kDetails = {{"kept-back", Details::KeptBack},
                                                 {"as-configured", Details::AsConfigured},
                                                 {"none", Details::None}};

std::string UsualReference() {
    return NS_UTIL::SelfUtilCommon::getEnvValue("_APP_SHARE_DIR") + "/northbound.ior";
}

struct Arguments {
    ServerOptions server;
    std::string details = "kept-back";
    std::string log = "on";
};

bool Read(int argc, char* argv[], Arguments& arguments) {
    ServerOptions& server = arguments.server;
    server.reference = UsualReference();
    const bool read =
        NS_REFERENCE_HOST::ReadArguments(kName, argc, argv,
                                         {{"--reference", server.reference},
                                          {"--details", arguments.details},
                                          {"--log", arguments.log}},
                                         {},
                                         {{"--port", server.port, 0, 65535},
                                          {"--alarms", server.alarms, 0, 1000},
                                          {"--answer-time", server.answerTime, 0, 600000},
                                          {"--answer-limit", server.answerLimit, 1, 600000},
                                          {"--call-limit", server.callLimit, 1, 600000}});
    if (!read) {
        return false;
    }
    if (kDetails.count(arguments.details) == 0 ||
        (arguments.log != "on" && arguments.log != "off")) {
        Report(kName, "arguments: --details is kept-back, as-configured or none; --log on or off");
        return false;
    }
    return true;
}

// Nothing when there is no service to log to.
std::optional<Loggers> FindLoggers(const Arguments& arguments) {
    if (arguments.log == "off") {
        return Loggers();
    }
    NS_LOG_SERVICE1::LogSvcInterface* const service = NS_LOG_SERVICE1::FindLogService();
    if (service == nullptr) {
        Report(kName, "there is no logging service; is its bundle listed in front of this one?");
        return std::nullopt;
    }
    return Loggers(*service, kDetails.at(arguments.details));
}

}  // namespace

NorthboundServiceObject::NorthboundServiceObject() : ServiceObjectBase(kName, kName) {}

NorthboundServiceObject::~NorthboundServiceObject() = default;

int NorthboundServiceObject::init(int argc, ACE_TCHAR* argv[]) {
    // An agent that was killed has left it, and nobody is found there. A share directory has one
    // agent. What `--reference` names may be that of another one, so it stays until it is replaced.
    std::remove(UsualReference().c_str());
    Arguments arguments;
    if (!Read(argc, argv, arguments)) {
        return -1;
    }
    try {
        const std::optional<Loggers> loggers = FindLoggers(arguments);
        if (!loggers) {
            return -1;
        }
        server_ = std::make_unique<NorthboundServer>(arguments.server, *loggers);
        return 0;
    } catch (const CORBA::Exception& error) {
        Report(kName, std::string("the ORB does not start: ") + error._name());
    } catch (const std::exception& error) {
        Report(kName, std::string("cannot serve: ") + error.what());
    }
    return -1;
}

int NorthboundServiceObject::StopService() {
    server_.reset();
    return 0;
}

int NorthboundServiceObject::fini() {
    return StopService();
}

}  // namespace NS_NORTHBOUND
