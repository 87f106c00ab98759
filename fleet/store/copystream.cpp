#include "store/copystream.h"

#include <memory>

#include "store/columntext.h"

namespace NS_LOG_FLEET {
namespace {

using namespace std::string_view_literals;

constexpr size_t kBlock = size_t{256} * 1024;

// The signature, no flags, no extension.
constexpr std::string_view kHeader = "PGCOPY\n\377\r\n\0\0\0\0\0\0\0\0\0"sv;

// The server counts from 2000-01-01.
constexpr int64_t kEpochDays = 10957;
constexpr int64_t kEpochMicros = kEpochDays * 86400 * 1000000;

template <class Number>
void AppendNumber(Number number, std::string& out) {
    char bytes[sizeof number];
    auto rest = static_cast<std::make_unsigned_t<Number>>(number);
    for (size_t i = sizeof number; i > 0; --i) {
        bytes[i - 1] = static_cast<char>(rest & 0xFF);
        rest = static_cast<decltype(rest)>(rest >> 8);
    }
    out.append(bytes, sizeof bytes);
}

}  // namespace

CopyStream::CopyStream(Connection& connection, const std::string& statement, int16_t columns)
    : connection_(connection), columns_(columns) {
    connection_.Run(statement);
    buffer_.reserve(kBlock + kBlock / 4);
    buffer_.append(kHeader);
}

CopyStream::~CopyStream() {
    if (!isOpen_) {
        return;
    }
    PQputCopyEnd(connection_.Raw(), "given up");
    while (PGresult* const result = PQgetResult(connection_.Raw())) {
        PQclear(result);
    }
}

void CopyStream::Send() {
    if (PQputCopyData(connection_.Raw(), buffer_.data(), static_cast<int>(buffer_.size())) != 1) {
        throw connection_.LastError();
    }
    buffer_.clear();
}

void CopyStream::PutLength(int32_t length) {
    AppendNumber(length, buffer_);
}

void CopyStream::BeginRow() {
    if (buffer_.size() >= kBlock) {
        Send();
    }
    AppendNumber(columns_, buffer_);
}

void CopyStream::PutNull() {
    PutLength(-1);
}

void CopyStream::PutBoolean(bool value) {
    PutLength(1);
    buffer_.push_back(value ? '\1' : '\0');
}

void CopyStream::PutInteger(int32_t value) {
    PutLength(sizeof value);
    AppendNumber(value, buffer_);
}

void CopyStream::PutBigint(int64_t value) {
    PutLength(sizeof value);
    AppendNumber(value, buffer_);
}

void CopyStream::PutBytes(std::string_view bytes) {
    PutLength(static_cast<int32_t>(bytes.size()));
    // A long field goes in parts; that of one row may be many blocks.
    while (bytes.size() > kBlock) {
        buffer_.append(bytes.substr(0, kBlock));
        bytes.remove_prefix(kBlock);
        Send();
    }
    buffer_.append(bytes);
}

void CopyStream::PutColumnText(std::string_view text) {
    const size_t at = buffer_.size();
    PutLength(0);
    AppendColumnText(text, buffer_);
    std::string length;
    AppendNumber(static_cast<int32_t>(buffer_.size() - at - sizeof(int32_t)), length);
    buffer_.replace(at, length.size(), length);
}

void CopyStream::PutTime(int64_t micros) {
    PutBigint(micros - kEpochMicros);
}

void CopyStream::PutDay(int64_t days) {
    PutInteger(static_cast<int32_t>(days - kEpochDays));
}

void CopyStream::Finish() {
    AppendNumber(int16_t{-1}, buffer_);
    Send();
    isOpen_ = false;
    if (PQputCopyEnd(connection_.Raw(), nullptr) != 1) {
        throw connection_.LastError();
    }
    // The connection is of use again only when all results have been read.
    std::unique_ptr<PGresult, decltype(&PQclear)> first(PQgetResult(connection_.Raw()), &PQclear);
    while (PGresult* const result = PQgetResult(connection_.Raw())) {
        PQclear(result);
    }
    if (PQresultStatus(first.get()) != PGRES_COMMAND_OK) {
        throw connection_.LastError(first.get());
    }
}

}  // namespace NS_LOG_FLEET
