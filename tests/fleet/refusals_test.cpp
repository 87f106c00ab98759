// What a collector does with messages that the store refuses, and with those that it cannot read.
#include "fleet/streamroadfixture.h"
#include "stream/message.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;
using ::testing::Not;

class Refusals : public StreamRoad {
  protected:
    // Has the store refuse, or dawdle over, what a statement does. `timing`: as in BEFORE INSERT ON
    // qv.file; `work`: of the function.
    void AddTrigger(const std::string& kind, const std::string& timing, const std::string& work) {
        Connection(Target()).RunScript(
            "CREATE FUNCTION public.meddle() RETURNS trigger LANGUAGE plpgsql AS "
            "$$ BEGIN " +
            work +
            " RETURN NEW; END $$;"
            "CREATE " +
            kind + " meddle " + timing + " FOR EACH ROW EXECUTE FUNCTION meddle()");
    }
    void DropTrigger() { Connection(Target()).RunScript("DROP FUNCTION public.meddle CASCADE"); }

    static std::string Raise(const std::string& state) {
        return "RAISE EXCEPTION 'meddled with' USING ERRCODE = '" + state + "';";
    }

    static std::string NewerMessage() {
        std::string bytes = Encode(StateOf("host2"));
        bytes[0] = 2;
        return bytes;
    }

    // A collector that has stored the others' files. So many messages of a newer shipper came
    // first.
    auto CollectBesideNewerMessages(int count) {
        StartServers(1);
        Nats().PublishBytes("host2", "logs.0.host2.=.state", NewerMessage(), count);
        RunAgent(5);
        EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
        auto collector = StartCollector();
        Watch(*collector);
        AwaitFiles(7);
        ExpectStoreHasFiles();
        return collector;
    }

    static NS_LOG_FLEET::Message PartOf(const std::string& host, const std::string& file) {
        NS_LOG_FLEET::Message message;
        message.file = {host, file, "first\n"};
        message.part.bytes = "2026-03-05T14:07:10.000001+01:00,one\n";
        message.part.slices = {
            {NS_LOG_READER::PieceKind::Short, 0, static_cast<uint32_t>(message.part.bytes.size())}};
        return message;
    }
};

// Whatever the reason is, it would come again for ever, and end each collector that takes it.
TEST_F(Refusals, OfOneMessageForNoGoodReasonStopNobodyAtAll) {
    StartServers(1);
    AddTrigger("TRIGGER", "BEFORE INSERT ON qv.file",
               "IF NEW.name = 'odd.log' THEN " + Raise("XX000") + " END IF;");
    Nats().Publish("host1", "logs.0.host1.debug.odd", PartOf("host1", "odd.log"));
    RunAgent(5);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    const auto collector = StartCollector({"--workers", "1"});
    Watch(*collector);
    AwaitFiles(7);
    ExpectStoreHasFiles();
    ASSERT_TRUE(collector->WaitForError("logs.0.host1.debug.odd: "));
    Await([&] { return Nats().IsAllSettled(); });
    collector->Signal(SIGTERM);
    EXPECT_EQ(collector->Wait().exitCode, 2);
}

// It is to blame then, not the messages.
TEST_F(Refusals, OfEverythingEndACollectorAndLoseNothing) {
    StartServers(1);
    AddTrigger("TRIGGER", "BEFORE INSERT ON qv.file", Raise("XX000"));
    RunAgent(5);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    const ChildResult ended = StartCollector()->Wait();
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_THAT(ended.errors, HasSubstr("meddled with"));
    DropTrigger();
    const auto collector = StartCollector();
    Watch(*collector);
    AwaitFiles(7);
    ExpectStoreHasFiles();
}

// A state of a host is taken by another table: it does not show that records are.
TEST_F(Refusals, OfAllRecordsEndACollectorThatStoresWhatHostsSay) {
    StartServers(1);
    const auto collector = StartCollector({"--workers", "1"});
    Nats().Publish("host1", "logs.0.host1.=.state", StateOf("host1", "before"));
    Await([&] { return Number("SELECT count(*) FROM qv.host WHERE problem = 'before'") == 1; });
    AddTrigger("TRIGGER", "BEFORE INSERT ON qv.file", Raise("XX000"));
    Nats().Publish("host1", "logs.0.host1.debug.one", PartOf("host1", "one.log"));
    ASSERT_TRUE(collector->WaitForError("meddled with"));
    const ChildResult ended = collector->Wait();
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_THAT(ended.errors, Not(HasSubstr("logs.0.host1")));
    EXPECT_FALSE(Nats().IsAllSettled());
    DropTrigger();
    const auto next = StartCollector();
    Watch(*next);
    AwaitRecords(1);
}

// What listens to the store and never takes what it is told fills the server's queue: everything is
// stored but for the commit.
TEST_F(Refusals, OfACommitAreWaitedOutWhateverTheStoreCallsThem) {
    StartServers(1);
    const auto collector = StartCollector();
    Watch(*collector);
    AddTrigger("CONSTRAINT TRIGGER",
               "AFTER UPDATE OF stored ON qv.file DEFERRABLE INITIALLY DEFERRED", Raise("54000"));
    RunAgent(5);
    EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
    ASSERT_TRUE(collector->WaitForError("the store: ERROR:  meddled with"));
    DropTrigger();
    AwaitFiles(7);
    ExpectStoreHasFiles();
    collector->Signal(SIGTERM);
    const ChildResult ended = collector->Wait();
    EXPECT_EQ(ended.exitCode, 0) << ended.errors;
}

// A collector of the next version stores it.
TEST_F(Refusals, AreNotForWhatANewerShipperSendsNorForOthers) {
    const auto collector = CollectBesideNewerMessages(3);
    Await([&] { return Nats().CountOutstanding() == 3; });
    collector->Signal(SIGTERM);
    const ChildResult ended = collector->Wait();
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_EQ(ended.errors,
              "qvlog: logs.0.host2.=.state: the message was made by a newer qvlog; update the "
              "collectors first\n");
    EXPECT_FALSE(Nats().IsAllSettled());
}

// A server gives collectors no more than 4096 that they have not settled.
TEST_F(Refusals, AreForWhatANewerShipperSendsWhenItWouldLeaveNoRoom) {
    const auto collector = CollectBesideNewerMessages(4200);
    ASSERT_TRUE(collector->WaitForError("too many wait for that: the next are given up"));
    const int64_t outstanding = Nats().CountOutstanding();
    EXPECT_GT(outstanding, 1000);
    EXPECT_LT(outstanding, 3000);
    collector->Signal(SIGTERM);
    EXPECT_EQ(collector->Wait().exitCode, 2);
}

}  // namespace
