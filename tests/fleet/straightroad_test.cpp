// From the files straight into the store, with the real server.
#include <fstream>
#include <future>

#include "fleet/fleetfixture.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;

class StraightRoad : public FleetTest {};

TEST_F(StraightRoad, StoresEveryByteOfEveryFileOnce) {
    RunAgent(100);
    const ChildResult result = ShipAll();
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    ExpectStoreHasFiles();
    const int64_t stored = CountRecords();

    EXPECT_EQ(ShipAll().exitCode, 0);
    EXPECT_EQ(CountRecords(), stored);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file WHERE complete AND closed"), 7);
}

TEST_F(StraightRoad, FollowsWhatIsWritten) {
    const auto shipper = StartShipper();
    RunAgent(20);
    Await([&] { return Number("SELECT count(*) FROM qv.file WHERE closed") == 7; });
    RunAgent(20);
    Await([&] { return Number("SELECT count(*) FROM qv.file WHERE closed") == 14; });
    shipper->Signal(SIGTERM);
    EXPECT_EQ(shipper->Wait().exitCode, 0);
    ExpectStoreHasFiles();
}

// Each time there is more to send than one transaction stores: the kill comes in the middle of it.
TEST_F(StraightRoad, IsExactWhenTheShipperIsKilled) {
    for (int i = 1; i <= 5; ++i) {
        RunAgent(500);
        const int64_t before = CountRecords();
        const auto shipper = StartShipper();
        AwaitRecords(before + 1);
        KillAndWait(*shipper);
    }
    EXPECT_EQ(ShipAll().exitCode, 0);
    ExpectStoreHasFiles();
}

TEST_F(StraightRoad, IsExactWhenTheStoreIsKilled) {
    const auto shipper = StartShipper();
    Watch(*shipper);
    for (int i = 1; i <= 3; ++i) {
        const int64_t before = CountRecords();
        const auto agent = StartAgent(1000);
        AwaitRecords(before + 1);
        Postgres().Kill();
        ExpectGoodEnd(*agent);
        Postgres().Start();
        ASSERT_TRUE(shipper->WaitForError("sending goes on", i));
    }
    Await([&] { return Number("SELECT count(*) FROM qv.file WHERE complete") == 21; });
    shipper->Signal(SIGTERM);
    EXPECT_THAT(shipper->Wait().errors, HasSubstr("the store: "));
    ExpectStoreHasFiles();
}

TEST_F(StraightRoad, IsExactWhenAgentShipperAndStoreAreKilledAtOnce) {
    for (int i = 1; i <= 3; ++i) {
        const int64_t before = CountRecords();
        const auto agent = StartAgent(20000);
        const auto shipper = StartShipper();
        AwaitRecords(before + 1000);
        KillAndWait(*agent);
        KillAndWait(*shipper);
        Postgres().Kill();
        Postgres().Start();
    }
    EXPECT_EQ(ShipAll().exitCode, 0);
    ExpectStoreHasFiles();
}

TEST_F(StraightRoad, LetsTwoMakeTheSameDayAtOnce) {
    Connection first(Postgres().Url());
    first.Run("BEGIN");
    first.Run("SELECT qv.make_day('2026-03-05')");
    auto second = std::async(std::launch::async, [&] {
        Connection(Postgres().Url()).Run("SELECT qv.make_day('2026-03-05')");
    });
    Await([&] { return Number("SELECT count(*) FROM pg_locks WHERE NOT granted") == 1; });
    first.Run("COMMIT");
    EXPECT_NO_THROW(second.get());
    EXPECT_EQ(Number("SELECT count(*) FROM pg_inherits WHERE inhparent = 'qv.record'::regclass"),
              1);
}

// Removing a day waits for all who read, and whoever stores waits behind it.
TEST_F(StraightRoad, GoesOnWhileDaysCannotBeRemovedBecauseSomebodyReads) {
    RunAgent(1);
    ASSERT_EQ(ShipAll().exitCode, 0);
    Number("SELECT 1 FROM qv.make_day('2020-03-05')");
    RunAgent(1);
    Connection reader(Postgres().Url());
    reader.Run("BEGIN");
    reader.Run("SELECT count(*) FROM qv.record");
    auto removing = std::async(std::launch::async, [&] {
        try {
            Connection(Postgres().Url()).Run("SELECT qv.drop_days('2021-01-01')");
        } catch (const NS_LOG_FLEET::StoreError& error) {
            return error.State();
        }
        return std::string("removed");
    });
    Await([&] {
        return Number("SELECT count(*) FROM pg_locks WHERE NOT granted") == 1 ||
               removing.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
    EXPECT_EQ(ShipAll().exitCode, 0);
    ExpectStoreHasFiles();
    EXPECT_EQ(removing.get(), "55P03");
    reader.Run("COMMIT");
    EXPECT_EQ(Number("SELECT qv.drop_days('2021-01-01')"), 1);
}

TEST_F(StraightRoad, LetsTwoRemoveTheSameDaysAtOnce) {
    Connection first(Postgres().Url());
    // A busy machine may take longer than it waits otherwise.
    first.Run("ALTER FUNCTION qv.drop_days(date) SET lock_timeout = 0");
    first.Run("SELECT qv.make_day('2020-03-05')");
    first.Run("BEGIN");
    EXPECT_EQ(first.Run("SELECT qv.drop_days('2021-01-01')").Number(0, 0), 1);
    auto second = std::async(std::launch::async, [&] {
        return Connection(Postgres().Url()).Run("SELECT qv.drop_days('2021-01-01')").Number(0, 0);
    });
    Await([&] { return Number("SELECT count(*) FROM pg_locks WHERE NOT granted") == 1; });
    first.Run("COMMIT");
    EXPECT_EQ(second.get(), 0);
}

TEST_F(StraightRoad, SendsTheTornEndOfAFileWhenItsWriterHasEnded) {
    RunAgent(5);
    const std::string name = ListLogFiles(Logs(), "corbaoper").front();
    const std::string text = ReadFile(Logs() + "/" + name);
    WriteFile(Logs() + "/" + name, text.substr(0, text.rfind("</")));
    EXPECT_EQ(ShipAll().exitCode, 0);
    ExpectStoreHasFiles();
    EXPECT_EQ(Number("SELECT count(*) FROM qv.record WHERE torn"), 1);
}

TEST_F(StraightRoad, TellsTwoContentsOfOneNameApart) {
    RunAgent(5);
    const std::string name = ListLogFiles(Logs(), "corbaoper").front();
    const auto shipper = StartShipper();
    Await([&] { return Number("SELECT count(*) FROM qv.file WHERE complete") == 7; });
    std::string text = ReadFile(Logs() + "/" + name);
    const size_t digit = text.find('+') - 1;
    text[digit] = text[digit] == '0' ? '1' : '0';
    WriteFile(Logs() + "/" + name, text);
    Await([&] { return Number("SELECT count(*) FROM qv.file WHERE complete") == 8; });
    EXPECT_EQ(Number("SELECT count(DISTINCT stored) FROM qv.file WHERE name = '" + name + "'"), 1);
}

TEST_F(StraightRoad, ReportsAFileThatWasRemovedBeforeItWasSent) {
    RunAgent(200);
    const std::string name = ListLogFiles(Logs(), "debug").front();
    {
        ChildProcess shipper(ChildStart{ShipWords({"--rate", "100K"})});
        Await([&] {
            return Number("SELECT count(*) FROM qv.file WHERE name = '" + name +
                          "' AND stored > 0 AND NOT complete") == 1;
        });
        KillAndWait(shipper);
    }
    std::filesystem::remove(Logs() + "/" + name);
    const ChildResult result = ShipAll();
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr(name + " was removed before it was sent to its end"));
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file WHERE gone IS NOT NULL"), 1);
    ExpectStoreHasFiles();
}

// The database takes no such text, neither as the name of a file nor in what the host has trouble
// with.
TEST_F(StraightRoad, LeavesOutAFileWhoseNameIsNoText) {
    RunAgent(5);
    const std::string log = Logs() + "/" + ListLogFiles(Logs(), "debug").front();
    const std::string odd = Logs() + "/unbi_d\xFC_20260305_140709_1.log";
    std::filesystem::copy_file(log, odd);
    const ChildResult result = ShipAll();
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr(odd + ": its name is no UTF-8"));
    EXPECT_EQ(
        Number("SELECT count(*) FROM qv.host WHERE problem LIKE '%unbi_d\xEF\xBF\xBD\\_2026%'"), 1);
    std::filesystem::remove(odd);
    ExpectStoreHasFiles();
}

TEST_F(StraightRoad, SendsAFileAgainWhenTheStoreAsksForIt) {
    RunAgent(50);
    ShipAll();
    const int64_t stored = CountRecords();
    Connection store(Postgres().Url());
    store.Run("DELETE FROM qv.record WHERE byte_offset > 1000");
    ASSERT_LT(CountRecords(), stored);
    store.Run("UPDATE qv.file SET again = now()");
    EXPECT_EQ(ShipAll().exitCode, 0);
    EXPECT_EQ(CountRecords(), stored);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file WHERE again IS NOT NULL"), 0);
    ExpectStoreHasFiles();
}

TEST_F(StraightRoad, RemovesFromTheHostOnlyWhatIsStored) {
    RunAgent(5);
    ASSERT_EQ(ShipAll().exitCode, 0);
    const std::string grown = Logs() + "/" + ListLogFiles(Logs(), "debug").front();
    const auto size = std::to_string(ReadFile(grown).size());
    WriteFile(grown, ReadFile(grown) + "x");
    RunAgent(5);
    const int64_t known = Number("SELECT count(*) FROM qv.file");

    const ChildResult dry = PruneShipped({"--to", Target(), "--dry-run"});
    EXPECT_EQ(dry.exitCode, 0) << dry.errors;
    EXPECT_EQ(ListFiles(Logs()).size(), 14U);
    const ChildResult result = PruneShipped({"--to", Target()});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(ListFiles(Logs()).size(), 8U);
    EXPECT_THAT(result.output, HasSubstr("kept " + grown + ": " + size + " of "));
    EXPECT_THAT(result.output, HasSubstr(": nothing of it has arrived\n"));
    EXPECT_EQ(PruneShipped({"--to", Target()}).exitCode, 1);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file"), known);

    // The shipper does not take them for lost.
    const ChildResult next = ShipAll();
    EXPECT_EQ(next.exitCode, 0) << next.errors;
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file WHERE gone IS NOT NULL AND lost = 0"), 6);
}

TEST_F(StraightRoad, RefusesAWrongPasswordAtOnceAndSaysSo) {
    RunAgent(1);
    std::string url = Postgres().Url();
    url.replace(url.find(":", 11) + 1, 4, "none");
    const ChildResult result =
        RunProgram(ChildStart{{QVLOG, "ship", "--host", "host1", "--to", url, Logs()}});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("password authentication failed"));
}

TEST_F(StraightRoad, RefusesToGoOnWithoutAPasswordAndSaysSo) {
    RunAgent(1);
    std::string url = Postgres().Url();
    const size_t password = url.find(':', 11);
    url.erase(password, url.find('@') - password);
    const ChildResult result = RunProgram(
        {{QVLOG, "ship", "--host", "host1", "--to", url, Logs()}, {{"PGPASSFILE", Path("none")}}});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("no password supplied"));
}

TEST_F(StraightRoad, EndsWhenItIsToStopAlthoughTheStoreHangs) {
    RunAgent(1);
    const auto shipper = StartShipper();
    Await([&] { return Number("SELECT count(*) FROM qv.file WHERE complete") == 7; });
    const auto server =
        static_cast<pid_t>(Number("SELECT pid FROM pg_stat_activity"
                                  " WHERE application_name = 'qvlog' AND pid <> pg_backend_pid()"));
    ASSERT_GT(server, 0);
    ::kill(server, SIGSTOP);
    shipper->Signal(SIGTERM);
    const ChildResult result = shipper->Wait();
    ::kill(server, SIGCONT);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("stopped while a server does not answer"));
}

// The service may take 256 MB.
TEST_F(StraightRoad, LeavesOutARecordThatIsTooLarge) {
    RunAgent(1);
    const std::string name = ListLogFiles(Logs(), "corbaoper").front();
    {
        // What the test takes while a program is started counts as that program's.
        const std::string text = ReadFile(Logs() + "/" + name);
        const size_t detail = text.find(" Detail: ") + 9;
        std::ofstream large(Logs() + "/" + name);
        large << text.substr(0, detail);
        for (int i = 0; i < 140; ++i) {
            large << std::string(1000000, 'x');
        }
        large << text.substr(detail);
    }
    const ChildResult result = ShipAll();
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("it is not sent"));
    EXPECT_LT(result.peakMemory, int64_t{200} * 1024 * 1024);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file WHERE complete"), 6);
    EXPECT_GT(Number("SELECT count(*) FROM qv.record r JOIN qv.file f ON f.id = r.file"
                     " WHERE f.name = '" +
                     name + "' AND r.byte_offset > 140000000"),
              0);
    EXPECT_THAT(PruneShipped({"--to", Target()}).output, HasSubstr(name + ": "));
}

TEST_F(StraightRoad, StoresARecordOfManyMegabytes) {
    RunAgent(1);
    const std::string name = ListLogFiles(Logs(), "corbaoper").front();
    const std::string path = Logs() + "/" + name;
    std::string text = ReadFile(path);
    const size_t detail = text.find(" Detail: ") + 9;
    text.insert(detail, std::string(9000000, 'x') + "\n\"\\\t\x01 \xE2\x82\xAC\n");
    WriteFile(path, text);
    EXPECT_EQ(ShipAll().exitCode, 0);
    ExpectStoreHasFiles();
}

}  // namespace
