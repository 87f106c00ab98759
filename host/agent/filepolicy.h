// What happens to log files that cannot take their records: an item of the agent itself.
#pragma once

#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_REFERENCE_HOST {

// The item's name and its values.
constexpr char kFilePolicyItem[] = "logfilepolicy";
constexpr char kKeepRecords[] = "keeprecords";
constexpr char kContract[] = "contract";

// Reads the policy from the items; without the item it is the service's own, which empties files
// whose names come round. Throws AgentError for another value: a slip must not cost records.
NS_LOG_SERVICE1::LogFilePolicy ReadFilePolicy(
    const std::vector<NS_BUNDLEMGR1::NameValueStru>& items);

}  // namespace NS_REFERENCE_HOST
