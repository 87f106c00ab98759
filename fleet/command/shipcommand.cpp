// qvlog ship
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <climits>
#include <csignal>
#include <cstdio>
#include <memory>

#include "command/fleetcommands.h"
#include "command/stoporders.h"
#include "command/streamwords.h"
#include "query/pattern.h"
#include "ship/shipper.h"
#include "ship/storetarget.h"
#include "stream/streamtarget.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::BadRequest;

struct ShipWords {
    ShipSettings settings;
    std::string target;
    StreamAddress stream;
    uint32_t shards = 1;
};

std::string HostName() {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, HOST_NAME_MAX) == 0 ? name : "";
}

bool BeginsWith(const std::string& text, const char* beginning) {
    return text.rfind(beginning, 0) == 0;
}

Shipper::MakeTarget ChooseTarget(const ShipWords& words) {
    const std::string url = words.target;
    if (BeginsWith(url, "postgresql://") || BeginsWith(url, "postgres://")) {
        return [url] { return std::make_unique<StoreTarget>(url); };
    }
    if (BeginsWith(url, "nats://") || BeginsWith(url, "tls://")) {
        StreamAddress stream = words.stream;
        stream.servers = url;
        stream.inbox = "_INBOX." + SubjectWord(words.settings.host);
        const auto arrivals = std::make_shared<Arrivals>();
        return [stream, arrivals, host = words.settings.host, shards = words.shards] {
            return StreamTarget::Make(stream, host, shards, arrivals);
        };
    }
    throw BadRequest("--to takes postgresql://... or nats://..., not '" + url + "'");
}

Shipper* runningShipper = nullptr;

void StopShipper(int) {
    runningShipper->Stop();
}

int RunShip(const ShipWords& words, const NS_LOG_READER::Options& options) {
    ShipSettings settings = words.settings;
    settings.paths = options.paths;
    if (settings.paths.empty()) {
        throw BadRequest("no log files: give a PATH, or set _APP_SHARE_DIR");
    }
    if (settings.host.empty()) {
        throw BadRequest("this machine has no name: give --host");
    }
    Shipper shipper(settings, ChooseTarget(words));
    runningShipper = &shipper;
    const StopOrders orders(&StopShipper);
    // A lease that is asked for when a file's writer is looked for could be broken, which is told
    // by a signal that would end the process.
    std::signal(SIGIO, SIG_IGN);
    return shipper.Run() ? 0 : 2;
}

}  // namespace

void AddShip(const NS_LOG_READER::CommandAdder& add) {
    const auto words = std::make_shared<ShipWords>();
    words->settings.host = HostName();
    CLI::App* const app =
        add("ship", "Send the records to a store or a stream",
            [words](const NS_LOG_READER::Options& options) { return RunShip(*words, options); });
    ShipSettings& settings = words->settings;
    app->add_option("--to", words->target, "postgresql://... (the store) or nats://... (a stream)")
        ->type_name("URL")
        ->required();
    app->add_option("--host", settings.host, "What this machine is called (default: its name)")
        ->type_name("NAME");
    app->add_option("--rate", settings.bytesPerSecond,
                    "Send at most so much in a second: 500K, 10M")
        ->type_name("SIZE")
        ->transform(CLI::AsSizeValue(false));
    app->add_flag("--once", settings.once, "End when all that is there has arrived");
    AddStreamOptions(*app, words->stream, words->shards);
    app->add_flag("--again", settings.again, "Send all from the beginning");
}

}  // namespace NS_LOG_FLEET
