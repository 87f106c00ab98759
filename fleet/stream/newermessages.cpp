#include "stream/newermessages.h"

namespace NS_LOG_FLEET {
namespace {

// Hosts may think up any number of subjects.
constexpr size_t kMostReports = 10000;

}  // namespace

bool NewerMessages::IsFirst(const std::string& report) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (reports_.size() == kMostReports) {
        reports_.clear();
    }
    return reports_.insert(report).second;
}

bool MayWait(natsMsg* message, jsCtx* streams, int64_t most) {
    jsMsgMetaData* found = nullptr;
    CheckStatus(natsMsg_GetMetaData(&found, message), "a message's place");
    const StreamOwner<jsMsgMetaData, &jsMsgMetaData_Destroy> place(found);
    if (place->NumDelivered > 1) {
        return true;
    }
    jsConsumerInfo* consumer = nullptr;
    jsErrCode code{};
    const natsStatus status =
        js_GetConsumerInfo(&consumer, streams, place->Stream, place->Consumer, nullptr, &code);
    const StreamOwner<jsConsumerInfo, &jsConsumerInfo_Destroy> info(consumer);
    CheckStatus(status, "asking what is outstanding", code);
    return info->NumAckPending <= most;
}

}  // namespace NS_LOG_FLEET
