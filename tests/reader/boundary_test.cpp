#include "input/boundary.h"

#include <gtest/gtest.h>

#include "reader/logtext.h"
#include "reader/scanfile.h"

namespace {

using namespace NS_LOG_READER;
using namespace NS_TEST;

LogFields At(int second, const std::string& detail = "text") {
    LogFields fields;
    fields.second = second;
    fields.detail = detail;
    return fields;
}

TEST(Boundary, IsTheBeginningOfAFrameBehindAnother) {
    const std::string first = CreatedText() + LogFrame(1, At(1));
    const std::string second = LogFrame(2, At(2));
    TextSource source(first + second + LogFrame(3, At(3)));
    const auto find = [&](uint64_t from) {
        const auto found = FindBoundary(source, from, source.Size());
        return found ? static_cast<int64_t>(found->offset) : -1;
    };
    EXPECT_EQ(find(0), static_cast<int64_t>(first.size()));
    EXPECT_EQ(find(first.size()), static_cast<int64_t>(first.size()));
    EXPECT_EQ(find(first.size() + 1), static_cast<int64_t>((first + second).size()));
    EXPECT_EQ(find((first + second).size() + 1), -1);
}

TEST(Boundary, IsNoFrameThatADetailQuotes) {
    const std::string first =
        LogFrame(1, At(1, LogFrame(7, At(2)) + "and\n\n" + LogFrame(9, At(3))));
    TextSource source(first + LogFrame(2, At(4)));
    EXPECT_EQ(FindBoundary(source, 10, source.Size())->offset, first.size());
}

TEST(Boundary, OfATimeLeavesNothingOut) {
    std::string text = CreatedText();
    std::vector<std::pair<Time, uint64_t>> frames;
    for (int i = 0; i < 3000; ++i) {
        Time time = 0;
        ParseStamp(LogStamp(i), time);
        frames.emplace_back(time, text.size());
        text += LogFrame(static_cast<uint32_t>(i + 1),
                         At(i, std::string(static_cast<size_t>(i % 400), 'x')));
        text += i % 7 == 0 ? ShortText(i, "short") : "";
    }
    TextSource source(text);
    for (size_t i = 0; i < frames.size(); i += 13) {
        const uint64_t place = FindTime(source, frames[i].first);
        EXPECT_LE(place, frames[i].second);
        EXPECT_LE(frames[i].second - place, 80000U);
    }
}

TEST(Boundary, IsFoundInFilesWithoutAny) {
    TextSource empty("");
    EXPECT_EQ(FindTime(empty, 5), 0U);
    TextSource lines(std::string(500000, '\n'));
    EXPECT_EQ(FindTime(lines, 5), 0U);
    EXPECT_FALSE(FindBoundary(lines, 0, lines.Size()));
}

}  // namespace
