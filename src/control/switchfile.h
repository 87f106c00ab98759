// Applies the switches in the configuration file to the running service.
#pragma once

namespace NS_LOG_SERVICE1 {

// Reads the items "logswitch", "bEnableAsnLog" and "bLogOutputPara", all from one read of the
// configuration, and applies those that differ from the current state. Reports what it changed and
// what it refused. Applies nothing when an item is missing or "logswitch" does not have four parts.
// Passes on what the configuration store throws.
//
// REQUIRES: one thread at a time.
void ApplySwitchFile();

}  // namespace NS_LOG_SERVICE1
