// Through the stream into the store, with the real servers.
#include <fstream>

#include "fleet/streamroadfixture.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;

TEST_F(StreamRoad, StoresEveryByteOfEveryFileOnce) {
    StartServers(1);
    RunAgent(200);
    const ChildResult result = ShipAllIntoStream();
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    const auto collector = StartCollector();
    AwaitFiles(7);
    ExpectStoreHasFiles();
    ExpectOneMoreAgentIsAddedOnce(5);
}

TEST_F(StreamRoad, IsExactWhenShippersAndCollectorsAreKilled) {
    StartServers(1);
    RunAgent(2000);
    const auto second = StartCollector();
    for (int i = 1; i <= 4; ++i) {
        const int64_t before = CountRecords();
        const auto collector = StartCollector();
        const auto shipper = StartStreamShipper();
        Await([&] {
            return CountRecords() > before || Number(
                                                  "SELECT count(*) FROM qv.file WHERE "
                                                  "complete AND stored = size") == 7;
        });
        KillAndWait(*shipper);
        KillAndWait(*collector);
    }
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    AwaitFiles(7);
    ExpectStoreHasFiles();
}

TEST_F(StreamRoad, IsExactWhenTheLeaderAFollowerAndTwoOfThreeServersAreKilled) {
    StartServers(3);
    const auto collector = StartCollector();
    const auto shipper = StartStreamShipper();
    Watch(*collector);
    Watch(*shipper);
    const auto writeAndKill = [&](const std::vector<int>& nodes) {
        const int64_t before = CountRecords();
        const auto agent = StartAgent(1000);
        AwaitRecords(before + 1);
        for (const int node : nodes) {
            Nats().Kill(node);
        }
        ExpectGoodEnd(*agent);
    };
    const int leader = Nats().Leader();
    writeAndKill({leader});
    AwaitFiles(CountFiles());
    Nats().Start(leader);

    const int follower = Nats().Leader() % 3 + 1;
    writeAndKill({follower});
    AwaitFiles(CountFiles());
    Nats().Start(follower);

    const int last = Nats().Leader();
    writeAndKill({last, last % 3 + 1});
    Nats().Start(last);
    Nats().Start(last % 3 + 1);
    AwaitFiles(CountFiles());
    ExpectStoreHasFiles();
}

// The shipper waits for the server to take more when the connection ends.
TEST_F(StreamRoad, IsExactWhenAServerThatHangsIsKilled) {
    StartServers(1);
    const auto shipper = StartStreamShipper();
    const auto collector = StartCollector();
    Watch(*shipper);
    Watch(*collector);
    Await([&] { return Nats().CountMessages() > 0; });
    // It finds much to send at once. A shipper that waits for an acknowledgement for long gives up.
    shipper->Signal(SIGSTOP);
    RunAgent(1200);
    Nats().Pause(1);
    shipper->Signal(SIGCONT);
    Await([&] { return BytesRead(shipper->GetId()) > 1000000; });
    Nats().Kill(1);
    Nats().Start(1);
    AwaitFiles(7);
    ExpectStoreHasFiles();
}

TEST_F(StreamRoad, IsExactWhenEverythingIsKilledAtOnce) {
    StartServers(3);
    for (int i = 1; i <= 2; ++i) {
        const int64_t before = CountRecords();
        const auto collector = StartCollector();
        const auto shipper = StartStreamShipper();
        const auto agent = StartAgent(2000);
        AwaitRecords(before + 1000);
        KillAndWait(*agent);
        KillAndWait(*shipper);
        KillAndWait(*collector);
        for (int node = 1; node <= 3; ++node) {
            Nats().Kill(node);
        }
        Postgres().Kill();
        Postgres().Start();
        for (int node = 1; node <= 3; ++node) {
            Nats().Start(node);
        }
    }
    const auto collector = StartCollector();
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    AwaitFiles(CountFiles());
    ExpectStoreHasFiles();
}

TEST_F(StreamRoad, RemovesFromTheHostOnlyWhatIsInTheStream) {
    StartServers(1);
    RunAgent(5);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    RunAgent(5);
    std::vector<std::string> words = {"--to", Nats().Url()};
    Append(words, Nats().Words("host1"));
    const ChildResult result = PruneShipped(words);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(ListFiles(Logs()).size(), 7U);
    EXPECT_THAT(result.output, HasSubstr(": nothing of it has arrived\n"));
    EXPECT_EQ(PruneShipped(words).exitCode, 1);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    EXPECT_EQ(PruneShipped(words).exitCode, 0);
    EXPECT_EQ(ListFiles(Logs()).size(), 0U);
}

// Room comes when what is stored there grows old. It is collected long before.
TEST_F(StreamRoad, WaitsWhileTheStreamIsFullAndLosesNothing) {
    StartServers(1, {"--max-bytes", "1M", "--max-age", "30"});
    RunAgent(150);
    const auto collector = StartCollector();
    const auto shipper = StartStreamShipper();
    ASSERT_TRUE(shipper->WaitForError("maximum bytes exceeded"));
    AwaitFiles(7);
    ExpectStoreHasFiles();
}

TEST_F(StreamRoad, NeedsLittleMemoryForALongBacklog) {
    StartServers(1);
    RunAgent(1000);
    {
        // Each of them goes in chunks, which are larger than what is joined otherwise.
        std::ofstream large(Logs() + "/unbi_debug_20260305_140709_999999999.log");
        large << "File create at 2026-03-05T14:07:09.000001+01:00.\n";
        for (int i = 0; i < 24; ++i) {
            large << "2026-03-05T14:07:10.000001+01:00," << std::string(1500000, 'x') << '\n';
        }
    }
    constexpr int64_t limit = int64_t{64} * 1024 * 1024;
    const ChildResult shipped = ShipAllIntoStream();
    EXPECT_EQ(shipped.exitCode, 0) << shipped.errors;
    EXPECT_LT(shipped.peakMemory, limit);
    std::vector<std::string> words = CollectWords();
    words.push_back("--once");
    // It ends when nothing has come for a second, which is not the end on a busy machine.
    Await([&] {
        const ChildResult collected = RunProgram(ChildStart{words});
        EXPECT_EQ(collected.exitCode, 0) << collected.errors;
        EXPECT_LT(collected.peakMemory, limit);
        return HasFiles(CountFiles());
    });
    const ChildResult stored = RunProgram(
        ChildStart{{QVLOG, "ship", "--once", "--host", "host2", "--to", Target(), Logs()}});
    EXPECT_EQ(stored.exitCode, 0) << stored.errors;
    EXPECT_LT(stored.peakMemory, limit);
    ExpectStoreHasFiles();
}

TEST_F(StreamRoad, PutsRecordsOfManyMegabytesTogether) {
    StartServers(1);
    RunAgent(1);
    const std::string path = Logs() + "/" + ListLogFiles(Logs(), "corbaoper").front();
    std::string text = ReadFile(path);
    text.insert(text.find(" Detail: ") + 9, std::string(5000000, 'x') + "\n\"\\\t\x01\n");
    WriteFile(path, text);
    const auto collector = StartCollector();
    const auto second = StartCollector();
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    AwaitFiles(7);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.chunk"), 0);
    ExpectStoreHasFiles();
}

TEST_F(StreamRoad, RefusesAnotherHostsSubjectsAndSaysSo) {
    StartServers(1);
    RunAgent(1);
    const ChildResult result = RunProgram(ChildStart{StreamShipWords("host2", "host1")});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("Permissions Violation"));
    EXPECT_THAT(result.errors, HasSubstr("host2"));
    EXPECT_EQ(Nats().CountMessages(), 0U);

    // Nothing is lost: the host sends it under its own name.
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    const auto collector = StartCollector();
    AwaitFiles(7);
    ExpectStoreHasFiles();
}

TEST_F(StreamRoad, RefusesMissingAndForeignCertificatesAndSaysSo) {
    StartServers(1);
    RunAgent(1);
    const std::string ca = Nats().Words("host1")[1];
    const ChildResult none = RunProgram(
        ChildStart{{QVLOG, "ship", "--host", "host1", "--to", Nats().Url(), "--ca", ca, Logs()}});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_THAT(none.errors, HasSubstr("refuse a client without a certificate"));

    RunProgram({{std::string(QV_FLEET) + "/nats/make-certificates.sh", Path("other"), "host1"}});
    const ChildResult foreign = RunProgram(ChildStart{
        {QVLOG, "ship", "--host", "host1", "--to", Nats().Url(), "--ca", Path("other/ca.pem"),
         "--cert", Path("other/host1.pem"), "--key", Path("other/host1.key"), Logs()}});
    EXPECT_EQ(foreign.exitCode, 2);
    EXPECT_THAT(foreign.errors, HasSubstr("SSL"));
}

}  // namespace
