// From the agent's own values to those of the interface.
#pragma once

#include <vector>

#include "network/alarmboard.h"
#include "network/network.h"
#include "northbound.hh"

namespace NS_NORTHBOUND {

void Convert(const Element& from, Northbound::Element& to);
void Convert(const Site& from, Northbound::Site& to);
void Convert(const Connection& from, Northbound::Connection& to);
void Convert(const Alarm& from, Northbound::Alarm& to);

// A whole sequence.
template <class Sequence, class Value>
void ConvertAll(const std::vector<Value>& from, Sequence& to) {
    to.length(static_cast<CORBA::ULong>(from.size()));
    for (CORBA::ULong i = 0; i < to.length(); ++i) {
        Convert(from[i], to[i]);
    }
}

}  // namespace NS_NORTHBOUND
