#include <memory>
#include <vector>

#include "command/archive.h"
#include "command/commands.h"
#include "command/followoutput.h"
#include "command/session.h"
#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

void PrintPast(const Options& options, Store& store, FollowOutput& output) {
    Session session(options, store);
    output.PrintPast(*session.Open(output.GetMatcher(), {}, true));
}

void PrintNew(Store& store, FollowOutput& output) {
    std::vector<KeptRecord> fresh;
    store.TakeNew(output.GetMatcher(), output.Problems(),
                  [&](const Found& found) { fresh.emplace_back(found); });
    output.PrintNew(std::move(fresh));
}

}  // namespace

ExitCode RunFollowStore(const Options& options) {
    if (options.endsWithAgent) {
        throw BadRequest("--end-with-agent: a store does not know when an agent ends");
    }
    FollowOutput output(options);
    const std::unique_ptr<Store> store = OpenStore(options.store);
    try {
        output.Begin();
        PrintPast(options, *store, output);
        store->BeginFollowing();
        do {
            PrintNew(*store, output);
        } while (store->Wait());
    } catch (const OutputClosed&) {
        // As much was wanted as was read.
    }
    return output.Exit();
}

}  // namespace NS_LOG_READER
