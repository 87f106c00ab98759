// Bringing the store's tables to the form that this program knows.
#pragma once

#include <string>
#include <vector>

#include "store/connection.h"

namespace NS_LOG_FLEET {

// A file of fleet/schema. Each is applied once, in the order of their numbers, and never changed
// afterwards.
struct Migration {
    int number = 0;
    const char* name = "";
    const char* statements = "";
};

// All that this program knows, in their order.
const std::vector<Migration>& AllMigrations();

// Applies those that the store does not have yet. Several programs may do so at once. Returns how
// many were applied. Throws StoreError, also when the store has one that this program does not
// know: it may mean something else by its columns.
int Migrate(Connection& connection);

// Refuses a store that Migrate would change, and one that has no tables. Throws StoreError.
void DemandCurrentSchema(Connection& connection);

}  // namespace NS_LOG_FLEET
