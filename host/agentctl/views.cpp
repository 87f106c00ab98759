// Formats the agent's answers for an operator.
#include "agentctl/views.h"

#include <time.h>

#include "agentctl/statusview.h"
#include "agentctl/table.h"
#include "agentctl/terminaltext.h"

namespace NS_REFERENCE_HOST {

namespace {
using Align = Table::Align;
}  // namespace

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

std::string ViewStatus(const Json::Value& data, const Presentation& presentation) {
    return ViewStatusSince(Json::Value(), data, presentation);
}

// The agent's texts begin with the word that monitoring systems show.
std::string ViewHealth(const Json::Value& data, const Presentation& presentation) {
    static constexpr const char* kWords[] = {"OK", "WARNING", "CRITICAL"};
    const auto word = [](const Json::Value& health) {
        return std::string(health.isUInt() && health.asUInt() < 3 ? kWords[health.asUInt()]
                                                                  : "UNKNOWN");
    };
    std::string lines;
    for (const Json::Value& problem : data["problems"]) {
        lines +=
            word(problem["health"]) + ": " +
            EscapeForTerminal(problem["category"].asString() + ": " + problem["text"].asString(),
                              presentation.utf8) +
            "\n";
    }
    return lines.empty() ? word(data["health"]) + ": no record was lost, all files are well\n"
                         : lines;
}

std::string ViewQueue(const Json::Value& data, const Presentation& /*presentation*/) {
    return OutputLine(data);
}

std::string ViewLoggers(const Json::Value& data, const Presentation& presentation) {
    Table table;
    for (const char* title : {"FIRST", "SECOND", "CATEGORY", "0", "1", "2", "3"}) {
        table.AddColumn(title, Align::Left);
    }
    for (const Json::Value& logger : data["loggers"]) {
        std::vector<std::string> row;
        for (const char* member : {"first", "second", "category"}) {
            row.push_back(EscapeForTerminal(logger[member].asString(), presentation.utf8));
        }
        for (Json::ArrayIndex level = 0; level < 4; ++level) {
            row.push_back(OnOff(logger["levels"][level]));
        }
        table.AddRow(row);
    }
    return table.Render();
}

std::string ViewModules(const Json::Value& data, const Presentation& /*presentation*/) {
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

std::string ViewModule(const Json::Value& data, const Presentation& /*presentation*/) {
    return "module " + std::to_string(data["module"].asUInt()) + " is " + OnOff(data["on"]) + "\n";
}

std::string ViewNothing(const Json::Value& /*data*/, const Presentation& /*presentation*/) {
    return std::string();
}

}  // namespace NS_REFERENCE_HOST
