#include <cmath>
#include <cstdio>
#include <map>

#include "table/tables.h"

namespace NS_BENCH {

namespace {

std::string Print(int decimals, double value) {
    char text[48];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

// Three digits that count, whatever the size.
std::string Digits(double value) {
    return Print(value < 9.995 ? 2 : value < 99.95 ? 1 : 0, value);
}

std::string Duration(double nanoseconds) {
    if (nanoseconds < 9999.5) {
        return Print(0, nanoseconds) + " ns";
    }
    return nanoseconds < 1e6 ? Digits(nanoseconds / 1e3) + " us"
                             : Digits(nanoseconds / 1e6) + " ms";
}

std::string Left(std::string text, size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string Right(const std::string& text, size_t width) {
    return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

std::string Value(const Case& what, double value) {
    return what.metric == "memory" ? Print(0, value) : Duration(value);
}

std::string MetricCell(const EntrantResult& entrant, const char* metric) {
    const auto summary = entrant.Find(metric);
    return summary ? Duration(summary->median) : "";
}

std::string RateCell(const Case& what, const EntrantResult& entrant) {
    const auto rate = entrant.Find("rate");
    if (!rate || what.metric == "memory") {
        return "";
    }
    return what.bytesPerCall > 0 ? Digits(rate->median * what.bytesPerCall / 1e9) + " GB/s"
                                 : Digits(rate->median / 1e3) + " k/s";
}

std::string RatioCell(const std::optional<double>& ratio) {
    return ratio ? Print(2, *ratio) : "";
}

std::string Row(const CaseResult& result, const EntrantResult& entrant) {
    const auto value = entrant.Find(result.what.metric);
    std::string row = "  " + Left(entrant.Who().label, 32);
    if (!value) {
        return row + "not measured\n";
    }
    row += Right(Value(result.what, value->median), 9);
    row += "  " + Left("[" + Value(result.what, value->least) + " .. " +
                           Value(result.what, value->most) + "]",
                       23);
    if (result.what.metric != "memory") {
        for (const char* metric : {"p50", "p99", "p999", "max", "cpu"}) {
            row += Right(MetricCell(entrant, metric), 9);
        }
        row += Right(RateCell(result.what, entrant), 11);
        const auto bytes = entrant.Find("bytes");
        row += Right(bytes ? Print(0, bytes->median) : "", 7);
        row += Right(RatioCell(result.RatioToFloor(entrant)), 9);
        row += Right(RatioCell(result.RatioToBestPeer(entrant)), 9);
    }
    if (const auto wait = entrant.Find("wait")) {
        row += "  the operator waits " + Duration(wait->median) + ", at most " +
               Duration(entrant.Find("waitmax")->most);
    }
    row.erase(row.find_last_not_of(' ') + 1);
    return row + "\n";
}

std::string ColumnHeads() {
    std::string heads = "  " + Left("", 32) + Right("per call", 9) + "  " + Left("[rounds]", 23);
    for (const char* head : {"p50", "p99", "p99.9", "longest", "CPU"}) {
        heads += Right(head, 9);
    }
    return heads + Right("rate", 11) + Right("bytes", 7) + Right("/ floor", 9) +
           Right("/ peer", 9) + "\n";
}

// The records are the same, but everybody writes them in a form of his own.
std::string BytesNote(const std::vector<CaseResult>& results) {
    std::map<std::string, double> bytes;
    for (const CaseResult& result : results) {
        for (const EntrantResult& entrant : result.entrants) {
            if (const auto summary = entrant.Find("bytes")) {
                bytes.emplace(entrant.Who().label, summary->median);
            }
        }
    }
    std::string note;
    for (const auto& [label, value] : bytes) {
        note += (note.empty() ? "Bytes per record: " : "; ") + label + " " + Print(0, value);
    }
    return note.empty() ? "" : note + ".\n";
}

}  // namespace

std::string TextTable(const Heading& heading, const std::vector<CaseResult>& results) {
    std::string text = heading.machine + ".\nDisk: " + heading.disk +
                       "; memory: " + heading.memory + ". " + heading.rounds + "\n";
    text += heading.warning.empty() ? "" : "WARNING: " + heading.warning + "\n";
    text += "\n" + ColumnHeads();
    for (const CaseResult& result : results) {
        text += "\n" + result.what.title + " (" + result.what.name + ", " +
                (result.what.inMemory ? heading.memory : heading.disk) + ")" +
                (result.what.metric == "p50" ? ", compared by p50" : "") + "\n";
        for (const EntrantResult& entrant : result.entrants) {
            text += Row(result, entrant);
        }
    }
    return text + "\n" + BytesNote(results);
}

}  // namespace NS_BENCH
