// Agents, shippers and a store, and whether the store has what the agents wrote.
#pragma once

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "fleet/postgresserver.h"
#include "store/connection.h"
#include "support/childprocess.h"
#include "support/files.h"
#include "support/logfileparser.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

using NS_LOG_FLEET::Connection;
using NS_LOG_FLEET::Rows;

class FleetTest : public DirectoryTest {
  protected:
    FleetTest() {
        // The server does not run as root.
        std::filesystem::permissions(Path(), std::filesystem::perms(0755));
        std::filesystem::create_directories(Path("agent/conf"));
        std::filesystem::create_directories(Logs());
        std::filesystem::copy_file(QV_AGENT_CONFIGURATION, Path("agent/conf/corba_agent.cfg"));
        postgres_ = std::make_unique<PostgresServer>(Path("postgres"));
    }

    std::string Logs() const { return Path("agent/log"); }
    PostgresServer& Postgres() { return *postgres_; }

    // Writes some seven files and 36 records for each operation.
    std::unique_ptr<ChildProcess> StartAgent(int operations) const {
        return std::make_unique<ChildProcess>(
            ChildStart{{QV_AGENT, "--share", Path("agent"), "--sample", "--threads", "4",
                        "--operations", std::to_string(operations)}});
    }
    void RunAgent(int operations) const { ExpectGoodEnd(*StartAgent(operations)); }

    // An agent that does not load its bundles leaves files without a record.
    static void ExpectGoodEnd(ChildProcess& agent) {
        const ChildResult result = agent.Wait();
        if (result.exitCode != 0) {
            throw std::runtime_error("the agent has failed: " + result.errors);
        }
    }

    std::vector<std::string> ShipWords(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words = {QVLOG,  "ship",   "--host", "host1",
                                          "--to", Target(), Logs()};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    std::unique_ptr<ChildProcess> StartShipper() const {
        return std::make_unique<ChildProcess>(ChildStart{ShipWords()});
    }
    ChildResult ShipAll() const { return RunProgram(ChildStart{ShipWords({"--once"})}); }

    // What the host may remove: `qvlog prune --shipped`.
    ChildResult PruneShipped(const std::vector<std::string>& more) const {
        std::vector<std::string> words = {QVLOG, "prune", "--shipped", "--host", "host1", Logs()};
        words.insert(words.end(), more.begin(), more.end());
        return RunProgram(ChildStart{words});
    }

    virtual std::string Target() const { return postgres_->Url(); }

    static void KillAndWait(ChildProcess& process) {
        process.Signal(SIGKILL);
        process.Wait();
    }

    // It must not end by itself while something is awaited.
    void Watch(ChildProcess& process) { watched_.push_back(&process); }

    // Waits until the condition holds; the test's own limit ends it.
    void Await(const std::function<bool()>& condition) const {
        while (!Holds(condition)) {
            for (ChildProcess* const process : watched_) {
                siginfo_t info{};
                if (::waitid(P_PID, static_cast<id_t>(process->GetId()), &info,
                             WEXITED | WNOHANG | WNOWAIT) == 0 &&
                    info.si_pid != 0) {
                    throw std::runtime_error("a program has ended: " + process->Wait().errors);
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    // By all calls that read.
    static int64_t BytesRead(pid_t process) {
        const std::string start = "rchar: ";
        const std::string line = ReadLines("/proc/" + std::to_string(process) + "/io").front();
        return line.compare(0, start.size(), start) == 0 ? std::stoll(line.substr(start.size()))
                                                         : 0;
    }

    int64_t Number(const std::string& query) const {
        Connection store(postgres_->Url());
        return store.Run(query).Number(0, 0);
    }
    int64_t CountRecords() const { return Number("SELECT count(*) FROM qv.record"); }
    void AwaitRecords(int64_t count) const {
        Await([&] { return CountRecords() >= count; });
    }

    // Every byte of every file is in the store once, and every record of a dump is a row of its
    // own.
    void ExpectStoreHasFiles(const std::string& host = "host1") const {
        Connection store(postgres_->Url());
        const std::vector<std::string> names = ListFiles(Logs());
        ASSERT_FALSE(names.empty());
        for (const std::string& name : names) {
            SCOPED_TRACE(name);
            const std::string text = ReadFile(Logs() + "/" + name);
            const Rows rows = store.Run(
                "SELECT f.stored, r.kind = 'dumped', r.byte_offset, r.bytes, r.dump_offset,"
                "       (SELECT count(*) FROM qv.range g WHERE g.file = f.id),"
                "       r.torn OR r.kind IN ('torn', 'garbage')"
                " FROM qv.file f JOIN qv.record r ON r.file = f.id"
                " WHERE f.host = $2 AND f.name = $1 ORDER BY r.byte_offset",
                {name, host});
            ASSERT_GT(rows.Count(), 0);
            EXPECT_EQ(rows.Number(0, 0), static_cast<int64_t>(text.size()));
            EXPECT_EQ(rows.Number(0, 5), 0) << "ranges behind a gap are left";
            ExpectRowsMakeFile(rows, text);
        }
    }

  private:
    // A store that has much to do may not answer in time.
    static bool Holds(const std::function<bool()>& condition) {
        try {
            return condition();
        } catch (const NS_LOG_FLEET::StoreError& error) {
            if (!error.IsPassing()) {
                throw;
            }
            return false;
        }
    }

    static void ExpectRowsMakeFile(const Rows& rows, const std::string& text) {
        std::string whole;
        int64_t piece = -1;  // where the last one begins that stands in no dump
        bool isTorn = false;
        size_t dumped = 0;
        for (int row = 0; row < rows.Count(); ++row) {
            const auto offset = static_cast<size_t>(rows.Number(row, 2));
            const std::string bytes = rows.Bytes(row, 3);
            ASSERT_EQ(text.compare(offset, bytes.size(), bytes), 0) << "at byte " << offset;
            if (rows.Flag(row, 1)) {
                ASSERT_EQ(rows.Number(row, 4), piece) << "a dumped record of no dump";
                dumped += isTorn ? 0 : 1;
            } else {
                ASSERT_EQ(offset, whole.size()) << "a gap, or a row that came twice";
                piece = rows.Number(row, 2);
                isTorn = rows.Flag(row, 6);
                whole += bytes;
            }
        }
        EXPECT_EQ(whole.size(), text.size());
        EXPECT_TRUE(whole == text);
        EXPECT_EQ(dumped, CountDumped(isTorn ? text.substr(0, static_cast<size_t>(piece)) : text));
    }

    // By a parser that has nothing in common with the one under test. It takes whole files only:
    // the torn piece at the end is not for it.
    static size_t CountDumped(const std::string& text) {
        size_t count = 0;
        for (const ParsedPiece& piece : ParseLogText(text)) {
            count += piece.dumped.size();
        }
        return count;
    }

    std::unique_ptr<PostgresServer> postgres_;
    std::vector<ChildProcess*> watched_;
};

}  // namespace NS_TEST
