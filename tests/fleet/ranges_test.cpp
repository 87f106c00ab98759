// What is noted of the parts of a file that are stored behind a gap.
#include "fleet/storedrangesfixture.h"

namespace {

using namespace NS_TEST;
using ::testing::ElementsAre;

class Ranges : public StoredRangesTest {
  protected:
    // Where they begin and end, counted in records.
    std::vector<std::string> Noted() const {
        Connection store(Target());
        const Rows rows = store.Run(
            "SELECT first / $1::bigint || ' to ' || behind / $1::bigint FROM qv.range"
            " ORDER BY first",
            {std::to_string(kSize)});
        std::vector<std::string> noted;
        noted.reserve(static_cast<size_t>(rows.Count()));
        for (int row = 0; row < rows.Count(); ++row) {
            noted.emplace_back(rows.Text(row, 0));
        }
        return noted;
    }
    int64_t Stored() const { return Number("SELECT stored FROM qv.file") / int64_t{kSize}; }
};

TEST_F(Ranges, AreOneForEachGap) {
    ASSERT_EQ(ShortText(1, "record").size(), size_t{kSize});
    Store(0, 2);
    Store(3, 1);
    Store(4, 2);
    EXPECT_THAT(Noted(), ElementsAre("3 to 6"));
    Store(8, 2);
    Store(3, 2);
    Store(5, 2);
    EXPECT_THAT(Noted(), ElementsAre("3 to 7", "8 to 10"));
    EXPECT_EQ(Stored(), 2);
    Store(7, 1);
    EXPECT_THAT(Noted(), ElementsAre("3 to 10"));
    Store(2, 1);
    EXPECT_THAT(Noted(), ElementsAre());
    EXPECT_EQ(Stored(), 10);
}

TEST_F(Ranges, OfAnOlderStoreAreJoinedWhenItsTablesAreChanged) {
    Store(0, 1);
    Connection store(Target());
    store.Run(
        "INSERT INTO qv.range SELECT id, first * $1::bigint, behind * $1::bigint FROM qv.file,"
        " (VALUES (2, 4), (4, 5), (2, 9), (9, 10), (12, 13), (12, 14)) AS parts (first, behind)",
        {std::to_string(kSize)});
    store.Run("DELETE FROM qv.migration WHERE number >= 5");
    const ChildResult changed =
        RunProgram(ChildStart{{QVLOG, "collect", "--migrate", "--to", Target()}});
    EXPECT_EQ(changed.exitCode, 0) << changed.errors;
    EXPECT_THAT(Noted(), ElementsAre("2 to 10", "12 to 14"));
}

}  // namespace
