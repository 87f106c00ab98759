// The network that the agent manages: made up from a seed, so that each run has the same one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace NS_NORTHBOUND {

struct Element {
    uint32_t id = 0;
    std::string name;
    std::string type;
    std::string accessUser;
    std::string accessPassword;
    bool answers = true;  // when it is asked
};

struct Site {
    std::string country;
    std::string city;
    std::string room;
    std::string cabinet;
};

struct Connection {
    uint32_t index = 0;
    std::string customer;
    std::string rate;
};

// What the example's agent and its client make the network of.
constexpr uint32_t kNetworkSize = 10000;
constexpr uint32_t kNetworkSeed = 15;

// Thread safety: constant once it is made.
class Network {
  public:
    // `count` elements with the numbers from 1 on. Two networks of one seed are equal.
    Network(uint32_t count, uint32_t seed);

    uint32_t Count() const { return static_cast<uint32_t>(elements_.size()); }

    // Throw UnknownObjectError for an element that does not exist.
    const Element& Find(uint32_t id) const;
    Site SiteOf(uint32_t id) const;
    std::vector<Connection> ConnectionsOf(uint32_t id) const;

    // At most `count` elements from `first` on, at least one.
    std::vector<Element> List(uint32_t first, uint32_t count) const;

  private:
    std::vector<Element> elements_;
};

}  // namespace NS_NORTHBOUND
