// qvlog ship
#include <CLI/CLI.hpp>
#include <csignal>
#include <memory>

#include "command/fleetcommands.h"
#include "command/stoporders.h"
#include "command/targetwords.h"
#include "query/badrequest.h"
#include "ship/shipper.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::BadRequest;

struct ShipWords {
    ShipSettings settings;
    TargetWords target;
};

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
    settings.host = words.target.host;
    Shipper shipper(settings, ChooseTarget(words.target));
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
    CLI::App* const app =
        add("ship", "Send the records to a store or a stream",
            [words](const NS_LOG_READER::Options& options) { return RunShip(*words, options); });
    app->get_option("PATH")->description(
        "Log files, and directories of them; compressed files are\nnot sent\n"
        "(default: the directory log in $_APP_SHARE_DIR)");
    ShipSettings& settings = words->settings;
    AddTargetOptions(*app, "--to", words->target)->required();
    app->add_option("--rate", settings.bytesPerSecond,
                    "Send at most so much in a second: 500K, 10M")
        ->type_name("SIZE")
        ->transform(CLI::AsSizeValue(false));
    app->add_flag("--once", settings.once, "End when all that is there has arrived");
    app->add_flag("--again", settings.again, "Send all from the beginning");
}

}  // namespace NS_LOG_FLEET
