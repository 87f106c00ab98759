#include <sqlite3.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "command/commands.h"
#include "command/session.h"
#include "command/unfinishedfile.h"
#include "output/field.h"
#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

// One table, filled in one go. It has its name when it is complete.
//
// Thread safety: one thread.
class Database {
  public:
    explicit Database(const std::string& path) : path_(path), file_(path) {
        if (!file_.Descriptor().IsOpen()) {
            throw std::runtime_error(path + ": " + std::strerror(errno));
        }
        sqlite3* opened = nullptr;
        const int result = sqlite3_open(file_.Path().c_str(), &opened);
        database_.reset(opened);
        Require(result);
        // A database that is not finished is of no use, so nothing is done to save it.
        Execute("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN");
        std::string columns = "utc_us INTEGER";
        std::string places = "?";
        for (const Field& field : AllFields()) {
            columns += std::string(", ") + field.name;
            places += ", ?";
        }
        Execute("CREATE TABLE records (" + columns + ")");
        sqlite3_stmt* prepared = nullptr;
        Require(sqlite3_prepare_v2(database_.get(),
                                   ("INSERT INTO records VALUES (" + places + ")").c_str(), -1,
                                   &prepared, nullptr));
        insert_.reset(prepared);
    }

    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void Insert(const Found& found) {
        sqlite3_stmt* const insert = insert_.get();
        Require(sqlite3_bind_int64(insert, 1, found.record.time));
        int column = 2;
        for (const Field& field : AllFields()) {
            // A text that does not fit must not become an absent one.
            Require(Bind(column, field.get(found)));
            ++column;
        }
        if (sqlite3_step(insert) != SQLITE_DONE) {
            Require(sqlite3_errcode(database_.get()));
        }
        sqlite3_reset(insert);
    }

    void Finish() {
        Execute(
            "CREATE INDEX records_by_time ON records (utc_us);"
            "CREATE INDEX records_by_operation ON records (operation);"
            "CREATE INDEX records_by_level ON records (level, utc_us);"
            "COMMIT");
        insert_.reset();
        database_.reset();
        file_.Finish();
    }

  private:
    int Bind(int column, const FieldValue& value) const {
        switch (value.kind) {
            case FieldValue::Text:
                return sqlite3_bind_text64(insert_.get(), column,
                                           value.text.empty() ? "" : value.text.data(),
                                           value.text.size(), SQLITE_STATIC, SQLITE_UTF8);
            case FieldValue::Number:
                return sqlite3_bind_int64(insert_.get(), column, value.number);
            case FieldValue::Absent:
                return sqlite3_bind_null(insert_.get(), column);
        }
        return SQLITE_MISUSE;
    }

    void Require(int result) const {
        if (result != SQLITE_OK) {
            throw std::runtime_error(path_ + ": " + sqlite3_errmsg(database_.get()));
        }
    }

    void Execute(const std::string& statements) const {
        Require(sqlite3_exec(database_.get(), statements.c_str(), nullptr, nullptr, nullptr));
    }

    const std::string path_;
    UnfinishedFile file_;
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> database_{nullptr, &sqlite3_close};
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> insert_{nullptr, &sqlite3_finalize};
};

}  // namespace

ExitCode RunExport(const Options& options) {
    if (options.exportFormat != "sqlite") {
        throw BadRequest("export: --to sqlite FILE is all there is");
    }
    if (options.target.empty()) {
        throw BadRequest("export: into which FILE?");
    }
    // A link as well, wherever it leads.
    if (std::filesystem::exists(std::filesystem::symlink_status(options.target))) {
        throw BadRequest(options.target + " is there already");
    }
    Session session(options);
    const Matcher matcher(options.selection);
    Database database(options.target);
    const std::unique_ptr<RecordStream> records = session.Open(matcher, {}, false);
    bool wasFound = false;
    Found found;
    while (records->Next(found)) {
        database.Insert(found);
        wasFound = true;
    }
    database.Finish();
    return session.Exit(wasFound);
}

}  // namespace NS_LOG_READER
