#include "store/migration.h"

namespace NS_LOG_FLEET {
namespace {

// Any number that nobody else uses in this database.
constexpr const char* kTakeTurn = "SELECT pg_advisory_xact_lock(7112)";

// 0: it has no tables yet.
int ReadVersion(Connection& connection) {
    const Rows table = connection.Run("SELECT to_regclass('qv.migration') IS NOT NULL");
    if (!table.Flag(0, 0)) {
        return 0;
    }
    const Rows version = connection.Run("SELECT coalesce(max(number), 0) FROM qv.migration");
    return static_cast<int>(version.Number(0, 0));
}

int NewestVersion() {
    return AllMigrations().back().number;
}

void RefuseNewer(int version) {
    if (version > NewestVersion()) {
        throw StoreError("the store has tables of version " + std::to_string(version) +
                             ", this program knows " + std::to_string(NewestVersion()),
                         "0A000");
    }
}

void Apply(Connection& connection, const Migration& migration) {
    connection.RunScript(migration.statements);
    connection.Run("INSERT INTO qv.migration (number, name) VALUES ($1, $2)",
                   {std::to_string(migration.number), migration.name});
}

}  // namespace

int Migrate(Connection& connection) {
    int version = ReadVersion(connection);
    RefuseNewer(version);
    if (version == NewestVersion()) {
        return 0;
    }
    Transaction transaction(connection);
    connection.Run(kTakeTurn);
    connection.RunScript(
        "CREATE SCHEMA IF NOT EXISTS qv;"
        "CREATE TABLE IF NOT EXISTS qv.migration (number integer PRIMARY KEY, name text NOT NULL,"
        " applied timestamptz NOT NULL DEFAULT now())");
    // Another program may have done it while this one waited.
    version = ReadVersion(connection);
    int applied = 0;
    for (const Migration& migration : AllMigrations()) {
        if (migration.number > version) {
            Apply(connection, migration);
            ++applied;
        }
    }
    transaction.Commit();
    return applied;
}

void DemandCurrentSchema(Connection& connection) {
    const int version = ReadVersion(connection);
    RefuseNewer(version);
    if (version < NewestVersion()) {
        throw StoreError(
            "the store has no tables for this program; 'qvlog collect --migrate' makes "
            "them",
            "42P01");
    }
}

}  // namespace NS_LOG_FLEET
