// What happens to log files that cannot take their records.
#include "agent/filepolicy.h"

#include <string>

#include "agent/agenterror.h"

namespace NS_REFERENCE_HOST {

NS_LOG_SERVICE1::LogFilePolicy ReadFilePolicy(
    const std::vector<NS_BUNDLEMGR1::NameValueStru>& items) {
    std::string value;
    if (!NS_BUNDLEMGR1::GetValByKey(value, kFilePolicyItem, items) || value == kContract) {
        return NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT;
    }
    if (value == kKeepRecords) {
        return NS_LOG_SERVICE1::LOG_FILE_POLICY_KEEP_RECORDS;
    }
    throw AgentError(ExitCode::BadConfiguration, "configuration item \"logfilepolicy\": '" + value +
                                                     "' is neither keeprecords nor contract");
}

}  // namespace NS_REFERENCE_HOST
