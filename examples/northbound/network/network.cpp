// The network that the agent manages.
#include "network/network.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>

#include "network/errors.h"

namespace NS_NORTHBOUND {

namespace {

constexpr std::array<const char*, 4> kTypes = {"cross connect", "line terminal", "add-drop node",
                                               "amplifier"};
constexpr std::array<const char*, 4> kCities = {"Springfield", "Shelbyville", "Ogdenville",
                                                "North Haverbrook"};
constexpr std::array<const char*, 4> kCustomers = {"Example Carrier", "Sample Savings Bank",
                                                   "Placeholder Power", "Test Town Council"};
constexpr std::array<const char*, 3> kRates = {"STM-16", "STM-64", "10GE"};

// One element in about thirty does not answer.
constexpr uint32_t kSilentOneIn = 30;

std::string NameOf(uint32_t id) {
    char name[16];
    std::snprintf(name, sizeof(name), "NE-%05u", id);
    return name;
}

}  // namespace

Network::Network(uint32_t count, uint32_t seed) {
    std::mt19937 random(seed);
    elements_.reserve(count);
    for (uint32_t id = 1; id <= count; ++id) {
        const uint32_t draw = static_cast<uint32_t>(random());
        elements_.push_back({id, NameOf(id), kTypes[draw % kTypes.size()], "agent",
                             "Elem3nt!" + std::to_string(draw % 1000000),
                             draw / 7 % kSilentOneIn != 0});
    }
}

const Element& Network::Find(uint32_t id) const {
    if (id == 0 || id > elements_.size()) {
        throw UnknownObjectError("there is no element " + std::to_string(id));
    }
    return elements_[id - 1];
}

Site Network::SiteOf(uint32_t id) const {
    const Element& element = Find(id);
    return {"Exampleland", kCities[element.id % kCities.size()],
            "Room " + std::to_string(100 + element.id % 400),
            "Cabinet " + std::to_string(element.id % 12 + 1)};
}

std::vector<Connection> Network::ConnectionsOf(uint32_t id) const {
    const Element& element = Find(id);
    std::vector<Connection> connections;
    for (uint32_t index = 1; index <= element.id % 5 + 1; ++index) {
        connections.push_back({index, kCustomers[(element.id + index) % kCustomers.size()],
                               kRates[(element.id + index) % kRates.size()]});
    }
    return connections;
}

std::vector<Element> Network::List(uint32_t first, uint32_t count) const {
    Find(first);
    const std::size_t begin = first - 1;
    const std::size_t end = std::min<std::size_t>(elements_.size(), begin + count);
    return {elements_.begin() + static_cast<std::ptrdiff_t>(begin),
            elements_.begin() + static_cast<std::ptrdiff_t>(end)};
}

}  // namespace NS_NORTHBOUND
