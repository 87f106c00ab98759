// The names of many loggers, and an order in which they are asked for.
#pragma once

#include <cstdint>
#include <string>

namespace NS_BENCH {

inline std::string LoggerName(int index) {
    return "managed_element_session_" + std::to_string(index);
}

// Some index below `count`, spread so that no cache knows the next one.
inline size_t ScatteredIndex(int number, size_t count) {
    return static_cast<size_t>(static_cast<uint32_t>(number) * 2654435761U) % count;
}

}  // namespace NS_BENCH
