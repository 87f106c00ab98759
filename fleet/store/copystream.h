// Rows on their way into a table.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "store/connection.h"

namespace NS_LOG_FLEET {

// One COPY ... FROM STDIN in the binary format. Needs the memory of a block and of one field.
//
//     CopyStream copy(connection, "COPY t (a, b) FROM STDIN (FORMAT binary)", 2);
//     copy.BeginRow(); copy.PutBigint(1); copy.PutNull(); ...
//     copy.Finish();
//
// Thread safety: none.
class CopyStream {
  public:
    // Throws StoreError.
    CopyStream(Connection& connection, const std::string& statement, int16_t columns);

    // Gives the COPY up if it was not finished.
    ~CopyStream();

    CopyStream(const CopyStream&) = delete;
    CopyStream& operator=(const CopyStream&) = delete;

    // Each of them may throw StoreError.
    void BeginRow();
    void PutNull();
    void PutBoolean(bool value);
    void PutInteger(int32_t value);
    void PutBigint(int64_t value);
    void PutBytes(std::string_view bytes);      // also for an enumeration's label
    void PutColumnText(std::string_view text);  // see columntext.h
    void PutTime(int64_t micros);               // since 1970, UTC
    void PutDay(int64_t days);                  // since 1970

    // Throws StoreError when one of the rows was refused.
    void Finish();

  private:
    void PutLength(int32_t length);
    void Send();

    Connection& connection_;
    const int16_t columns_;
    std::string buffer_;
    bool isOpen_ = true;
};

}  // namespace NS_LOG_FLEET
