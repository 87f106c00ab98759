// qvlog prune --shipped
#include <CLI/CLI.hpp>

#include <memory>

#include "command/fleetcommands.h"
#include "command/targetwords.h"
#include "ship/arrivalcheck.h"

namespace NS_LOG_FLEET {
namespace {

NS_LOG_READER::FileGuard OpenGuard(const TargetWords& words) {
    const auto check = std::make_shared<ArrivalCheck>(words.host, ChooseTarget(words)());
    return [check](const std::string& path) { return check->WhyItStays(path); };
}

}  // namespace

void ExtendPrune(CLI::App& prune, NS_LOG_READER::Options& options) {
    const auto words = std::make_shared<TargetWords>();
    CLI::Option* const shipped = prune.add_flag_callback(
        "--shipped",
        [&options, words] { options.openGuard = [words] { return OpenGuard(*words); }; },
        "Remove only what has arrived where this machine's\nshipper sends to");
    CLI::Option* const target = AddTargetOptions(prune, "--to,--store", *words);
    shipped->needs(target);
    target->needs(shipped);
}

}  // namespace NS_LOG_FLEET
