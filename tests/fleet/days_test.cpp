// The days of the store, each of which is a table: which are made, and how they go.
#include "fleet/fleetfixture.h"
#include "reader/logtext.h"
#include "store/recordstore.h"

namespace {

using namespace NS_TEST;
using NS_LOG_FLEET::FilePart;
using NS_LOG_FLEET::RecordStore;
using NS_LOG_FLEET::StoreError;
using ::testing::HasSubstr;

class Days : public FleetTest {
  protected:
    int64_t CountDays() const {
        return Number("SELECT count(*) FROM pg_inherits WHERE inhparent = 'qv.record'::regclass");
    }

    // Makes them one after the other. `first`: SQL.
    static void MakeDays(Connection& store, const std::string& first, int count) {
        for (int i = 0; i < count; ++i) {
            store.Run("SELECT qv.make_day(" + first + " + " + std::to_string(i) + ")");
        }
    }

    // The SQLSTATE with which the store refuses; empty: it does not.
    static std::string Refusal(Connection& store, const std::string& statement) {
        try {
            store.Run(statement);
        } catch (const StoreError& error) {
            return error.State();
        }
        return "";
    }

    // The name of no process, and a record for each of many days that are far away.
    void WriteFileOfAWrongClock() const {
        std::string text = CreatedText();
        for (int i = 0; i < 3000; ++i) {
            char stamp[64];
            std::snprintf(stamp, sizeof stamp, "20%02d-%02d-%02dT12:00:00.000001+00:00,",
                          30 + i / 300, i / 25 % 12 + 1, i % 25 + 1);
            text += stamp + std::string("day\n");
        }
        WriteFile(Logs() + "/" + LogName("debug", 0, 4194304), text + ClosedText());
    }

    // Ends soon, whatever happens.
    ChildResult Qvlog(const std::vector<std::string>& more) const {
        std::vector<std::string> words = {"timeout", "-s", "KILL", "120", QVLOG};
        words.insert(words.end(), more.begin(), more.end());
        return RunProgram(ChildStart{words});
    }
    ChildResult Ship(const std::string& host, const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words = {"ship", "--once", "--host", host,
                                          "--to", Target(), Logs()};
        words.insert(words.end(), more.begin(), more.end());
        return Qvlog(words);
    }
};

TEST_F(Days, AreMadeWhenTheyAreNearAndAHundredThatAreNot) {
    Connection store(Target());
    const std::string today = "(now() AT TIME ZONE 'UTC')::date";
    MakeDays(store, "date '2150-01-01'", 99);
    EXPECT_EQ(Refusal(store, "SELECT qv.make_day(" + today + " - 401)"), "");
    const std::string other = "SELECT qv.make_day('2160-01-01')";
    EXPECT_EQ(Refusal(store, other), "22008");
    EXPECT_EQ(Refusal(store, "SELECT qv.make_day(" + today + " + 3)"), "22008");
    // Those that are there stay of use.
    EXPECT_EQ(Refusal(store, "SELECT qv.make_day('2150-01-01')"), "");
    EXPECT_EQ(Refusal(store, "SELECT qv.make_day(" + today + " - 400)"), "");
    EXPECT_EQ(Refusal(store, "SELECT qv.make_day(" + today + " + 2)"), "");
    EXPECT_EQ(CountDays(), 102);
    store.Run("DROP TABLE qv.record_21500101");
    EXPECT_EQ(Refusal(store, other), "");
}

TEST_F(Days, OfAWrongClockStopNobodyElse) {
    WriteFileOfAWrongClock();
    const ChildResult refused = Ship("host2");
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_THAT(refused.errors, HasSubstr("is made: the store has 100 days already"));
    EXPECT_THAT(refused.errors, HasSubstr("Look at the clock of the host"));
    EXPECT_LE(CountDays(), 101);

    std::filesystem::remove(Logs() + "/" + LogName("debug", 0, 4194304));
    RunAgent(5);
    const ChildResult others = Ship("host1");
    EXPECT_EQ(others.exitCode, 0) << others.errors;
    ExpectStoreHasFiles();
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"-c"}, {"verify", "--host", "host1"}}) {
        std::vector<std::string> asked = words;
        asked.insert(asked.end(), {"--store", Target()});
        const ChildResult answer = Qvlog(asked);
        EXPECT_EQ(answer.exitCode, 0) << answer.errors;
    }
}

// An operator keeps it elsewhere, perhaps, and it cannot be made anew under its name.
TEST_F(Days, ThatAreDetachedAreRefusedAndAttachedAgainStored) {
    WriteFile(Logs() + "/" + LogName("debug", 0, 4194304),
              CreatedText() + ShortText(1, "one") + ClosedText());
    ASSERT_EQ(Ship("host1").exitCode, 0);
    Connection store(Target());
    store.Run("ALTER TABLE qv.record DETACH PARTITION qv.record_20260305");
    const ChildResult refused = Ship("host1", {"--again"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_THAT(refused.errors,
                HasSubstr("the table qv.record_20260305 is there and is no part of qv.record"));
    store.Run(
        "ALTER TABLE qv.record ATTACH PARTITION qv.record_20260305"
        " FOR VALUES FROM ('2026-03-05') TO ('2026-03-06')");
    EXPECT_EQ(Ship("host1", {"--again"}).exitCode, 0);
    ExpectStoreHasFiles();
}

TEST_F(Days, ThatAreNotThereAfterTheyWereMadeAreAwaitedByNobody) {
    WriteFile(Logs() + "/" + LogName("debug", 0, 4194304), CreatedText() + ShortText(1, "one"));
    Connection(Target()).Run(
        "CREATE OR REPLACE FUNCTION qv.make_day(wanted date) RETURNS void LANGUAGE plpgsql"
        " AS 'BEGIN END'");
    const ChildResult refused = Ship("host1");
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_THAT(refused.errors, HasSubstr("no partition of relation"));
}

// More would take more locks than a server has.
TEST_F(Days, AreRemovedThreeHundredAtATimeTheOldestFirst) {
    Connection store(Target());
    MakeDays(store, "(now() AT TIME ZONE 'UTC')::date - 320", 310);
    const std::string remove = "SELECT qv.drop_days((now() AT TIME ZONE 'UTC')::date - 11)";
    EXPECT_EQ(store.Run(remove).Number(0, 0), 300);
    EXPECT_EQ(CountDays(), 10);
    EXPECT_EQ(store.Run(remove).Number(0, 0), 9);
    EXPECT_EQ(store.Run(remove).Number(0, 0), 0);
    EXPECT_EQ(CountDays(), 1);
}

// What is known of the files of those that are left is still needed.
TEST_F(Days, TakeTheFilesThatHaveGoneWithTheLastOfThem) {
    Connection store(Target());
    MakeDays(store, "(now() AT TIME ZONE 'UTC')::date - 320", 301);
    store.Run(
        "INSERT INTO qv.file (host, name, identity, category, process, stored, gone, changed)"
        " VALUES ('h', 'gone', '', '', 1, 9, '2000-01-01', '2000-01-01'),"
        "        ('h', 'there', '', '', 1, 9, NULL, '2000-01-01')");
    store.Run(
        "INSERT INTO qv.chunk SELECT id, 0, 0, ''::bytea FROM qv.file"
        " UNION ALL SELECT id, 9, 9, '' FROM qv.file");
    const std::string remove = "SELECT qv.drop_days((now() AT TIME ZONE 'UTC')::date)";
    EXPECT_EQ(store.Run(remove).Number(0, 0), 300);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file"), 2);
    EXPECT_EQ(store.Run(remove).Number(0, 0), 1);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file WHERE name = 'there'"), 1);
    // A part of a piece that is stored already is of no use any more.
    EXPECT_EQ(Number("SELECT sum(piece) FROM qv.chunk"), 9);
}

// Each day that a statement looks at takes locks, and somebody may keep one to himself.
TEST_F(Days, AreNotAllLookedAtForAPartOfAPiece) {
    RecordStore store(Target() + "?options=-c%20lock_timeout%3D5000");
    const std::string text = ShortText(1, "a long record");
    RecordStore::Chunk chunk;
    chunk.file.id = store.FindFile({"host1", LogName("debug"), "first\n"}).id;
    chunk.file.day = NS_LOG_FLEET::DayOfName(LogName("debug"));
    chunk.piece = {NS_LOG_READER::PieceKind::Short, 0, static_cast<uint32_t>(text.size())};
    chunk.bytes = std::string_view(text).substr(0, 20);
    Connection other(Target());
    other.Run("SELECT qv.make_day('2020-03-05')");
    other.Run("BEGIN");
    other.Run("LOCK TABLE qv.record_20200305");
    EXPECT_EQ(store.StoreChunk(chunk), 0U);
    RecordStore::Chunk last = chunk;
    last.offset = 20;
    last.bytes = std::string_view(text).substr(20);
    EXPECT_EQ(store.StoreChunk(last), 1U);
    // What comes again is known, and nothing of it stays.
    EXPECT_EQ(store.StoreChunk(chunk), 0U);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.chunk"), 0);
}

// It is stored under the day of its time, and found there when all of it has come again.
TEST_F(Days, ThatAFilesNameDoesNotTellTakeAPieceOnce) {
    RecordStore store(Target());
    const std::string text = ShortText(1, "a long record");
    RecordStore::Chunk chunk;
    chunk.file.id = store.FindFile({"host1", "other.log", "first\n"}).id;
    chunk.piece = {NS_LOG_READER::PieceKind::Short, 0, static_cast<uint32_t>(text.size())};
    chunk.bytes = text;
    EXPECT_EQ(store.StoreChunk(chunk), 1U);
    EXPECT_EQ(store.StoreChunk(chunk), 0U);
    EXPECT_EQ(CountRecords(), 1);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.chunk"), 0);
}

TEST_F(Days, OfAnOlderStoreAreUsedWhenItsTablesHaveBeenChanged) {
    RunAgent(1);
    Connection store(Target());
    store.Run("DELETE FROM qv.migration WHERE number = (SELECT max(number) FROM qv.migration)");
    const ChildResult refused = Ship("host1");
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_THAT(refused.errors, HasSubstr("'qvlog collect --migrate' makes them"));
    const ChildResult changed = Qvlog({"collect", "--migrate", "--to", Target()});
    EXPECT_THAT(changed.output, HasSubstr("1 of "));
    EXPECT_EQ(Ship("host1").exitCode, 0);
    ExpectStoreHasFiles();
}

}  // namespace
