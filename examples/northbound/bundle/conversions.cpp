// From the agent's own values to those of the interface.
#include "bundle/conversions.h"

namespace NS_NORTHBOUND {

void Convert(const Element& from, Northbound::Element& to) {
    to.id = from.id;
    to.name = from.name.c_str();
    to.type = from.type.c_str();
    to.accessUser = from.accessUser.c_str();
    to.accessPassword = from.accessPassword.c_str();
}

void Convert(const Site& from, Northbound::Site& to) {
    to.country = from.country.c_str();
    to.city = from.city.c_str();
    to.room = from.room.c_str();
    to.cabinet = from.cabinet.c_str();
}

void Convert(const Connection& from, Northbound::Connection& to) {
    to.index = from.index;
    to.customer = from.customer.c_str();
    to.rate = from.rate.c_str();
}

void Convert(const Alarm& from, Northbound::Alarm& to) {
    to.id = from.id;
    to.element = from.element;
    to.cause = from.cause.c_str();
    to.level = static_cast<Northbound::Severity>(from.severity);
    to.isAcknowledged = from.isAcknowledged;
    to.isActive = from.isActive;
}

}  // namespace NS_NORTHBOUND
