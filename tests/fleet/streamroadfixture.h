// Streams between the shippers and the store of a test.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "fleet/fleetfixture.h"
#include "fleet/natsservers.h"

namespace NS_TEST {

class StreamRoad : public FleetTest {
  protected:
    // One for each category.
    static constexpr int64_t kFilesOfAnAgent = 7;

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

    // What a host says about itself.
    static NS_LOG_FLEET::Message StateOf(const std::string& host, const std::string& problem = "") {
        NS_LOG_FLEET::Message message;
        message.type = NS_LOG_FLEET::MessageType::Host;
        message.state = {host, 0, 1, problem};
        return message;
    }

    // That a file of so many bytes has arrived.
    static NS_LOG_FLEET::Message MarkOf(const std::string& host, const std::string& file,
                                        uint64_t size = 0) {
        NS_LOG_FLEET::Message message;
        message.type = NS_LOG_FLEET::MessageType::Mark;
        message.file = {host, file, "first\n"};
        message.low = size;
        return message;
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
    bool HasFiles(int64_t count) const {
        return Number("SELECT count(*) FROM qv.file WHERE complete AND stored = size") >= count;
    }
    void AwaitFiles(int64_t count) const {
        Await([&] { return HasFiles(count); });
    }

    // Ships again and then what one more agent writes: only the latter is added to the store, where
    // the files of one agent are already. `again`: options of the first shipping.
    void ExpectOneMoreAgentIsAddedOnce(int operations, const std::vector<std::string>& again = {}) {
        const int64_t stored = CountRecords();
        EXPECT_EQ(ShipAllIntoStream("host1", again).exitCode, 0);
        RunAgent(operations);
        EXPECT_EQ(ShipAllIntoStream().exitCode, 0);
        AwaitFiles(2 * kFilesOfAnAgent);
        EXPECT_GT(CountRecords(), stored);
        ExpectStoreHasFiles();
    }

    int64_t CountFiles() const { return static_cast<int64_t>(ListFiles(Logs()).size()); }

    static void Append(std::vector<std::string>& words, const std::vector<std::string>& more) {
        words.insert(words.end(), more.begin(), more.end());
    }

  private:
    std::unique_ptr<NatsServers> nats_;
};

}  // namespace NS_TEST
