#include <json/json.h>

#include "table/tables.h"

namespace NS_BENCH {

namespace {

const char* NameOf(Role role) {
    switch (role) {
        case Role::kFloor:
            return "floor";
        case Role::kService:
            return "service";
        case Role::kPeer:
            return "peer";
        case Role::kReference:
            break;
    }
    return "reference";
}

Json::Value EntrantValue(const CaseResult& result, const EntrantResult& entrant) {
    Json::Value value;
    value["name"] = entrant.Who().label;
    value["role"] = NameOf(entrant.Who().role);
    for (const auto& [metric, summary] : entrant.Summaries()) {
        Json::Value& figures = value["metrics"][metric];
        figures["median"] = summary.median;
        figures["min"] = summary.least;
        figures["max"] = summary.most;
    }
    if (const auto ratio = result.RatioToFloor(entrant)) {
        value["to_floor"] = *ratio;
    }
    if (const auto ratio = result.RatioToBestPeer(entrant)) {
        value["to_best_peer"] = *ratio;
    }
    return value;
}

}  // namespace

std::string JsonTable(const Heading& heading, const std::vector<CaseResult>& results) {
    Json::Value root;
    root["machine"] = heading.machine;
    root["disk"] = heading.disk;
    root["memory"] = heading.memory;
    root["rounds"] = heading.rounds;
    root["warning"] = heading.warning;
    root["cases"] = Json::arrayValue;
    for (const CaseResult& result : results) {
        Json::Value value;
        value["name"] = result.what.name;
        value["title"] = result.what.title;
        value["compared_by"] = result.what.metric;
        value["entrants"] = Json::arrayValue;
        for (const EntrantResult& entrant : result.entrants) {
            value["entrants"].append(EntrantValue(result, entrant));
        }
        root["cases"].append(value);
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["precision"] = 6;
    return Json::writeString(builder, root) + "\n";
}

}  // namespace NS_BENCH
