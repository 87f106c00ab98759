// Dumps around the size of the buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "logger/asndumpfixture.h"

namespace {

using namespace NS_TEST;

// What is logged of a text. One that fills the buffer counts as cut: whether more would have come
// cannot be told.
std::string Fitted(const std::string& text) {
    return text.size() < kDumpBuffer - 1 ? text : text.substr(0, kNoticeAt) + kCutNotice;
}

// Compares long texts without printing them.
testing::AssertionResult Same(const std::string& actual, const std::string& expected) {
    if (actual == expected) {
        return testing::AssertionSuccess();
    }
    const auto length = std::min(actual.size(), expected.size());
    size_t at = 0;
    while (at < length && actual[at] == expected[at]) {
        ++at;
    }
    return testing::AssertionFailure()
           << actual.size() << " instead of " << expected.size() << " bytes; at " << at << " \""
           << actual.substr(at, 60) << "\" instead of \"" << expected.substr(at, 60) << '"';
}

class AsnDumpSize : public NS_TEST::EachAsnOperation {};
QV_FOR_EACH_ASN_OPERATION(AsnDumpSize);

using LongTrace = AsnDumpTest;

TEST_P(AsnDumpSize, IsWholeUpToTheLastByteButOneAndCutBeyond) {
    for (const size_t size : {kDumpBuffer - 51, kDumpBuffer - 50, kDumpBuffer - 3, kDumpBuffer - 2,
                              kDumpBuffer - 1, kDumpBuffer, kDumpBuffer + 1, 2 * kDumpBuffer}) {
        const std::string text = LongText(size);
        EXPECT_TRUE(Same(Dumped(TextMessage(text)), Fitted(text))) << size;
        EXPECT_TRUE(Same(Repeated(), Fitted(text))) << size;
        // Nothing of it is left in the next one.
        EXPECT_EQ(Dumped(TextMessage("short")), "short");
    }
    EXPECT_THAT(Diagnostics().Printed(), testing::IsEmpty());
}

TEST_P(AsnDumpSize, IsCutAtTheSamePlaceWhenPrintedInPieces) {
    const std::string text = LongText(kDumpBuffer + 100);
    const ScriptedMessage message(nullptr, [&](std::ostream& out) {
        for (size_t at = 0; at < text.size(); at += 1000) {
            out << text.substr(at, 1000);
        }
    });
    EXPECT_TRUE(Same(Dumped(message), Fitted(text)));
}

TEST_P(AsnDumpSize, ShowsNoNoticeBehindAZeroByteButOverZeroBytes) {
    for (const size_t zero : {size_t{3}, kNoticeAt - 1}) {
        std::string text = LongText(kDumpBuffer + 100);
        text[zero] = '\0';
        EXPECT_TRUE(Same(Dumped(TextMessage(text)), text.substr(0, zero))) << zero;
    }
    std::string text = LongText(kDumpBuffer + 100);
    std::fill(text.begin() + static_cast<std::ptrdiff_t>(kNoticeAt), text.end(), '\0');
    EXPECT_TRUE(Same(Dumped(TextMessage(text)), Fitted(text)));
}

// A value of one letter: the notice comes last, so what stands under it decides all the same.
TEST_F(LongTrace, MasksValuesAroundTheCut) {
    constexpr const char* kElement = "QAsnGetNEInfoRsp";
    constexpr const char* kLocation = "QAsnGetPhysicalLocationInfoRsp";
    constexpr const char* kSchedule = "AsneVOXScheduleCreateReq";
    const struct {
        const char* type;
        std::string front;
        size_t begin;  // of the value, before the buffer's end
        size_t size;
        std::string back;
        bool masked;
    } cases[] = {
        {kLocation, "\nname", 900, 1100, "\nend\n", true},
        {kLocation, "\nname", 51, 251, "\nend\n", true},
        {kLocation, "\nname", 50, 250, "\nend\n", true},
        {kLocation, "\nname", 49, 249, "\nend\n", true},
        {kLocation, "\nname", 1, 201, "\nend\n", true},
        {kElement, "NEPwd = \"", 900, 1100, "\"\nend\n", true},
        {kElement, "NEPwd = \"", 4, 1, "\"", true},
        {kSchedule, "<FTPPassWord>", 514, 500, "</FTPPassWord>" + LongText(100), true},
        // A tag needs its end to be one: without it, what follows may be anything.
        {kSchedule, "<FTPPassWord>", 900, 1100, "</FTPPassWord>", false},
    };
    for (const auto& [type, front, begin, size, back, masked] : cases) {
        const std::string lead = LongText(kDumpBuffer - begin - front.size()) + front;
        const std::string text = lead + std::string(size, 'Z') + back;
        const std::string shown = lead + std::string(size, masked ? '*' : 'Z') + back;
        EXPECT_TRUE(Same(Traced(TextMessage(type, text)), Fitted(shown))) << type << begin;
    }
}

}  // namespace
