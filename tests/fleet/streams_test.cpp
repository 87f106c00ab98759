// What the streams hold: what comes twice, what they have forgotten, shards, and who keeps them.
#include <algorithm>
#include <map>

#include "fleet/streamroadfixture.h"
#include "stream/message.h"
#include "stream/streamtarget.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;
using ::testing::Not;

class Streams : public StreamRoad {};

// The servers leave out nothing that comes twice, however soon: that would end with their window of
// two minutes, and an outage may be longer.
TEST_F(Streams, StoresOnceWhatTheStreamHasTwice) {
    StartServers(1);
    RunAgent(30);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    const uint64_t once = Nats().CountMessages();
    EXPECT_EQ(ShipAllIntoStream("host1", {"--again"}).exitCode, 0);
    // At least one part and one mark of each file.
    EXPECT_GE(Nats().CountMessages(), once + 14);
    const auto collector = StartCollector();
    Watch(*collector);
    AwaitFiles(7);
    ExpectStoreHasFiles();
    ExpectOneMoreAgentIsAddedOnce(1, {"--again"});
}

// The files still have what the stream has forgotten before anybody collected it.
TEST_F(Streams, LosesNothingInAnOutageThatIsLongerThanTheStreamRemembers) {
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
        return HasFiles(7);
    });
    ExpectStoreHasFiles();
}

// Each shard has a stream of its own and collectors of its own, two of which may share one.
TEST_F(Streams, DividesHostsBetweenShardsAndStoresEachRecordOnce) {
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

// The servers let a host use its own subjects only. It could still write anything in a message.
TEST_F(Streams, BelievesNoHostThatSpeaksForAnother) {
    StartServers(1);
    Nats().Publish("host1", "logs.0.host1.=.state", StateOf("host2"));
    Nats().Publish("host1", "logs.0.host1.debug.one", MarkOf("host2", "one.log"));
    Nats().Publish("host1", "logs.0.host1.=.state", StateOf("host1", "\x1B[2Jclear\n"));
    const auto collector = StartCollector();
    ASSERT_TRUE(collector->WaitForError("the message is in the name of another host, host2\n", 2));
    Await([&] { return Number("SELECT count(*) FROM qv.host") > 0; });
    collector->Signal(SIGTERM);
    EXPECT_EQ(collector->Wait().exitCode, 2);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.host WHERE host = 'host2'"), 0);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file"), 0);

    const ChildResult seen = RunProgram({{QVLOG, "fleet", "--store", Target()}});
    EXPECT_EQ(seen.exitCode, 1);
    EXPECT_THAT(seen.output, HasSubstr("  \\x1b[2Jclear\\x0a\n"));
}

// A collector that comes back after an outage does not make dead hosts look alive.
TEST_F(Streams, TellWhenAHostSpokeNotWhenThatWasCollected) {
    StartServers(1);
    Nats().Publish("host1", "logs.0.host1.=.state", StateOf("host1", "old"));
    RunAgent(1);
    EXPECT_EQ(ShipAll().exitCode, 0);  // straight: that is newer
    Nats().Publish("host2", "logs.0.host2.=.state", StateOf("host2"));
    Connection store(Postgres().Url());
    const std::string before(store.Run("SELECT clock_timestamp()").Text(0, 0));
    const auto collector = StartCollector({"--workers", "1"});
    Watch(*collector);
    Await([&] { return Number("SELECT count(*) FROM qv.host WHERE host = 'host2'") == 1; });
    EXPECT_EQ(Number("SELECT count(*) FROM qv.host WHERE seen < '" + before + "'"), 2);
    EXPECT_EQ(Number("SELECT count(*) FROM qv.host WHERE problem = 'old'"), 0);
}

TEST_F(Streams, OneMessageThatTheStoreRefusesDoesNotStopTheOthers) {
    StartServers(1);
    RunAgent(5);
    Nats().Publish("host1", "logs.0.host1.debug.one", MarkOf("host1", "\xFF.log"));
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    Nats().Publish("host1", "logs.0.host1.debug.two", MarkOf("host1", "two.log", UINT64_MAX));
    const auto collector = StartCollector();
    Watch(*collector);
    ASSERT_TRUE(collector->WaitForError("logs.0.host1.debug.one: "));
    ASSERT_TRUE(collector->WaitForError("logs.0.host1.debug.two: "));
    AwaitFiles(7);
    // It is of use for what comes after them.
    ExpectOneMoreAgentIsAddedOnce(1);
    // Neither of them comes again.
    Await([&] { return Nats().IsAllSettled(); });
    collector->Signal(SIGTERM);
    EXPECT_EQ(collector->Wait().exitCode, 2);
}

// An operator makes it read-only for a while, or changes its tables.
TEST_F(Streams, WaitsWhileAStoreThatHasWorkedRefuses) {
    StartServers(1);
    const auto collector = StartCollector();
    Watch(*collector);
    Nats().Publish("host1", "logs.0.host1.=.state", StateOf("host1", "before"));
    const auto awaitState = [&](const std::string& problem) {
        Await([&] {
            return Number("SELECT count(*) FROM qv.host WHERE problem = '" + problem + "'") == 1;
        });
    };
    awaitState("before");
    Connection store(Postgres().Url());
    store.Run("ALTER DATABASE qv SET default_transaction_read_only = on");
    store.Run(
        "SELECT pg_terminate_backend(pid) FROM pg_stat_activity"
        " WHERE datname = 'qv' AND pid <> pg_backend_pid()");
    Nats().Publish("host1", "logs.0.host1.=.state", StateOf("host1", "read-only"));
    ASSERT_TRUE(collector->WaitForError("read-only transaction"));
    store.Run("ALTER DATABASE qv RESET default_transaction_read_only");
    ASSERT_TRUE(collector->WaitForError("collecting goes on"));
    awaitState("read-only");

    store.Run("ALTER TABLE qv.host RENAME TO host_away");
    Nats().Publish("host1", "logs.0.host1.=.state", StateOf("host1", "away"));
    ASSERT_TRUE(collector->WaitForError("does not exist"));
    store.Run("ALTER TABLE qv.host_away RENAME TO host");
    ASSERT_TRUE(collector->WaitForError("collecting goes on", 2));
    awaitState("away");
}

TEST_F(Streams, TakesOnlyServersOfItsAuthorityForMembers) {
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

void SendTenBytes(NS_LOG_FLEET::Target& target, int64_t handle, uint64_t offset) {
    NS_LOG_FLEET::FilePart part;
    NS_LOG_READER::Piece piece;
    piece.offset = offset;
    piece.bytes = "0123456789";
    part.Add(piece);
    target.Send(handle, part);
    target.Flush();
}

// What was left out may come after all. A shipper that starts anew asks the stream where to begin.
TEST_F(Streams, LetTheNextShipperBeginWhereARecordWasLeftOut) {
    StartServers(1);
    const NS_LOG_FLEET::FileIdentity file{"host1", "one.log", "first\n"};
    const auto newTarget = [&] {
        return std::make_unique<NS_LOG_FLEET::StreamTarget>(
            Nats().AddressOf("host1"), "host1", 1, std::make_shared<NS_LOG_FLEET::Arrivals>());
    };
    const auto begin = [&] { return newTarget()->Open(file).resumeAt; };
    const auto target = newTarget();
    const int64_t handle = target->Open(file).handle;
    SendTenBytes(*target, handle, 0);
    SendTenBytes(*target, handle, 10);
    EXPECT_EQ(begin(), 10U);
    SendTenBytes(*target, handle, 50);
    EXPECT_EQ(begin(), 20U);
    SendTenBytes(*target, handle, 60);
    EXPECT_EQ(begin(), 20U);
    SendTenBytes(*target, handle, 20);
    SendTenBytes(*target, handle, 30);
    EXPECT_EQ(begin(), 30U);
}

// A stream that refuses now and then would be filled with what is behind the gap, again and again.
TEST_F(Streams, HaveAShipperGoOnBehindWhatItLeftOutItself) {
    StartServers(1);
    const NS_LOG_FLEET::FileIdentity file{"host1", "one.log", "first\n"};
    const auto arrivals = std::make_shared<NS_LOG_FLEET::Arrivals>();
    const auto newTarget = [&] {
        return std::make_unique<NS_LOG_FLEET::StreamTarget>(Nats().AddressOf("host1"), "host1", 1,
                                                            arrivals);
    };
    const auto arrived = [&] { return newTarget()->Find(file)->arrived; };
    auto target = newTarget();
    int64_t handle = target->Open(file).handle;
    SendTenBytes(*target, handle, 0);
    SendTenBytes(*target, handle, 50);
    target = newTarget();
    const NS_LOG_FLEET::TargetFile opened = target->Open(file);
    EXPECT_EQ(opened.resumeAt, 60U);
    SendTenBytes(*target, opened.handle, 60);
    EXPECT_EQ(arrived(), 10U);
    target->NoteComplete(opened.handle, 70);
    target->Flush();
    target = newTarget();
    handle = target->Open(file).handle;
    SendTenBytes(*target, handle, 0);
    target = newTarget();
    EXPECT_EQ(target->Open(file).resumeAt, 70U);
    EXPECT_FALSE(newTarget()->Find(file)->isComplete);
}

// Hosts write new files for ever.
TEST_F(Streams, LeaveNothingBehindOfAFileThatHasGone) {
    StartServers(1);
    const auto arrivals = std::make_shared<NS_LOG_FLEET::Arrivals>();
    const auto send = [&](bool isRemoved) {
        NS_LOG_FLEET::StreamTarget target(Nats().AddressOf("host1"), "host1", 1, arrivals);
        const int64_t handle = target.Open({"host1", "one.log", "first\n"}).handle;
        NS_LOG_FLEET::FilePart part;
        part.Add({});
        target.Send(handle, part);
        target.Flush();
        if (isRemoved) {
            target.NoteGone(handle, 0);
        }
    };
    send(false);
    EXPECT_EQ(arrivals->size(), 1U);
    send(true);
    EXPECT_EQ(arrivals->size(), 0U);
}

}  // namespace
