// Bringing the running service into line with the switches in the configuration file.
#pragma once

namespace NS_LOG_SERVICE1 {

// Reads the items "logswitch", "bEnableAsnLog" and "bLogOutputPara", all from one reading of the
// configuration, and applies those that differ from the current state. Reports what it changed and
// what it refused. Applies nothing at all when an item is missing or "logswitch" does not have four
// parts. What the configuration store throws passes out.
//
// Called by one thread at a time.
void ApplySwitchFile();

}  // namespace NS_LOG_SERVICE1
