#include "store/connection.h"

#include <poll.h>

#include <charconv>
#include <chrono>

namespace NS_LOG_FLEET {
namespace {

constexpr std::chrono::seconds kConnectTime{10};

constexpr size_t kErrorCodeSize = 5;

constexpr const char* kReadOnly = "25006";
constexpr const char* kTooLarge = "54000";
constexpr const char* kNotInEncoding = "22P05";
constexpr const char* kWrongPassword = "28P01";
constexpr const char* kRolledBack = "40000";

// Where the code stands in "FATAL:  28P01: password authentication failed", in any language; npos
// when there is none.
size_t FindErrorCode(const std::string& text) {
    for (size_t at = text.find(":  "); at != std::string::npos; at = text.find(":  ", at + 1)) {
        const size_t code = at + 3;
        const size_t end = text.find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ", code);
        if (end == code + kErrorCodeSize && text.compare(end, 2, ": ") == 0) {
            return code;
        }
    }
    return std::string::npos;
}

std::string WithoutEnd(const char* message) {
    std::string text = message == nullptr ? "" : message;
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return text;
}

}  // namespace

bool StoreError::IsPassing() const {
    if (state_.empty()) {
        return true;
    }
    // Connection trouble, no resources, an operator's intervention, the system below the server, a
    // transaction that was rolled back for another's sake.
    for (const char* group : {"08", "53", "57", "58", "40"}) {
        if (state_.compare(0, 2, group) == 0) {
            return true;
        }
    }
    // A standby that is about to be promoted, or a server that an operator has made read-only.
    return state_ == kReadOnly;
}

bool StoreError::IsAboutValues() const {
    return (state_.compare(0, 2, "22") == 0 && state_ != kNotInEncoding) || state_ == kTooLarge;
}

std::string ByteaText(std::string_view bytes) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text = "\\x";
    text.reserve(2 + 2 * bytes.size());
    for (const char byte : bytes) {
        text.push_back(digits[static_cast<unsigned char>(byte) >> 4]);
        text.push_back(digits[static_cast<unsigned char>(byte) & 15]);
    }
    return text;
}

std::string_view Rows::Text(int row, int column) const {
    return {PQgetvalue(result_.get(), row, column),
            static_cast<size_t>(PQgetlength(result_.get(), row, column))};
}

int64_t Rows::Number(int row, int column) const {
    const std::string_view text = Text(row, column);
    int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string Rows::Bytes(int row, int column) const {
    size_t size = 0;
    const std::unique_ptr<unsigned char, decltype(&PQfreemem)> bytes(
        PQunescapeBytea(
            reinterpret_cast<const unsigned char*>(PQgetvalue(result_.get(), row, column)), &size),
        &PQfreemem);
    return bytes ? std::string(reinterpret_cast<const char*>(bytes.get()), size) : std::string();
}

int64_t Rows::Changed() const {
    const std::string_view text = PQcmdTuples(result_.get());
    int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

Connection::Connection(const std::string& target) : connection_(nullptr, &PQfinish) {
    // What stands in front of the target can be said otherwise by it; what stands behind it cannot.
    // A machine that vanishes without a word is noticed within a minute: by what it does not
    // acknowledge, and while an answer is awaited by what is asked in between. The system would ask
    // after two hours.
    const char* const keys[] = {
        "fallback_application_name", "tcp_user_timeout", "keepalives_idle", "keepalives_interval",
        "keepalives_count",          "dbname",           "client_encoding", nullptr};
    const char* const values[] = {"qvlog", "60000",        "30",   "10",
                                  "3",     target.c_str(), "UTF8", nullptr};
    connection_.reset(PQconnectStartParams(keys, values, 1));
    // With it, a server that refuses says which state that is.
    PQsetErrorVerbosity(connection_.get(), PQERRORS_VERBOSE);
    AwaitConnection();
    PQsetErrorVerbosity(connection_.get(), PQERRORS_DEFAULT);
    PQsetNoticeProcessor(
        connection_.get(), [](void*, const char*) {}, nullptr);
}

void Connection::AwaitConnection() const {
    const auto end = std::chrono::steady_clock::now() + kConnectTime;
    PostgresPollingStatusType status = PGRES_POLLING_WRITING;
    while (status != PGRES_POLLING_OK && status != PGRES_POLLING_FAILED) {
        pollfd waited{PQsocket(connection_.get()),
                      static_cast<short>(status == PGRES_POLLING_READING ? POLLIN : POLLOUT), 0};
        if (std::chrono::steady_clock::now() >= end) {
            throw StoreError("the store does not answer", "");
        }
        if (waited.fd < 0 || ::poll(&waited, 1, 100) != 0) {
            status = PQconnectPoll(connection_.get());
        }
    }
    if (status == PGRES_POLLING_FAILED) {
        const std::string text = PQerrorMessage(connection_.get());
        const size_t code = FindErrorCode(text);
        if (code == std::string::npos) {
            // The server was not told a password: it has not refused anything yet.
            const bool lacksPassword = PQconnectionNeedsPassword(connection_.get()) != 0;
            throw StoreError(WithoutEnd(text.c_str()), lacksPassword ? kWrongPassword : "");
        }
        const size_t message = code + kErrorCodeSize + 2;
        throw StoreError(text.substr(message, text.find('\n', message) - message),
                         text.substr(code, kErrorCodeSize));
    }
}

StoreError Connection::LastError(const PGresult* result) const {
    const char* const state =
        result == nullptr ? nullptr : PQresultErrorField(result, PG_DIAG_SQLSTATE);
    const char* const message = result == nullptr ? "" : PQresultErrorMessage(result);
    const std::string text =
        WithoutEnd(*message != '\0' ? message : PQerrorMessage(connection_.get()));
    return StoreError(text.empty() ? "the store does not answer" : text,
                      state == nullptr ? "" : state);
}

Rows Connection::Run(const std::string& statement, const std::vector<Parameter>& parameters) {
    std::vector<const char*> values;
    values.reserve(parameters.size());
    for (const Parameter& parameter : parameters) {
        values.push_back(parameter ? parameter->c_str() : nullptr);
    }
    PGresult* const result =
        PQexecParams(connection_.get(), statement.c_str(), static_cast<int>(values.size()), nullptr,
                     values.data(), nullptr, nullptr, 0);
    Rows rows(result);
    const ExecStatusType status = PQresultStatus(result);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK && status != PGRES_COPY_IN) {
        throw LastError(result);
    }
    return rows;
}

void Connection::RunScript(const std::string& statements) {
    PGresult* const result = PQexec(connection_.get(), statements.c_str());
    const Rows rows(result);
    const ExecStatusType status = PQresultStatus(result);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
        throw LastError(result);
    }
}

Transaction::~Transaction() {
    if (isOpen_) {
        PQclear(PQexec(connection_.Raw(), "ROLLBACK"));
    }
}

// All statements were carried out, so nothing is wrong with their values: the server has no room to
// tell those who listen, say.
void Transaction::Commit() {
    try {
        connection_.Run("COMMIT");
    } catch (const StoreError& error) {
        if (error.IsPassing()) {
            throw;
        }
        throw StoreError(error.what(), kRolledBack);
    }
    isOpen_ = false;
}

}  // namespace NS_LOG_FLEET
