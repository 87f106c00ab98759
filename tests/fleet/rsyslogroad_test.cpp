// Through rsyslog into the store, with the real programs: what it keeps, and what it does not.
#include <chrono>
#include <utility>

#include "fleet/fleetfixture.h"
#include "fleet/rsyslogservers.h"

namespace {

using namespace NS_TEST;

class RsyslogRoad : public FleetTest {
  protected:
    void StartRsyslog() {
        rsyslog_ = std::make_unique<RsyslogServers>(Path("rsyslog"), Postgres().Url(), Logs());
    }
    RsyslogServers& Rsyslog() { return *rsyslog_; }

    static int64_t Size(const std::vector<std::string>& paths) {
        int64_t size = 0;
        for (const std::string& path : paths) {
            size += static_cast<int64_t>(std::filesystem::file_size(path));
        }
        return size;
    }
    std::vector<std::string> LogPaths() const {
        std::vector<std::string> paths;
        for (const std::string& name : ListFiles(Logs())) {
            paths.push_back(Logs() + "/" + name);
        }
        return paths;
    }

    int64_t StoredBytes() const {
        return Number("SELECT coalesce(sum(length(bytes) + 1), 0) FROM qv_rsyslog.piece");
    }
    void AwaitBytes(int64_t count) const {
        Await([&] { return StoredBytes() >= count; });
    }

    void Kill(const std::string& victims) {
        for (const std::string part : {"sender", "receiver"}) {
            if (victims.find(part) != std::string::npos) {
                Rsyslog().Kill(part);
            }
        }
        if (victims.find("store") != std::string::npos) {
            Postgres().Kill();
        }
    }
    void StartAgain(const std::string& victims) {
        if (victims.find("store") != std::string::npos) {
            Postgres().Start();
        }
        for (const std::string part : {"receiver", "sender"}) {
            if (victims.find(part) != std::string::npos) {
                Rsyslog().Start(part);
            }
        }
    }

    // What tells whether the receiver is at work. What has come before changes nothing in the
    // table.
    std::pair<int64_t, int64_t> Progress() const {
        return {StoredBytes(),
                Number("SELECT coalesce(max(extract(epoch FROM state_change) * 1000000)::bigint, 0)"
                       " FROM pg_stat_activity WHERE usename = 'receiver'")};
    }

    // Starts the sender again when the receiver has had nothing to store for a while.
    void AwaitStartingSenderAgain(int64_t bytes) {
        constexpr auto kSilence = std::chrono::seconds(20);
        auto last = Progress();
        auto end = std::chrono::steady_clock::now() + kSilence;
        Await([&] {
            const auto before = std::exchange(last, Progress());
            if (last != before) {
                end = std::chrono::steady_clock::now() + kSilence;
            } else if (std::chrono::steady_clock::now() >= end) {
                Rsyslog().Kill("sender");
                Rsyslog().Start("sender");
                end = std::chrono::steady_clock::now() + kSilence;
            }
            return last.first >= bytes;
        });
    }

    // The pieces of the file, one behind the other.
    std::string Stored(const std::string& path) const {
        Connection store(const_cast<RsyslogRoad*>(this)->Postgres().Url());
        const Rows rows = store.Run(
            "SELECT byte_offset, bytes FROM qv_rsyslog.piece"
            " WHERE host = 'host1' AND path = $1 ORDER BY byte_offset",
            {path});
        std::string text;
        for (int row = 0; row < rows.Count(); ++row) {
            EXPECT_EQ(rows.Number(row, 0), static_cast<int64_t>(text.size())) << path;
            text += rows.Bytes(row, 1) + "\n";
        }
        return text;
    }

    void ExpectStoreHasAllBytes() const {
        const std::vector<std::string> paths = LogPaths();
        ASSERT_FALSE(paths.empty());
        for (const std::string& path : paths) {
            EXPECT_TRUE(Stored(path) == ReadFile(path)) << path;
        }
        EXPECT_EQ(Number("SELECT count(*) FROM qv_rsyslog.odd"), 0);
        EXPECT_EQ(Number("SELECT count(*) FROM qv_rsyslog.file WHERE missing > 0"), 0);
    }

    using Replacements = std::vector<std::pair<std::string, std::string>>;

    // What the guide says from `begin` to `end`, with the values of this test.
    static std::string FromGuide(const std::string& begin, const std::string& end,
                                 const Replacements& replacements) {
        const std::string guide = ReadFile(QV_FLEET_GUIDE);
        const size_t section = guide.find("\n## The road through rsyslog\n");
        const size_t from = guide.find(begin, section);
        const size_t to = guide.find(end, from);
        if (section == std::string::npos || to == std::string::npos) {
            throw std::runtime_error("the guide does not have: " + begin);
        }
        std::string words = guide.substr(from, to + end.size() - from);
        for (const auto& [old, value] : replacements) {
            size_t at = words.find(old);
            if (at == std::string::npos) {
                throw std::runtime_error("the guide does not have: " + old);
            }
            for (; at != std::string::npos; at = words.find(old, at + value.size())) {
                words.replace(at, old.size(), value);
            }
        }
        return words;
    }

    ChildResult AskAsTheGuideDoes(const std::string& begin, const std::string& end,
                                  const Replacements& replacements = {}) {
        const std::string question = FromGuide(begin, end, replacements);
        return RunProgram({{"psql", "-XAtq", Postgres().Url(), "-c", question}});
    }

    static std::string Frame(int number, const std::string& detail) {
        const std::string digits = std::to_string(number);
        return "<" + digits +
               ">\n2026-03-05T02:12:40.121000+01:00, op1,TopT:1,If:get,UserMsg:me, T:7, DL:2, "
               "File: a.cpp Func:Ask Line:1\n Detail: " +
               detail + "\n</" + digits + ">\n\n";
    }
    static std::string Head() { return "File create at 2026-03-05T02:08:01.001137+01:00.\n"; }
    static std::string Tail() { return "\nFile close at 2026-03-05T02:30:00.000200+01:00.\n"; }

    std::string WriteLog(const std::string& category, const std::string& text) const {
        const std::string path = Logs() + "/unbi_" + category + "_20260305_020801_4711.log";
        WriteFile(path, text);
        return path;
    }

  private:
    std::unique_ptr<RsyslogServers> rsyslog_;
};

TEST_F(RsyslogRoad, StoresEveryByteOfEveryFileOnce) {
    RunAgent(20);
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    WriteLog("odd", Head() + Frame(1, bytes) +
                        Frame(2, "' \\ \\n \\\\ {\"a\"}\n\n\n%s $!\xFF\xC3(") +
                        Frame(3, std::string(9000000, 'x') + "\n\"\\\t\x01 \xE2\x82\xAC") +
                        "2026-03-05T02:12:41.000000+01:00,short\n" + Tail());
    StartRsyslog();
    AwaitBytes(Size(LogPaths()));
    ExpectStoreHasAllBytes();

    // What is written later follows, and what comes again is stored once.
    RunAgent(5);
    AwaitBytes(Size(LogPaths()));
    Rsyslog().Kill("sender");
    Rsyslog().Start("sender");
    RunAgent(5);
    AwaitBytes(Size(LogPaths()));
    ExpectStoreHasAllBytes();
}

TEST_F(RsyslogRoad, AnswersQuestionsBesideTheOtherRoads) {
    RunAgent(20);
    StartRsyslog();
    EXPECT_EQ(ShipAll().exitCode, 0);
    AwaitBytes(Size(LogPaths()));
    EXPECT_EQ(Number("SELECT count(*) FROM qv_rsyslog.log"),
              Number("SELECT count(*) FROM qv.log WHERE kind <> 'dumped'"));
    EXPECT_EQ(Number("SELECT count(*) FROM qv_rsyslog.log WHERE level = 0"),
              Number("SELECT count(*) FROM qv.log WHERE kind = 'dump'"));
    EXPECT_EQ(Number("SELECT count(*) FROM qv_rsyslog.log AS r JOIN qv.log AS q"
                     " ON q.file = r.file AND q.number = r.number AND q.kind = 'record'"
                     " AND (q.time, q.level, q.operation, q.host) ="
                     "     (r.time, r.level, r.operation, r.host)"
                     " AND trim(E'\\n' FROM q.text) = trim(E'\\n' FROM r.text)"),
              Number("SELECT count(*) FROM qv.log WHERE kind = 'record'"));
    EXPECT_EQ(Number("SELECT count(*) FROM qv_rsyslog.file WHERE closed"),
              static_cast<int64_t>(LogPaths().size()));

    Connection store(Postgres().Url());
    const std::string operation =
        std::string(store.Run("SELECT max(operation) FROM qv.log").Text(0, 0));
    const int64_t shipped =
        Number("SELECT count(*) FROM qv.log WHERE operation = '" + operation + "'");
    const int64_t brought =
        Number("SELECT count(*) FROM qv_rsyslog.log WHERE operation = '" + operation + "'");
    const ChildResult both =
        AskAsTheGuideDoes("SELECT time, host, level, text FROM qv.log", ";",
                          {{"operation = '...'", "operation = '" + operation + "'"}});
    EXPECT_EQ(CountIn(both.output, "|host1|"), shipped + brought) << both.errors;
    EXPECT_EQ(AskAsTheGuideDoes("SELECT host, path, missing", ";").output, "");
    EXPECT_EQ(AskAsTheGuideDoes("SELECT host, path, bytes", ";").output, "");
}

TEST_F(RsyslogRoad, PutsAFileTogetherAsTheGuideSays) {
    RunAgent(20);
    StartRsyslog();
    AwaitBytes(Size(LogPaths()));
    const std::string path = LogPaths().front();
    const std::string command =
        FromGuide("psql -XAtq \"$QV_STORE\" -c \"SELECT encode(", ">NAME.log",
                  {{"/var/log/agent/NAME.log", path}, {"mgr7", "host1"}});
    const ChildResult made = RunProgram(ChildStart{
        {"bash", "-c", "cd \"$0\" && " + command, Path()}, {{"QV_STORE", Postgres().Url()}}});
    EXPECT_EQ(made.exitCode, 0) << made.errors;
    EXPECT_TRUE(ReadFile(Path("NAME.log")) == ReadFile(path));
}

// A receiver that is killed while it writes its queue may lose some of it, which comes when the
// sender is started again, as the guide says. All else comes by itself.
TEST_F(RsyslogRoad, IsExactWhenReceiverStoreAndSenderAreKilled) {
    StartRsyslog();
    for (const std::string victims :
         {"receiver", "receiver store", "sender", "sender receiver store"}) {
        const int64_t before = StoredBytes();
        RunAgent(10);
        AwaitBytes(before + 1);
        RunAgent(10);
        Kill(victims);
        RunAgent(10);
        StartAgain(victims);
    }
    AwaitStartingSenderAgain(Size(LogPaths()));
    ExpectStoreHasAllBytes();
}

// What has been sent is not acknowledged when the receiver is killed, and nothing more is written
// that would make the sender look after it.
TEST_F(RsyslogRoad, SendsAgainByItselfWhatAKilledReceiverHadNotTaken) {
    StartRsyslog();
    RunAgent(5);
    const int64_t before = Size(LogPaths());
    AwaitBytes(before);
    const int64_t read = BytesRead(Rsyslog().Process("sender"));
    Rsyslog().Pause("receiver");
    RunAgent(5);
    const int64_t written = Size(LogPaths()) - before;
    Await([&] { return BytesRead(Rsyslog().Process("sender")) >= read + written; });
    Rsyslog().Kill("receiver");
    Rsyslog().Start("receiver");
    AwaitBytes(Size(LogPaths()));
    ExpectStoreHasAllBytes();
}

// The limits of this road, which the guide names.
TEST_F(RsyslogRoad, ShowsWhatItDoesNotKeep) {
    const std::string zero =
        WriteLog("zero", Head() + Frame(1, std::string("a\0b", 3)) + Frame(2, "next") + Tail());
    const std::string large = WriteLog(
        "large", Head() + Frame(1, std::string(17000000, 'x')) + Frame(2, "next") + Tail());
    const std::string torn = WriteLog("torn", Head() + Frame(1, "whole") + "<2>\n2026-03-05T02:");
    StartRsyslog();
    Await([&] {
        return Number("SELECT count(*) FROM qv_rsyslog.file WHERE closed") == 2 &&
               Number("SELECT count(*) FROM qv_rsyslog.piece WHERE path LIKE '%torn%'") == 2;
    });
    EXPECT_EQ(
        Number("SELECT count(*) FROM qv_rsyslog.file WHERE path = '" + zero + "' AND missing > 0"),
        1);
    EXPECT_EQ(
        Number("SELECT count(*) FROM qv_rsyslog.file WHERE path = '" + large + "' AND missing > 0"),
        1);
    EXPECT_TRUE(Stored(torn) == Head() + Frame(1, "whole").substr(0, Frame(1, "whole").size() - 1));
    EXPECT_EQ(
        Number("SELECT count(*) FROM qv_rsyslog.file WHERE path = '" + torn + "' AND NOT closed"),
        1);
}

}  // namespace
