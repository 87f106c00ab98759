// Records through the bundle, to be watched by strace: DIRECTORY MODE THREADS RECORDS, where MODE
// is "direct" or "queued" and RECORDS is the number of each thread. One thread is the main thread.
#include <ace/Service_Config.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "qv_base_log/logmacros.h"
#include "qv_base_log/logmaintenance.h"
#include "qv_base_log/logservice.h"
#include "support/files.h"

namespace {

void Record(NS_LOG_SERVICE1::LoggerIF* logger, int records) {
    for (int i = 0; i < records; ++i) {
        QV_LOG_FORMAT(logger, NS_LOG_SERVICE1::LOG_LEVEL_1, "%d elements of %s after %.3f s", i,
                      "getAllManagedElements", 0.125);
    }
}

void RecordOnThreads(NS_LOG_SERVICE1::LoggerIF* logger, int threads, int records) {
    std::vector<std::thread> others;
    for (int i = 1; i < threads; ++i) {
        others.emplace_back(Record, logger, records);
    }
    Record(logger, records);
    for (std::thread& other : others) {
        other.join();
    }
}

// Whether the service was there.
bool RecordThroughTheBundle(const std::string& mode, int threads, int records) {
    NS_LOG_SERVICE1::LogSvcInterface* const log = NS_LOG_SERVICE1::FindLogService();
    NS_LOG_SERVICE1::LogMaintenanceInterface* const maintenance =
        NS_LOG_SERVICE1::FindLogMaintenance();
    if (log == nullptr || maintenance == nullptr) {
        return false;
    }
    if (mode == "queued") {
        maintenance->SetQueuedOutput(true);
    }
    RecordOnThreads(log->GetLogger("tests", "recorder", "debug"), threads, records);
    maintenance->FlushAll();
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: %s DIRECTORY direct|queued THREADS RECORDS\n", argv[0]);
        return 2;
    }
    const std::string directory = argv[1];
    setenv("_APP_SHARE_DIR", directory.c_str(), 1);
    NS_TEST::WriteFile(directory + "/conf/corba_agent.cfg",
                       "logfilesize = 2000000000\nlogswitch = 1,1,1,1\n");
    // By a link: a directive has no way to write a path with spaces.
    const std::string library = directory + "/service.so";
    std::filesystem::create_symlink(QV_LIBRARY, library);
    const std::string load =
        "dynamic log Service_Object * " + library + ":_make_qv_base_log() \"\"";
    if (ACE_Service_Config::process_directive(load.c_str()) != 0) {
        return 1;
    }
    const bool recorded = RecordThroughTheBundle(argv[2], std::atoi(argv[3]), std::atoi(argv[4]));
    ACE_Service_Config::process_directive("remove log");
    return recorded ? 0 : 1;
}
