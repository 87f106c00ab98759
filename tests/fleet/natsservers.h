// The servers of the streams of a test.
#pragma once

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "stream/message.h"
#include "stream/streamconnection.h"
#include "support/childprocess.h"
#include "support/files.h"

namespace NS_TEST {

// The directory is $1.
inline ChildResult RunNatsScript(const std::string& command, const std::string& directory) {
    const std::string local = std::string(QV_FLEET) + "/local/";
    return RunProgram(
        {{"bash", "-c", "set -e; source \"$0/postgres.sh\"; source \"$0/nats.sh\"; " + command,
          local, directory}});
}

inline void DoNatsScript(const std::string& command, const std::string& directory) {
    const ChildResult result = RunNatsScript(command, directory);
    if (result.exitCode != 0) {
        throw std::runtime_error(command + ": " + result.errors + result.output);
    }
}

// One server or three, which know the hosts host1 to host4.
class NatsServers {
  public:
    NatsServers(const std::string& directory, int count) : directory_(directory) {
        Do("qv_make_nats \"$1\" " + std::to_string(count) + " host1 host2 host3 host4");
        url_ = SplitText(ReadFile(directory_ + "/url")).front();
    }
    ~NatsServers() { RunScript("qv_stop_nats \"$1\""); }

    NatsServers(const NatsServers&) = delete;
    NatsServers& operator=(const NatsServers&) = delete;

    const std::string& Url() const { return url_; }

    // The options of a program that connects as the user.
    std::vector<std::string> Words(const std::string& user) const {
        const std::string certificates = directory_ + "/certs/";
        return {"--ca",  certificates + "ca.pem",     "--cert", certificates + user + ".pem",
                "--key", certificates + user + ".key"};
    }

    // Servers count from 1.
    void Kill(int node) const { Do("qv_kill_nats_node \"$1\" " + std::to_string(node)); }
    // It answers nothing from now on, and its connections stay.
    void Pause(int node) const { Do("kill -STOP \"$(<\"$1/" + std::to_string(node) + "/pid\")\""); }
    void Start(int node) const { Do("qv_start_nats_node \"$1\" " + std::to_string(node)); }

    // The server that leads the stream; waits until one does.
    int Leader() const {
        for (;;) {
            const std::string name = LeaderName();
            if (name.size() > 4) {
                return name[4] - '0';  // "node2"
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }

    // How many messages the stream holds.
    uint64_t CountMessages() const {
        uint64_t count = 0;
        WithStream([&](jsCtx* streams) {
            jsStreamInfo* info = nullptr;
            if (js_GetStreamInfo(&info, streams, "LOGS_0", nullptr, nullptr) == NATS_OK) {
                count = info->State.Msgs;
            }
            jsStreamInfo_Destroy(info);
        });
        return count;
    }

    // How many messages the collectors were given and have neither stored nor refused.
    int64_t CountOutstanding() const {
        int64_t count = 0;
        WithConsumer([&](const jsConsumerInfo& info) { count = info.NumAckPending; });
        return count;
    }

    // Whether the collectors have stored or refused every message of the stream.
    bool IsAllSettled() const {
        bool isSettled = false;
        WithConsumer([&](const jsConsumerInfo& info) {
            isSettled = info.NumPending == 0 && info.NumAckPending == 0;
        });
        return isSettled;
    }

    // As the host, whatever the message says. Returns when the stream has it.
    void Publish(const std::string& host, const std::string& subject,
                 const NS_LOG_FLEET::Message& message) const {
        PublishBytes(host, subject, Encode(message));
    }
    void PublishBytes(const std::string& host, const std::string& subject, const std::string& bytes,
                      int times = 1) const {
        const NS_LOG_FLEET::StreamConnection connection(AddressOf(host));
        jsCtx* streams = nullptr;
        NS_LOG_FLEET::CheckStatus(natsConnection_JetStream(&streams, connection.Get(), nullptr),
                                  "streams");
        const NS_LOG_FLEET::StreamOwner<jsCtx, &jsCtx_Destroy> owner(streams);
        for (int i = 0; i < times; ++i) {
            NS_LOG_FLEET::CheckStatus(js_Publish(nullptr, streams, subject.c_str(), bytes.data(),
                                                 static_cast<int>(bytes.size()), nullptr, nullptr),
                                      "publishing");
        }
    }

    // What a host connects with.
    NS_LOG_FLEET::StreamAddress AddressOf(const std::string& host) const {
        const std::vector<std::string> words = Words(host);
        return {url_, words[1], words[3], words[5], "_INBOX." + host};
    }

    // What a server has said.
    std::string Log(int node) const {
        return ReadFile(directory_ + "/" + std::to_string(node) + "/log");
    }

    // With what a server greets a client: the addresses of all members stand in it.
    std::string Greeting(int node) const {
        return RunScript("exec 3<>\"/dev/tcp/127.0.0.1/$(<\"$1/" + std::to_string(node) +
                         "/port\")\"; read -r -t 60 -u 3 line; echo \"$line\"")
            .output;
    }

    const std::string& Directory() const { return directory_; }

  private:
    // Nothing is read while no server answers.
    template <class Read>
    void WithStream(const Read& read) const {
        const std::vector<std::string> words = Words("collector");
        const NS_LOG_FLEET::StreamAddress address{url_, words[1], words[3], words[5], ""};
        try {
            const NS_LOG_FLEET::StreamConnection connection(address);
            jsCtx* streams = nullptr;
            NS_LOG_FLEET::CheckStatus(natsConnection_JetStream(&streams, connection.Get(), nullptr),
                                      "streams");
            const NS_LOG_FLEET::StreamOwner<jsCtx, &jsCtx_Destroy> owner(streams);
            read(streams);
        } catch (const NS_LOG_FLEET::StreamError&) {
        }
    }

    template <class Read>
    void WithConsumer(const Read& read) const {
        WithStream([&](jsCtx* streams) {
            jsConsumerInfo* info = nullptr;
            if (js_GetConsumerInfo(&info, streams, "LOGS_0", "store", nullptr, nullptr) ==
                NATS_OK) {
                read(*info);
            }
            jsConsumerInfo_Destroy(info);
        });
    }

    std::string LeaderName() const {
        std::string name;
        WithStream([&](jsCtx* streams) {
            jsStreamInfo* info = nullptr;
            if (js_GetStreamInfo(&info, streams, "LOGS_0", nullptr, nullptr) == NATS_OK &&
                info->Cluster != nullptr && info->Cluster->Leader != nullptr) {
                name = info->Cluster->Leader;
            }
            jsStreamInfo_Destroy(info);
        });
        return name;
    }

    ChildResult RunScript(const std::string& command) const {
        return RunNatsScript(command, directory_);
    }
    void Do(const std::string& command) const { DoNatsScript(command, directory_); }

    const std::string directory_;
    std::string url_;
};

// One more server that is told where three others are, and trusts their authority.
class FourthServer {
  public:
    // `certificates`: the directory of the certificate that it shows.
    FourthServer(const std::string& directory, const NatsServers& others,
                 const std::string& certificates)
        : directory_(directory) {
        std::filesystem::create_directories(directory + "/4");
        for (const char* name : {"nats.conf", "users.conf", "routes"}) {
            std::filesystem::copy_file(others.Directory() + "/" + name, directory + "/" + name);
        }
        WriteFile(directory + "/tls.conf",
                  "cert_file: \"" + certificates + "/server.pem\"\nkey_file: \"" + certificates +
                      "/server.key\"\nca_file: \"" + others.Directory() + "/certs/ca.pem\"\n");
        DoNatsScript(
            "qv_free_port \"$1\" >\"$1/4/port\"; qv_free_port \"$1\" >\"$1/4/cluster_port\"; "
            "qv_start_nats_node \"$1\" 4",
            directory);
    }
    ~FourthServer() { RunNatsScript("qv_stop_nats \"$1\"", directory_); }

    FourthServer(const FourthServer&) = delete;
    FourthServer& operator=(const FourthServer&) = delete;

    // For clients.
    std::string Address() const {
        return "127.0.0.1:" + SplitText(ReadFile(directory_ + "/4/port")).front();
    }

  private:
    const std::string directory_;
};

}  // namespace NS_TEST
