// Filling the service's settings from the agent's configuration at start.
#pragma once

#include "bundlemgr/corbaconfigitems.h"
#include "manager/logmgr.h"

namespace NS_LOG_SERVICE1 {

// Reads every configuration item into the manager's settings, and has the manager create its
// channels as soon as the sizes that they take are known. An item that cannot be read is reported
// and replaced by its default.
//
// What the store throws passes out; the settings made so far stay.
void LoadServiceConfiguration(NS_BUNDLEMGR1::CorbaConfigItems& items, LogMgr& manager);

}  // namespace NS_LOG_SERVICE1
