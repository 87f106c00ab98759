// Reads the service's settings from the agent's configuration at start.
#pragma once

#include "bundlemgr/corbaconfigitems.h"
#include "manager/logmgr.h"

namespace NS_LOG_SERVICE1 {

// Reads all configuration items into the manager's settings. Has the manager create its channels as
// soon as their sizes are read. Reports an item that cannot be read and uses its default.
//
// Passes on what the store throws. The settings that were read before stay.
void LoadServiceConfiguration(NS_BUNDLEMGR1::CorbaConfigItems& items, LogMgr& manager);

}  // namespace NS_LOG_SERVICE1
