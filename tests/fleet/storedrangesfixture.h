// A store to which a file comes in any order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fleet/fleetfixture.h"
#include "reader/logtext.h"
#include "store/recordstore.h"

namespace NS_TEST {

class StoredRangesTest : public FleetTest {
  protected:
    StoredRangesTest() : store_(Target()) {
        file_.id = store_.FindFile({"host1", LogName("debug"), "first\n"}).id;
        file_.day = NS_LOG_FLEET::DayOfName(LogName("debug"));
    }

    // Stores so many short records, which are of one size, behind so many others.
    void Store(int first, int count) {
        NS_LOG_FLEET::FilePart part;
        part.offset = static_cast<uint64_t>(first) * kSize;
        for (int i = first; i < first + count; ++i) {
            part.bytes += ShortText(i, "record");
            part.slices.push_back(
                {NS_LOG_READER::PieceKind::Short, 0, static_cast<uint32_t>(kSize)});
        }
        store_.Store({{file_, &part}});
    }

    static constexpr size_t kSize = 40;  // of ShortText with "record"

  private:
    NS_LOG_FLEET::RecordStore store_;
    NS_LOG_FLEET::RowFile file_;
};

}  // namespace NS_TEST
