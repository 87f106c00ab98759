// Through the stream into the store, with the real servers.
#include <algorithm>
#include <map>

#include "fleet/fleetfixture.h"
#include "fleet/natsservers.h"
#include "stream/message.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;
using ::testing::Not;

class StreamRoad : public FleetTest {
  protected:
    // Makes the stream. `more`: options of `qvlog collect` for that.
    void StartServers(int count, const std::vector<std::string>& more = {}) {
        nats_ = std::make_unique<NatsServers>(Path("nats"), count);
        std::vector<std::string> words = {QVLOG,
                                          "collect",
                                          "--from",
                                          nats_->Url(),
                                          "--make-streams",
                                          "--replicas",
                                          std::to_string(count)};
        Append(words, nats_->Words("collector"));
        Append(words, more);
        const ChildResult made = RunProgram(ChildStart{words});
        ASSERT_EQ(made.exitCode, 0) << made.errors;
    }

    NatsServers& Nats() { return *nats_; }

    std::vector<std::string> CollectWords() const {
        std::vector<std::string> words = {QVLOG,        "collect", "--from",
                                          nats_->Url(), "--to",    Target()};
        Append(words, nats_->Words("collector"));
        return words;
    }
    std::unique_ptr<ChildProcess> StartCollector(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words = CollectWords();
        Append(words, more);
        return std::make_unique<ChildProcess>(ChildStart{words});
    }

    std::unique_ptr<ChildProcess> StartStreamShipper() const {
        return std::make_unique<ChildProcess>(ChildStart{StreamShipWords()});
    }
    ChildResult ShipAllIntoStream(const std::string& host = "host1",
                                  const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words = StreamShipWords(host, host);
        words.push_back("--once");
        Append(words, more);
        return RunProgram(ChildStart{words});
    }

    std::vector<std::string> StreamShipWords(const std::string& host = "host1",
                                             const std::string& user = "host1") const {
        std::vector<std::string> words = {QVLOG,  "ship",       "--host", host,
                                          "--to", nats_->Url(), Logs()};
        Append(words, nats_->Words(user));
        return words;
    }

    // Everything that the files hold is in the store.
    void AwaitFiles(int64_t count) const {
        Await([&] {
            return Number("SELECT count(*) FROM qv.file WHERE complete AND stored = size") >= count;
        });
    }

    // By all calls that read.
    static int64_t BytesRead(const ChildProcess& process) {
        const std::string start = "rchar: ";
        const std::string line =
            ReadLines("/proc/" + std::to_string(process.GetId()) + "/io").front();
        return line.compare(0, start.size(), start) == 0 ? std::stoll(line.substr(start.size()))
                                                         : 0;
    }

    int64_t CountFiles() const { return static_cast<int64_t>(ListFiles(Logs()).size()); }

  private:
    static void Append(std::vector<std::string>& words, const std::vector<std::string>& more) {
        words.insert(words.end(), more.begin(), more.end());
    }

    std::unique_ptr<NatsServers> nats_;
};

TEST_F(StreamRoad, StoresEveryByteOfEveryFileOnce) {
    StartServers(1);
    RunAgent(200);
    const ChildResult result = ShipAllIntoStream();
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    const auto collector = StartCollector();
    AwaitFiles(7);
    ExpectStoreHasFiles();
    const int64_t stored = CountRecords();

    // A new agent's records come behind, and nothing of the first one's comes again.
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    RunAgent(5);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    AwaitFiles(14);
    EXPECT_GT(CountRecords(), stored);
    ExpectStoreHasFiles();
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
        const auto agent = StartAgent(1000);
        AwaitRecords(CountRecords() + 1);
        for (const int node : nodes) {
            Nats().Kill(node);
        }
        ExpectEnd(*agent);
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
    Nats().Pause(1);
    RunAgent(1200);
    Await([&] { return BytesRead(*shipper) > 1000000; });
    Nats().Kill(1);
    Nats().Start(1);
    AwaitFiles(7);
    ExpectStoreHasFiles();
}

TEST_F(StreamRoad, IsExactWhenEverythingIsKilledAtOnce) {
    StartServers(3);
    for (int i = 1; i <= 2; ++i) {
        const auto collector = StartCollector();
        const auto shipper = StartStreamShipper();
        const auto agent = StartAgent(2000);
        AwaitRecords(CountRecords() + 1000);
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

// Room comes when what is stored there grows old.
TEST_F(StreamRoad, WaitsWhileTheStreamIsFullAndLosesNothing) {
    StartServers(1, {"--max-bytes", "1M", "--max-age", "10"});
    RunAgent(300);
    const auto collector = StartCollector();
    const auto shipper = StartStreamShipper();
    ASSERT_TRUE(shipper->WaitForError("maximum bytes exceeded"));
    AwaitFiles(7);
    ExpectStoreHasFiles();
}

// The servers leave out nothing that comes twice, however soon: that would end with their window of
// two minutes, and an outage may be longer.
TEST_F(StreamRoad, StoresOnceWhatTheStreamHasTwice) {
    StartServers(1);
    RunAgent(30);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    const uint64_t once = Nats().CountMessages();
    EXPECT_EQ(ShipAllIntoStream("host1", {"--again"}).exitCode, 0);
    EXPECT_GE(Nats().CountMessages(), 2 * once - 1);  // one message tells the host's state
    const auto collector = StartCollector();
    Watch(*collector);
    AwaitFiles(7);
    ExpectStoreHasFiles();
    const int64_t stored = CountRecords();
    EXPECT_EQ(ShipAllIntoStream("host1", {"--again"}).exitCode, 0);
    RunAgent(1);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    AwaitFiles(14);
    EXPECT_GT(CountRecords(), stored);
    ExpectStoreHasFiles();
}

// The files still have what the stream has forgotten before anybody collected it.
TEST_F(StreamRoad, LosesNothingInAnOutageThatIsLongerThanTheStreamRemembers) {
    StartServers(1, {"--max-age", "1"});
    RunAgent(30);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    Await([&] { return Nats().CountMessages() == 0; });
    const auto collector = StartCollector();
    Watch(*collector);
    EXPECT_EQ(CountRecords(), 0);
    // A message that nobody has fetched within its second is forgotten again.
    Await([&] {
        EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
        return Number("SELECT count(*) FROM qv.file WHERE complete AND stored = size") == 7;
    });
    ExpectStoreHasFiles();
}

// Each shard has a stream of its own and collectors of its own, two of which may share one.
TEST_F(StreamRoad, DividesHostsBetweenShardsAndStoresEachRecordOnce) {
    const std::vector<std::string> shards = {"--shards", "3"};
    const std::vector<std::string> hosts = {"host1", "host2", "host3", "host4"};
    StartServers(1, shards);
    RunAgent(30);
    std::map<uint32_t, std::string> names;
    for (const std::string& host : hosts) {
        names[NS_LOG_FLEET::ShardOf(host, 3)] += " " + host;
        EXPECT_EQ(ShipAllIntoStream(host, shards).exitCode, 0);
    }
    ASSERT_GT(names.size(), 1U);
    const auto collect = [&](uint32_t shard) {
        return StartCollector({"--shards", "3", "--shard", std::to_string(shard)});
    };
    const auto expectHosts = [&](const std::string& expected) {
        Connection store(Postgres().Url());
        EXPECT_EQ(store.Run("SELECT string_agg(DISTINCT ' ' || host, '') FROM qv.file").Text(0, 0),
                  expected);
    };
    std::vector<std::unique_ptr<ChildProcess>> collectors;
    int64_t files = 0;
    for (const auto& [shard, hostsOfIt] : names) {
        const auto killed = collect(shard);
        collectors.push_back(collect(shard));
        Await([&] { return Number("SELECT count(*) FROM qv.file") > files; });
        KillAndWait(*killed);
        files += 7 * (1 + std::count(hostsOfIt.begin() + 1, hostsOfIt.end(), ' '));
        AwaitFiles(files);
        if (shard == names.begin()->first) {
            expectHosts(hostsOfIt);
        }
    }
    expectHosts(" host1 host2 host3 host4");
    for (const std::string& host : hosts) {
        SCOPED_TRACE(host);
        ExpectStoreHasFiles(host);
    }
}

TEST_F(StreamRoad, TakesOnlyServersOfItsAuthorityForMembers) {
    StartServers(3);
    RunProgram({{std::string(QV_FLEET) + "/nats/make-certificates.sh", Path("other")}});
    {
        const FourthServer stranger(Path("stranger"), Nats(), Path("other"));
        for (int node = 1; node <= 3; ++node) {
            Await([&] {
                return CountIn(Nats().Log(node), "failed to verify client certificate") >= 2;
            });
        }
        RunAgent(5);
        EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
        for (int node = 1; node <= 3; ++node) {
            const std::string greeting = Nats().Greeting(node);
            EXPECT_THAT(greeting, HasSubstr("connect_urls"));
            EXPECT_THAT(greeting, Not(HasSubstr(stranger.Address())));
        }
    }
    const FourthServer member(Path("member"), Nats(), Nats().Directory() + "/certs");
    Await([&] { return CountIn(Nats().Greeting(1), member.Address()) > 0; });
    const auto collector = StartCollector();
    AwaitFiles(7);
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
