// The options that say where a host's records go.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <string>

#include "ship/shipper.h"
#include "stream/streamconnection.h"

namespace NS_LOG_FLEET {

struct TargetWords {
    std::string url;
    std::string host;
    StreamAddress stream;
    uint32_t shards = 1;
};

// The options that name the servers of the streams.
void AddStreamOptions(CLI::App& app, StreamAddress& address, uint32_t& shards);

// Those, and the target and the host's name, which is this machine's unless it is said. `names` are
// those of the option for the target, which is returned.
CLI::Option* AddTargetOptions(CLI::App& app, const char* names, TargetWords& words);

// Throws BadRequest when the URL of a store cannot be right.
void DemandStoreAddress(const std::string& url);

// How to connect to the target. Throws BadRequest when it is none, or when the host has no name.
Shipper::MakeTarget ChooseTarget(const TargetWords& words);

}  // namespace NS_LOG_FLEET
