#include "manager/loggerindex.h"

#include <functional>

namespace NS_LOG_SERVICE1 {
namespace {

LoggerName NameOf(const Logger& logger) {
    return {logger.First(), logger.Second(), logger.Category()};
}

size_t Hash(const LoggerName& name) {
    const std::hash<std::string_view> hash;
    return (hash(name.first) * 31 + hash(name.second)) * 31 + hash(name.category);
}

// The slots in which a logger of that hash may be, one after the other.
class Probe {
  public:
    Probe(size_t hash, size_t slots) : mask_(slots - 1), position_(hash & mask_) {}

    size_t Position() const { return position_; }
    void Next() { position_ = (position_ + 1) & mask_; }

  private:
    size_t mask_;
    size_t position_;
};

}  // namespace

Logger* LoggerIndex::Find(const LoggerName& name) const {
    const size_t hash = Hash(name);
    for (Probe probe(hash, slots_.size());; probe.Next()) {
        const Slot& slot = slots_[probe.Position()];
        if (slot.logger == nullptr || (slot.hash == hash && NameOf(*slot.logger) == name)) {
            return slot.logger;
        }
    }
}

void LoggerIndex::Add(Logger& logger) {
    if (2 * (count_ + 1) > slots_.size()) {
        Slots larger(2 * slots_.size());
        for (const Slot& slot : slots_) {
            if (slot.logger != nullptr) {
                Put(larger, slot);
            }
        }
        slots_.swap(larger);
    }
    Put(slots_, {Hash(NameOf(logger)), &logger});
    ++count_;
}

void LoggerIndex::Put(Slots& slots, const Slot& slot) {
    Probe probe(slot.hash, slots.size());
    while (slots[probe.Position()].logger != nullptr) {
        probe.Next();
    }
    slots[probe.Position()] = slot;
}

}  // namespace NS_LOG_SERVICE1
