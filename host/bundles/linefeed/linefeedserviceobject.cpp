// The service object of the line-feed bundle.
#include "linefeed/linefeedserviceobject.h"

#include <unistd.h>

#include <string>

#include "common/arguments.h"
#include "common/report.h"
#include "linefeed/linefeed.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logservice.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kName[] = "qv_line_feed";

}  // namespace

LineFeedServiceObject::LineFeedServiceObject() : WorkingServiceObject(kName) {}

std::unique_ptr<Work> LineFeedServiceObject::PrepareWork(int argc, char* argv[]) {
    std::string category = "corbaoper";
    int level = NS_LOG_SERVICE1::LOG_LEVEL_1;
    const bool read = ReadArguments(
        kName, argc, argv, {{"--category", category}},
        {{"--level", level, NS_LOG_SERVICE1::LOG_LEVEL_SHORT, NS_LOG_SERVICE1::LOG_LEVEL_3}});
    if (!read) {
        return nullptr;
    }
    NS_LOG_SERVICE1::LogSvcInterface* const service = NS_LOG_SERVICE1::FindLogService();
    if (service == nullptr) {
        Report(kName, "there is no logging service; is its bundle listed in front of this one?");
        return nullptr;
    }
    NS_LOG_SERVICE1::LoggerIF* const logger = service->GetLogger(kName, "LineFeed", category);
    if (logger == nullptr) {
        Report(kName, "there is no log category '" + category + "'");
        return nullptr;
    }
    if (level >= 0 && !logger->IsLevelEnabled(static_cast<unsigned int>(level))) {
        Report(kName, "level " + std::to_string(level) +
                          " is switched off: the lines are kept back until a record of level 0");
    }
    return std::make_unique<LineFeed>(*logger, level, STDIN_FILENO);
}

}  // namespace NS_REFERENCE_HOST
