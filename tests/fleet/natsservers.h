// The servers of the streams of a test.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "stream/streamconnection.h"
#include "support/childprocess.h"
#include "support/files.h"

namespace NS_TEST {

// One server or three, which know the hosts host1 and host2.
class NatsServers {
  public:
    NatsServers(const std::string& directory, int count) : directory_(directory) {
        Do("qv_make_nats \"$1\" " + std::to_string(count) + " host1 host2");
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

  private:
    std::string LeaderName() const {
        const std::vector<std::string> words = Words("collector");
        const NS_LOG_FLEET::StreamAddress address{url_, words[1], words[3], words[5], ""};
        try {
            const NS_LOG_FLEET::StreamConnection connection(address);
            jsCtx* streams = nullptr;
            NS_LOG_FLEET::CheckStatus(natsConnection_JetStream(&streams, connection.Get(), nullptr),
                                      "streams");
            const NS_LOG_FLEET::StreamOwner<jsCtx, &jsCtx_Destroy> owner(streams);
            jsStreamInfo* info = nullptr;
            const natsStatus status = js_GetStreamInfo(&info, streams, "LOGS_0", nullptr, nullptr);
            const std::string name =
                status == NATS_OK && info->Cluster != nullptr && info->Cluster->Leader != nullptr
                    ? info->Cluster->Leader
                    : "";
            jsStreamInfo_Destroy(info);
            return name;
        } catch (const NS_LOG_FLEET::StreamError&) {
            return "";
        }
    }

    ChildResult RunScript(const std::string& command) const {
        const std::string local = std::string(QV_FLEET) + "/local/";
        return RunProgram(
            {{"bash", "-c", "set -e; source \"$0/postgres.sh\"; source \"$0/nats.sh\"; " + command,
              local, directory_}});
    }

    void Do(const std::string& command) const {
        const ChildResult result = RunScript(command);
        if (result.exitCode != 0) {
            throw std::runtime_error(command + ": " + result.errors + result.output);
        }
    }

    const std::string directory_;
    std::string url_;
};

}  // namespace NS_TEST
