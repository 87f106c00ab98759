// Formats the agent's status for an operator.
#include "agentctl/statusview.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "agentctl/shorttext.h"
#include "agentctl/table.h"
#include "agentctl/terminaltext.h"

namespace NS_REFERENCE_HOST {

namespace {

using Align = Table::Align;

// The channels of two statuses, and the time between them.
class Rates {
  public:
    Rates(const Json::Value& before, const Json::Value& data) {
        const Json::Value& agent = data["agent"];
        if (!agent.isMember("uptimeMilliseconds")) {
            return;
        }
        uptime_ = agent["uptimeMilliseconds"].asInt64();
        const Json::Value& agentBefore = before["agent"];
        if (before.isObject() && agentBefore["process"] == agent["process"] &&
            agentBefore["startTime"] == agent["startTime"] &&
            agentBefore["uptimeMilliseconds"].asInt64() < uptime_) {
            before_ = &before["channels"];
            milliseconds_ = uptime_ - agentBefore["uptimeMilliseconds"].asInt64();
        } else {
            milliseconds_ = std::max<int64_t>(uptime_, 1);
        }
    }

    // The time that the rates are about, in words.
    std::string Period() const {
        if (milliseconds_ == 0) {
            return "unknown";
        }
        return before_ == nullptr
                   ? "since the start"
                   : "of the last " + ShortRate(static_cast<double>(milliseconds_) / 1000) + " s";
    }

    std::string Of(const Json::Value& channel) const {
        if (milliseconds_ == 0) {
            return "-";
        }
        const uint64_t received = channel["recordsReceived"].asUInt64();
        const uint64_t receivedBefore = ReceivedBefore(channel["category"]);
        const uint64_t more = received - std::min(received, receivedBefore);
        return ShortRate(static_cast<double>(more) * 1000 / static_cast<double>(milliseconds_));
    }

  private:
    uint64_t ReceivedBefore(const Json::Value& category) const {
        if (before_ != nullptr) {
            for (const Json::Value& channel : *before_) {
                if (channel["category"] == category) {
                    return channel["recordsReceived"].asUInt64();
                }
            }
        }
        return 0;
    }

    const Json::Value* before_ = nullptr;
    int64_t uptime_ = 0;
    int64_t milliseconds_ = 0;  // 0: the agent does not say how long it runs
};

std::string AgentLines(const Json::Value& data, bool utf8) {
    const Json::Value& agent = data["agent"];
    if (!agent.isMember("version")) {
        return agent.isObject() ? "process " + std::to_string(agent["process"].asInt()) + "\n" : "";
    }
    return "qv_agent " + EscapeForTerminal(agent["version"].asString(), utf8) + ", process " +
           std::to_string(agent["process"].asInt()) + ", since " +
           LocalTime(agent["startTime"].asInt64()) +
           "\nconfiguration: " + EscapeForTerminal(agent["configuration"].asString(), utf8) + "\n";
}

std::string SwitchLines(const Json::Value& data) {
    if (!data.isMember("levels")) {
        return std::string();
    }
    std::string line = "levels:";
    for (Json::ArrayIndex level = 0; level < 4; ++level) {
        line +=
            (level == 0 ? " " : ", ") + std::to_string(level) + " " + OnOff(data["levels"][level]);
    }
    line += "; ASN messages " + OnOff(data["asnTrace"]) + "; output parameters " +
            OnOff(data["outputParameters"]) + "\n";
    return line + (data["keepsRecords"].asBool() ? "files: continued when their name comes round\n"
                                                 : "files: emptied when their name comes round\n");
}

// One column of numbers in the wide table.
struct NumberColumn {
    const char* title;
    const char* member;
};

constexpr NumberColumn kNumbers[] = {{"RECEIVED", "recordsReceived"},
                                     {"WRITTEN", "recordsWritten"},
                                     {"DUMPED", "recordsDumped"},
                                     {"DROPPED", "recordsDropped"},
                                     {"OVERWRITTEN", "recordsOverwritten"},
                                     {"EVICTED", "recordsEvicted"},
                                     {"QUEUED", "recordsQueued"},
                                     {"MOST", "recordsQueuedMost"},
                                     {"CACHED", "recordsCached"},
                                     {"BYTES", "bytesWritten"},
                                     {"ROTATIONS", "rotations"}};

bool IsMoved(const Json::Value& channel) {
    return channel.isMember("currentFileInPlace") && !channel["currentFileInPlace"].asBool();
}

std::string WideTable(const Json::Value& channels, const Rates& rates, bool utf8) {
    Table table;
    table.AddColumn("CATEGORY", Align::Left);
    table.AddColumn("RATE/S", Align::Right);
    for (const NumberColumn& column : kNumbers) {
        table.AddColumn(column.title, Align::Right);
    }
    table.AddColumn("FILE", Align::Left);
    for (const Json::Value& channel : channels) {
        std::vector<std::string> row{EscapeForTerminal(channel["category"].asString(), utf8),
                                     rates.Of(channel)};
        for (const NumberColumn& column : kNumbers) {
            row.push_back(std::to_string(channel[column.member].asUInt64()));
        }
        const std::string file = EscapeForTerminal(channel["currentFile"].asString(), utf8);
        row.push_back((file.empty() ? "-" : file) +
                      (channel["failing"].asBool() ? " (failing)" : "") +
                      (IsMoved(channel) ? " (moved or removed)" : ""));
        table.AddRow(row);
    }
    return table.Render();
}

const char* StateOfFile(const Json::Value& channel) {
    if (channel["failing"].asBool()) {
        return "failing";
    }
    if (channel["currentFile"].asString().empty()) {
        return "-";
    }
    return IsMoved(channel) ? "moved" : "ok";
}

std::string NarrowTable(const Json::Value& channels, const Rates& rates, bool utf8) {
    Table table;
    table.AddColumn("CATEGORY", Align::Left);
    for (const char* title : {"RATE/S", "WRITTEN", "LOST", "QUEUED", "CACHED", "BYTES"}) {
        table.AddColumn(title, Align::Right);
    }
    table.AddColumn("FILE", Align::Left);
    for (const Json::Value& channel : channels) {
        const auto sum = [&channel](const char* first, const char* second) {
            return ShortNumber(channel[first].asUInt64() + channel[second].asUInt64());
        };
        table.AddRow({EscapeForTerminal(channel["category"].asString(), utf8), rates.Of(channel),
                      sum("recordsWritten", "recordsDumped"),
                      sum("recordsDropped", "recordsOverwritten"),
                      ShortNumber(channel["recordsQueued"].asUInt64()),
                      ShortNumber(channel["recordsCached"].asUInt64()),
                      ShortNumber(channel["bytesWritten"].asUInt64()), StateOfFile(channel)});
    }
    return table.Render();
}

std::string ErrorLines(const Json::Value& channels, bool utf8) {
    std::string lines;
    for (const Json::Value& channel : channels) {
        if (channel["lastError"].asInt() != 0) {
            const std::string file = EscapeForTerminal(channel["lastErrorFile"].asString(), utf8);
            lines += "last error: " + EscapeForTerminal(channel["category"].asString(), utf8) +
                     ": " + EscapeForTerminal(channel["lastErrorText"].asString(), utf8) +
                     " (errno " + std::to_string(channel["lastError"].asInt()) + ") at " +
                     LocalTime(channel["lastErrorTime"].asInt64()) +
                     (file.empty() ? "" : ", " + file) + "\n";
        }
    }
    return lines;
}

}  // namespace

std::string ViewStatusSince(const Json::Value& before, const Json::Value& data,
                            const Presentation& presentation) {
    const bool utf8 = presentation.utf8;
    const Json::Value& channels = data["channels"];
    const Rates rates(before, data);
    const std::string head = AgentLines(data, utf8) + SwitchLines(data) + OutputLine(data) +
                             "rates: " + rates.Period() + "\n";
    const std::string wide = WideTable(channels, rates, utf8);
    const bool fits = presentation.columns == 0 || LongestLine(wide) <= presentation.columns;
    const std::string text =
        head + (fits ? wide : NarrowTable(channels, rates, utf8)) + ErrorLines(channels, utf8);
    return presentation.columns == 0 ? text : CutLines(text, presentation.columns);
}

}  // namespace NS_REFERENCE_HOST
