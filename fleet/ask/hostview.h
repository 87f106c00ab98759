// The hosts of a store at a glance.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "format/stamp.h"
#include "store/connection.h"

namespace NS_LOG_FLEET {

// What the store knows of a host. A value.
struct HostView {
    std::string host;
    NS_LOG_READER::Time seen = 0;                   // when it told about itself last
    std::optional<NS_LOG_READER::Time> lastRecord;  // the newest of its newest files
    int64_t files = 0;
    int64_t stored = 0;   // bytes
    int64_t backlog = 0;  // bytes that are not sent yet
    int64_t gaps = 0;     // parts that are stored beyond a gap
    int64_t lost = 0;     // bytes that were gone before they were sent
    std::string problem;  // of sending; empty: none

    bool IsWhole() const { return gaps == 0 && lost == 0 && problem.empty(); }
};

// By their names. Throws StoreError.
std::vector<HostView> ViewHosts(Connection& connection);

}  // namespace NS_LOG_FLEET
