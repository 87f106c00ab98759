// A connection to the store, and what comes back from it.
#pragma once

#include <libpq-fe.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace NS_LOG_FLEET {

// The store refused something, or cannot be reached.
class StoreError : public std::runtime_error {
  public:
    StoreError(const std::string& text, std::string state)
        : std::runtime_error(text), state_(std::move(state)) {}

    // The five characters of SQLSTATE; empty when the server did not answer. That of a server which
    // is not given the password that it asks for is that of a wrong one.
    const std::string& State() const { return state_; }

    // Whether it may succeed when it is tried again later: the server is gone, starts or stops, has
    // too many connections, no space or no memory, takes no changes just now, or has broken a
    // deadlock.
    bool IsPassing() const;

    // Whether the values are refused: a text that is no UTF-8, a number or a key that is too large.
    // Others may be stored all the same. Not when the encoding of the database lacks a character:
    // the values are right then, and another database takes them.
    bool IsAboutValues() const;

    // A key is there already.
    bool IsDuplicate() const { return state_ == "23505"; }

  private:
    std::string state_;
};

// A value of a statement: NULL, or text in the form that the server reads.
using Parameter = std::optional<std::string>;

// The bytes as a bytea parameter.
std::string ByteaText(std::string_view bytes);

// The rows of a statement, in text form.
//
// Thread safety: const operations.
class Rows {
  public:
    explicit Rows(PGresult* result) : result_(result, &PQclear) {}

    int Count() const { return PQntuples(result_.get()); }
    bool IsNull(int row, int column) const { return PQgetisnull(result_.get(), row, column) != 0; }
    // Good as long as the rows. Empty for NULL.
    std::string_view Text(int row, int column) const;
    int64_t Number(int row, int column) const;
    bool Flag(int row, int column) const { return Text(row, column) == "t"; }
    std::string Bytes(int row, int column) const;

    // How many rows the statement changed.
    int64_t Changed() const;

  private:
    std::unique_ptr<PGresult, decltype(&PQclear)> result_;
};

// Thread safety: one thread at a time.
class Connection {
  public:
    // `target` is postgresql://USER@HOST/DATABASE with libpq's parameters. Throws StoreError.
    explicit Connection(const std::string& target);

    // One statement. Throws StoreError.
    Rows Run(const std::string& statement, const std::vector<Parameter>& parameters = {});

    // Any number of statements without parameters, as one transaction unless they say otherwise.
    // Throws StoreError.
    void RunScript(const std::string& statements);

    // For COPY, for reading rows one by one, and for waiting for notifications.
    PGconn* Raw() const { return connection_.get(); }

    // What the server said last, as an error.
    StoreError LastError(const PGresult* result = nullptr) const;

  private:
    void AwaitConnection() const;

    std::unique_ptr<PGconn, decltype(&PQfinish)> connection_;
};

// Rolls back what was not committed.
class Transaction {
  public:
    explicit Transaction(Connection& connection) : connection_(connection) {
        connection_.Run("BEGIN");
    }
    ~Transaction();

    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    // Throws StoreError, which is passing; whether it was committed is unknown then.
    void Commit();

  private:
    Connection& connection_;
    bool isOpen_ = true;
};

}  // namespace NS_LOG_FLEET
