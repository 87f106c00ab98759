// qvlog collect
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

#include "command/fleetcommands.h"
#include "store/migration.h"

namespace NS_LOG_FLEET {
namespace {

struct CollectWords {
    std::string store;
    bool migrates = false;
};

int RunCollect(const CollectWords& words) {
    if (words.migrates) {
        Connection connection(words.store);
        const int applied = Migrate(connection);
        std::printf("%d of %zu changes of the tables were made\n", applied, AllMigrations().size());
    }
    return 0;
}

}  // namespace

void AddCollect(const NS_LOG_READER::CommandAdder& add) {
    const auto words = std::make_shared<CollectWords>();
    CLI::App* const app =
        add("collect", "Store what shippers send",
            [words](const NS_LOG_READER::Options&) { return RunCollect(*words); });
    app->add_option("--to", words->store, "The store: postgresql://...")
        ->type_name("URL")
        ->required();
    app->add_flag("--migrate", words->migrates, "Make or change the store's tables first");
}

}  // namespace NS_LOG_FLEET
