// Many clients at work.
#include "client/load.h"

#include <cstdio>
#include <deque>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include "client/loadclient.h"
#include "client/receiver.h"
#include "network/network.h"

namespace NS_NORTHBOUND {

namespace {

// The clients on their threads.
class Clients {
  public:
    Clients(AgentConnection& connection, const ClientOptions& options)
        : connection_(connection), options_(options), network_(kNetworkSize, kNetworkSeed) {}

    LoadResult Run() {
        const auto begin = std::chrono::steady_clock::now();
        std::vector<std::thread> threads;
        for (unsigned int number = 1; number <= options_.clients; ++number) {
            receivers_.emplace_back(new Receiver(false, kAnswersAll));
            threads.emplace_back([this, number, receiver = receivers_.back().in()] {
                RunClient(number, *receiver);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        result_.time = std::chrono::steady_clock::now() - begin;
        for (const auto& receiver : receivers_) {
            result_.changes += receiver.in()->Count();
        }
        return std::move(result_);
    }

  private:
    void RunClient(unsigned int number, Receiver& receiver) {
        LoadClient client(connection_.Agent(), network_, number, options_);
        const char* lost = nullptr;
        try {
            Northbound::AlarmReceiver_var reference;
            if (number <= options_.subscribers) {
                reference = connection_.Serve(receiver);
            }
            client.Run(reference);
        } catch (const CORBA::SystemException& error) {
            lost = error._name();
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        result_.calls.insert(result_.calls.end(), client.Calls().begin(), client.Calls().end());
        if (lost != nullptr) {
            ++result_.lost[lost];
        }
    }

    AgentConnection& connection_;
    const ClientOptions& options_;
    const Network network_;
    std::deque<PortableServer::Servant_var<Receiver>>
        receivers_;  // counted: the ORB has its own share
    std::mutex mutex_;
    LoadResult result_;
};

void WriteReport(const LoadResult& result, const std::string& path) {
    std::ofstream out(path, std::ios::trunc);
    for (const CallReport& call : result.calls) {
        out << call.operation << '\t' << call.interfaceName << '\t' << call.user << '\t'
            << call.failure << '\n';
    }
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace

LoadResult RunLoad(AgentConnection& connection, const ClientOptions& options) {
    return Clients(connection, options).Run();
}

void PrintLoad(const LoadResult& result, const ClientOptions& options) {
    std::size_t failures = 0;
    const CallReport* shown = nullptr;  // one that reaches the element, if there is any
    for (const CallReport& call : result.calls) {
        if (!call.failure.empty()) {
            ++failures;
            shown = shown == nullptr || call.interfaceName == "getElement" ? &call : shown;
        }
    }
    std::printf("clients: %u\ncalls: %zu\nfailures: %zu\nchanges told: %llu\n", options.clients,
                result.calls.size(), failures, static_cast<unsigned long long>(result.changes));
    std::printf("calls per second: %.0f\n",
                static_cast<double>(result.calls.size()) / result.time.count());
    if (shown != nullptr) {
        std::printf("a failed operation: %s %s: %s\n", shown->operation.c_str(),
                    shown->interfaceName.c_str(), shown->failure.c_str());
    }
    for (const auto& [name, count] : result.lost) {
        std::printf("clients that lost the agent: %u, %s\n", count, name.c_str());
    }
    if (!options.report.empty()) {
        WriteReport(result, options.report);
    }
}

}  // namespace NS_NORTHBOUND
