// Shows the status again and again.
#pragma once

#include "agentctl/invocation.h"

namespace NS_REFERENCE_HOST {

// Returns when a signal arrives or nobody reads the output any more. When the agent goes away after
// it has answered once, says so and waits for the next one: an operator who watches a restart wants
// to see its end. Throws ControlError when there is no agent at first, or the output cannot be
// written. REQUIRES: no other thread runs; `invocation.watchInterval`.
void Watch(const Invocation& invocation, bool utf8);

}  // namespace NS_REFERENCE_HOST
