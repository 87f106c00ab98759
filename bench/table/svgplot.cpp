#include <algorithm>
#include <cmath>
#include <cstdio>

#include "table/tables.h"

namespace NS_BENCH {

namespace {

constexpr double kLeft = 330;
constexpr double kRight = 930;
constexpr double kWidth = 960;
constexpr double kTop = 92;
constexpr double kRowHeight = 34;
constexpr double kEntrantGap = 3;

// The colours keep their contrast on white and on near black.
struct Series {
    const char* label;
    const char* colour;
    const char* shape;
};
constexpr Series kSeries[] = {
    {"service, Log", "#1a9850", "circle"},
    {"service, LogFormat", "#2f7fe0", "circle"},
    {"spdlog", "#e07b00", "diamond"},
    {"log4cplus", "#b05fc6", "diamond"},
    {"Boost.Log", "#c0504d", "diamond"},
    {"glog", "#8a8d2f", "diamond"},
    {"floor: group commit", "#808a93", "circle"},
};

constexpr char kStyle[] =
    "<style>text{font:13px sans-serif;fill:#24292f}.small{font-size:11px}"
    ".grid{stroke:#8c959f;stroke-opacity:.35}.floor{stroke:#57606a;stroke-width:2}"
    "@media (prefers-color-scheme:dark){text{fill:#e6edf3}.floor{stroke:#b1bac4}}</style>\n";

std::string Escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        result += character == '<'   ? "&lt;"
                  : character == '&' ? "&amp;"
                                     : std::string(1, character);
    }
    return result;
}

std::string Text(double x, double y, const std::string& text, const char* more = "") {
    char begin[128];
    std::snprintf(begin, sizeof begin, "<text x=\"%.1f\" y=\"%.1f\" %s>", x, y, more);
    return begin + Escaped(text) + "</text>\n";
}

std::string Line(double x1, double y1, double x2, double y2, const std::string& attributes) {
    char text[160];
    std::snprintf(text, sizeof text, "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" ", x1,
                  y1, x2, y2);
    return text + attributes + "/>\n";
}

std::string Mark(const Series& series, double x, double y) {
    char text[200];
    if (std::string(series.shape) == "circle") {
        std::snprintf(text, sizeof text,
                      "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"5.5\" fill=\"%s\"/>\n", x, y,
                      series.colour);
    } else {
        std::snprintf(text, sizeof text, "<path d=\"M%.1f %.1fl6 6l-6 6l-6-6z\" fill=\"%s\"/>\n", x,
                      y - 6, series.colour);
    }
    return text;
}

// A logarithmic axis of multiples of the floor, from `least` to `most`, powers of two.
class Axis {
  public:
    Axis(double least, double most)
        : low_(std::floor(std::log2(least))),
          high_(std::max(low_ + 1, std::ceil(std::log2(most)))) {}

    double At(double ratio) const {
        return kLeft + (std::log2(ratio) - low_) / (high_ - low_) * (kRight - kLeft);
    }

    std::string Grid(double bottom) const {
        std::string grid;
        for (double power = low_; power <= high_; power += 1) {
            const double ratio = std::exp2(power);
            char label[32];
            std::snprintf(label, sizeof label, "%g", ratio);
            grid += Line(At(ratio), kTop - 12, At(ratio), bottom,
                         power == 0 ? "class=\"floor\"" : "class=\"grid\"");
            grid += Text(At(ratio), kTop - 18, label, "text-anchor=\"middle\" class=\"small\"");
        }
        return grid;
    }

  private:
    double low_;
    double high_;
};

const Series* FindSeries(const std::string& label) {
    for (const Series& series : kSeries) {
        if (label == series.label) {
            return &series;
        }
    }
    return nullptr;
}

bool IsPlotted(const CaseResult& result) {
    const auto has = [&](Role role) {
        return std::any_of(result.entrants.begin(), result.entrants.end(),
                           [&](const EntrantResult& entrant) {
                               return entrant.Who().role == role && result.RatioToFloor(entrant) &&
                                      FindSeries(entrant.Who().label) != nullptr;
                           });
    };
    return has(Role::kService) && has(Role::kPeer);
}

std::string Legend() {
    std::string legend;
    double x = 20;
    for (const Series& series : kSeries) {
        legend += Mark(series, x, 44) + Text(x + 10, 48, series.label, "class=\"small\"");
        x += 30 + 6.2 * static_cast<double>(std::string(series.label).size());
    }
    return legend;
}

// Spread from the least to the most of the rounds, and the median.
std::string Point(const CaseResult& result, const EntrantResult& entrant, const Axis& axis,
                  double y) {
    const Series* const series = FindSeries(entrant.Who().label);
    const auto ratio = result.RatioToFloor(entrant);
    if (series == nullptr || !ratio) {
        return "";
    }
    const Summary summary = *entrant.Find(result.what.metric);
    const double scale = *ratio / summary.median;
    return Line(std::max(axis.At(summary.least * scale), kLeft), y,
                std::min(axis.At(summary.most * scale), kRight), y,
                std::string("stroke=\"") + series->colour + "\" stroke-opacity=\".5\"") +
           Mark(*series, axis.At(*ratio), y);
}

Axis AxisOf(const std::vector<const CaseResult*>& plotted) {
    double least = 1;
    double most = 1;
    for (const CaseResult* result : plotted) {
        for (const EntrantResult& entrant : result->entrants) {
            const double ratio = result->RatioToFloor(entrant).value_or(1);
            least = std::min(least, ratio);
            most = std::max(most, ratio);
        }
    }
    return {least, most};
}

std::string Begin(double height) {
    char begin[200];
    std::snprintf(begin, sizeof begin,
                  "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %.0f %.0f\" "
                  "width=\"%.0f\" height=\"%.0f\" role=\"img\">\n",
                  kWidth, height, kWidth, height);
    return begin;
}

}  // namespace

std::string SvgPlot(const Heading& heading, const std::vector<CaseResult>& results) {
    std::vector<const CaseResult*> plotted;
    for (const CaseResult& result : results) {
        if (IsPlotted(result)) {
            plotted.push_back(&result);
        }
    }
    const double bottom = kTop + kRowHeight * static_cast<double>(plotted.size());
    const Axis axis = AxisOf(plotted);
    std::string svg = Begin(bottom + 36) + kStyle;
    svg += Text(20, 22, "Time per record, as a multiple of the floor's (less is better)",
                "font-weight=\"bold\"");
    svg += Legend() + axis.Grid(bottom);
    double y = kTop + kRowHeight / 2;
    for (const CaseResult* result : plotted) {
        svg += Text(kLeft - 14, y + 4, result->what.name, "text-anchor=\"end\"");
        // A little apart, so that none hides another.
        double offset = -kEntrantGap * static_cast<double>(result->entrants.size() - 1) / 2;
        for (const EntrantResult& entrant : result->entrants) {
            svg += Point(*result, entrant, axis, y + offset);
            offset += kEntrantGap;
        }
        y += kRowHeight;
    }
    svg += Text(20, bottom + 22, heading.machine + ". " + heading.rounds, "class=\"small\"");
    return svg + "</svg>\n";
}

}  // namespace NS_BENCH
