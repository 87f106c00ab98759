// The fleet's commands of the program.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

#include "command/addedcommands.h"
#include "query/pattern.h"
#include "store/migration.h"

namespace NS_LOG_READER {
namespace {

struct CollectWords {
    std::string store;
    bool migrates = false;
};

int RunCollect(const CollectWords& words) {
    if (words.migrates) {
        NS_LOG_FLEET::Connection connection(words.store);
        const int applied = NS_LOG_FLEET::Migrate(connection);
        std::printf("%d of %zu changes of the tables were made\n", applied,
                    NS_LOG_FLEET::AllMigrations().size());
    }
    return 0;
}

void AddCollect(const CommandAdder& add) {
    const auto words = std::make_shared<CollectWords>();
    CLI::App* const app = add("collect", "Store what shippers send",
                              [words](const Options&) { return RunCollect(*words); });
    app->add_option("--to", words->store, "The store: postgresql://...")
        ->type_name("URL")
        ->required();
    app->add_flag("--migrate", words->migrates, "Make or change the store's tables first");
}

void AddFleetCommands(const CommandAdder& add) {
    AddCollect(add);
}

const bool kIsAdded = AddLibrary(&AddFleetCommands);

}  // namespace
}  // namespace NS_LOG_READER
