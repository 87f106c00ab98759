// The nil references of the interface's objects.
#pragma once

#include "northbound.hh"

namespace NS_NORTHBOUND {

// Makes them. The generated code does so when they are first used, and looks whether they are there
// without a lock, which is a data race when two threads are the first. Call it before there are
// threads that use the interface.
inline void MakeNilReferences() {
    Northbound::Agent::_nil();
    Northbound::AlarmReceiver::_nil();
}

}  // namespace NS_NORTHBOUND
