#include "channel/filelines.h"

#include <ace/OS_NS_sys_time.h>

#include "bundlemgr/logsupport.h"
#include "channel/framing.h"

namespace NS_LOG_SERVICE1 {

std::string_view FileLines::Created() {
    line_.Clear();
    AppendFileCreated(line_, StampNow());
    return line_.Bytes();
}

std::string_view FileLines::Closed() {
    line_.Clear();
    AppendFileClosed(line_, StampNow());
    return line_.Bytes();
}

const std::string& FileLines::StampNow() {
    NS_BUNDLEMGR1::GetZoneTimeStamp(ACE_OS::gettimeofday(), stamp_);
    return stamp_;
}

}  // namespace NS_LOG_SERVICE1
