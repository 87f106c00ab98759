// qvlog fleet
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "ask/hostview.h"
#include "command/fleetcommands.h"
#include "output/output.h"
#include "output/recordformat.h"
#include "output/visibletext.h"
#include "store/migration.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::Output;
using NS_LOG_READER::PutJsonMember;
using NS_LOG_READER::PutVisible;

struct ViewWords {
    std::string store;
    bool json = false;
};

std::string Stamp(NS_LOG_READER::Time time) {
    return NS_LOG_READER::FormatLocalStamp(time);
}

// Down to the second, as it is read beside a clock.
std::string ShortStamp(NS_LOG_READER::Time time) {
    std::string stamp = Stamp(time).substr(0, 19);
    std::replace(stamp.begin(), stamp.end(), 'T', ' ');
    return stamp;
}

void PrintTable(const std::vector<HostView>& hosts, Output& output) {
    std::vector<std::vector<std::string>> lines = {
        {"HOST", "SEEN", "LAST RECORD", "FILES", "STORED", "BACKLOG", "GAPS", "LOST", "PROBLEM"}};
    for (const HostView& host : hosts) {
        lines.push_back({host.host, ShortStamp(host.seen),
                         host.lastRecord ? ShortStamp(*host.lastRecord) : "-",
                         std::to_string(host.files), std::to_string(host.stored),
                         std::to_string(host.backlog), std::to_string(host.gaps),
                         std::to_string(host.lost), host.problem.empty() ? "-" : host.problem});
    }
    std::vector<size_t> widths(lines.front().size());
    for (const auto& line : lines) {
        for (size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    for (const auto& line : lines) {
        for (size_t i = 0; i < line.size(); ++i) {
            const bool isLast = i + 1 == line.size();
            PutVisible(output, line[i]);
            output.Put(isLast ? "\n" : std::string(widths[i] - line[i].size() + 2, ' '));
        }
    }
}

void PrintJson(const std::vector<HostView>& hosts, Output& output) {
    for (const HostView& host : hosts) {
        output.Put("{\"v\":1");
        PutJsonMember(output, "host", host.host);
        PutJsonMember(output, "seen", Stamp(host.seen));
        if (host.lastRecord) {
            PutJsonMember(output, "last_record", Stamp(*host.lastRecord));
        } else {
            output.Put(",\"last_record\":null");
        }
        PutJsonMember(output, "files", host.files);
        PutJsonMember(output, "stored", host.stored);
        PutJsonMember(output, "backlog", host.backlog);
        PutJsonMember(output, "gaps", host.gaps);
        PutJsonMember(output, "lost", host.lost);
        PutJsonMember(output, "problem", host.problem);
        output.Put("}\n");
    }
}

int RunView(const ViewWords& words) {
    Connection connection(words.store);
    DemandCurrentSchema(connection);
    const std::vector<HostView> hosts = ViewHosts(connection);
    Output output(STDOUT_FILENO);
    words.json ? PrintJson(hosts, output) : PrintTable(hosts, output);
    output.Flush();
    const bool isWhole = std::all_of(hosts.begin(), hosts.end(),
                                     [](const HostView& host) { return host.IsWhole(); });
    return !hosts.empty() && isWhole ? 0 : 1;
}

}  // namespace

void AddView(const NS_LOG_READER::CommandAdder& add) {
    const auto words = std::make_shared<ViewWords>();
    CLI::App* const app = add("fleet", "Show the hosts of a store",
                              [words](const NS_LOG_READER::Options&) { return RunView(*words); });
    app->add_option("--store", words->store, "The store: postgresql://...")
        ->type_name("URL")
        ->required();
    app->add_flag("--json", words->json, "Print one object a host");
}

}  // namespace NS_LOG_FLEET
