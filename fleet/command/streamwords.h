// The options that say how to reach the servers of the streams.
#pragma once

#include <CLI/CLI.hpp>

#include "stream/streamconnection.h"

namespace NS_LOG_FLEET {

inline void AddStreamOptions(CLI::App& app, StreamAddress& address, uint32_t& shards) {
    app.add_option("--ca", address.authorities, "Certificates to trust; the servers must have one")
        ->type_name("FILE");
    app.add_option("--cert", address.certificate, "The certificate to show to the servers")
        ->type_name("FILE");
    app.add_option("--key", address.key, "Its key")->type_name("FILE");
    app.add_option("--shards", shards, "Into how many streams the hosts are divided (default: 1)")
        ->type_name("N");
}

}  // namespace NS_LOG_FLEET
