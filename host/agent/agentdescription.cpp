// What this agent tells its bundles about itself.
#include "agent/agentdescription.h"

#include "bundlemgr/ifbuf.h"
#include "platform/hostcontrol.h"

namespace NS_REFERENCE_HOST {

AgentDescription::AgentDescription(const std::string& configurationPath)
    : configurationPath_(configurationPath) {
    NS_BUNDLEMGR1::SetIFBuf(kAgentInformationName, this);
}

AgentDescription::~AgentDescription() {
    RemoveFromIFBuf(this);
}

std::chrono::milliseconds AgentDescription::Uptime() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start_);
}

}  // namespace NS_REFERENCE_HOST
