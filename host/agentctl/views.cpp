// Formats the agent's answers for an operator.
#include "agentctl/views.h"

#include <time.h>

#include "agentctl/table.h"
#include "agentctl/terminaltext.h"

namespace NS_REFERENCE_HOST {

namespace {

using Align = Table::Align;

std::string OnOff(const Json::Value& value) {
    return value.asBool() ? "on" : "off";
}

std::string OutputLine(const Json::Value& data) {
    const unsigned int mode = data["mode"].asUInt();
    if (mode == 0) {
        return "output: direct (mode 0)\n";
    }
    const std::string line = "output: queued (mode " + std::to_string(mode) + ")";
    return line + (data["periodic"].asBool()
                       ? ", written out periodically\n"
                       : ", not written out periodically: full queues and flush write\n");
}

std::string LocalTime(int64_t seconds) {
    const time_t time = seconds;
    tm parts{};
    char text[64];
    if (localtime_r(&time, &parts) == nullptr ||
        strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S %z", &parts) == 0) {
        return std::to_string(seconds);
    }
    return text;
}

// One column of numbers in the table of channels.
struct NumberColumn {
    const char* title;
    const char* member;
};

constexpr NumberColumn kNumbers[] = {
    {"WRITTEN", "recordsWritten"}, {"DUMPED", "recordsDumped"}, {"DROPPED", "recordsDropped"},
    {"EVICTED", "recordsEvicted"}, {"QUEUED", "recordsQueued"}, {"MOST", "recordsQueuedMost"},
    {"CACHED", "recordsCached"},   {"BYTES", "bytesWritten"},   {"ROTATIONS", "rotations"}};

Table ChannelTable(const Json::Value& channels, bool utf8) {
    Table table;
    table.AddColumn("CATEGORY", Align::Left);
    for (const NumberColumn& column : kNumbers) {
        table.AddColumn(column.title, Align::Right);
    }
    table.AddColumn("FILE", Align::Left);
    for (const Json::Value& channel : channels) {
        std::vector<std::string> row{EscapeForTerminal(channel["category"].asString(), utf8)};
        for (const NumberColumn& column : kNumbers) {
            row.push_back(std::to_string(channel[column.member].asUInt64()));
        }
        const std::string file = EscapeForTerminal(channel["currentFile"].asString(), utf8);
        row.push_back(file.empty() ? "-" : file);
        table.AddRow(row);
    }
    return table;
}

std::string ErrorLines(const Json::Value& channels, bool utf8) {
    std::string lines;
    for (const Json::Value& channel : channels) {
        if (channel["lastError"].asInt() != 0) {
            lines += "last error: " + EscapeForTerminal(channel["category"].asString(), utf8) +
                     ": " + EscapeForTerminal(channel["lastErrorText"].asString(), utf8) +
                     " (errno " + std::to_string(channel["lastError"].asInt()) + ") at " +
                     LocalTime(channel["lastErrorTime"].asInt64()) + "\n";
        }
    }
    return lines;
}

}  // namespace

std::string ViewStatus(const Json::Value& data, bool utf8) {
    const Json::Value& channels = data["channels"];
    return OutputLine(data) + ChannelTable(channels, utf8).Render() + ErrorLines(channels, utf8);
}

std::string ViewQueue(const Json::Value& data, bool /*utf8*/) {
    return OutputLine(data);
}

std::string ViewLoggers(const Json::Value& data, bool utf8) {
    Table table;
    for (const char* title : {"FIRST", "SECOND", "CATEGORY", "0", "1", "2", "3"}) {
        table.AddColumn(title, Align::Left);
    }
    for (const Json::Value& logger : data["loggers"]) {
        std::vector<std::string> row;
        for (const char* member : {"first", "second", "category"}) {
            row.push_back(EscapeForTerminal(logger[member].asString(), utf8));
        }
        for (Json::ArrayIndex level = 0; level < 4; ++level) {
            row.push_back(OnOff(logger["levels"][level]));
        }
        table.AddRow(row);
    }
    return table.Render();
}

std::string ViewModules(const Json::Value& data, bool /*utf8*/) {
    if (data["modules"].empty()) {
        return "no module switch was set; all modules are on\n";
    }
    Table table;
    table.AddColumn("MODULE", Align::Right);
    table.AddColumn("SWITCH", Align::Left);
    for (const Json::Value& module : data["modules"]) {
        table.AddRow({std::to_string(module["module"].asInt64()), OnOff(module["on"])});
    }
    return table.Render();
}

std::string ViewModule(const Json::Value& data, bool /*utf8*/) {
    return "module " + std::to_string(data["module"].asUInt()) + " is " + OnOff(data["on"]) + "\n";
}

std::string ViewNothing(const Json::Value& /*data*/, bool /*utf8*/) {
    return std::string();
}

}  // namespace NS_REFERENCE_HOST
