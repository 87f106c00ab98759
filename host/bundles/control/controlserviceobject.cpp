// The service object of the control bundle.
#include "control/controlserviceobject.h"

#include <chrono>
#include <exception>

#include "common/arguments.h"
#include "common/report.h"
#include "control/commands.h"
#include "control/controlserver.h"
#include "control/protocol.h"
#include "util/selfutilcommon.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kServiceName[] = "qv_control";

// Enough for a client on a busy machine. A client that hangs is disconnected after this time.
constexpr std::chrono::seconds kPatience{5};

}  // namespace

ControlServiceObject::ControlServiceObject() : ServiceObjectBase(kServiceName, kServiceName) {}

ControlServiceObject::~ControlServiceObject() = default;

int ControlServiceObject::init(int argc, ACE_TCHAR* argv[]) {
    if (!ReadArguments(kServiceName, argc, argv)) {
        return -1;
    }
    const std::string share = NS_UTIL::SelfUtilCommon::getEnvValue("_APP_SHARE_DIR");
    if (share.empty()) {
        Report(kServiceName, "there is no place for the socket: _APP_SHARE_DIR is not set");
        return -1;
    }
    try {
        server_ = std::make_unique<ControlServer>(share + "/" + kControlSocketName, &AnswerRequest,
                                                  kPatience);
        server_->Start();
    } catch (const std::exception& error) {
        server_.reset();
        Report(kServiceName, std::string("no control socket: ") + error.what());
        return -1;
    }
    return 0;
}

int ControlServiceObject::StopService() {
    server_.reset();
    return 0;
}

int ControlServiceObject::fini() {
    return StopService();
}

}  // namespace NS_REFERENCE_HOST
