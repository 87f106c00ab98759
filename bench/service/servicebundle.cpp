#include "service/servicebundle.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "harness/sample.h"
#include "qv_base_log/logmaintenance.h"
#include "qv_base_log/logservice.h"
#include "util/threadcontext.h"

namespace NS_BENCH {

namespace {

constexpr char kCommonConfiguration[] =
    "logfilesize = 2000000000\n"
    "logfilecount = 5\n"
    "queuebuflength = 16384\n"
    "filterbuflength = 128\n"
    "logtimeinterval = 1\n"
    "logswitch = 1,1,1,0\n"
    "outputmode = 0\n"
    "bEnableAsnLog = 1\n"
    "bEnableAsnTrace = 0\n"
    "bLogOutputPara = 0\n";

// A start waits until the second of the file's last change is over, so a fresh file is dated back;
// one that is right already is left alone.
void Configure(const std::string& directory, const std::string& configuration) {
    const std::string path = directory + "/conf/corba_agent.cfg";
    if (!std::filesystem::exists(path)) {
        std::filesystem::create_directories(directory + "/conf");
        std::ofstream(path) << kCommonConfiguration << configuration;
        std::filesystem::last_write_time(
            path, std::filesystem::last_write_time(path) - std::chrono::seconds(10));
    }
    setenv("_APP_SHARE_DIR", directory.c_str(), 1);
    std::vector<NS_BUNDLEMGR1::NameValueStru> items;
    NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetCorbaConfigItems(items);
}

}  // namespace

ServiceBundle::ServiceBundle(const std::string& directory, const std::string& configuration) {
    Configure(directory, configuration);
    bundle_ = std::make_unique<NS_REFERENCE_HOST::Bundle>(
        NS_REFERENCE_HOST::BundleEntry{"qv_base_log", QV_LIBRARY, {}});
    bundle_->Init();
    log_ = NS_LOG_SERVICE1::FindLogService();
    maintenance_ = NS_LOG_SERVICE1::FindLogMaintenance();
    if (log_ == nullptr || maintenance_ == nullptr) {
        throw std::runtime_error("the bundle has not registered its interfaces");
    }
}

ServiceBundle::~ServiceBundle() {
    bundle_->StopService();
    bundle_->FiniAndFree();
}

void EnterSampleOperation() {
    NS_UTIL::ThreadContextMgr::Instance()->SetThreadContext(
        NS_UTIL::ThreadContextInfo(kThreadNumber, kInterface, kUser, kIdentifier));
}

}  // namespace NS_BENCH
