// Dumps around the size of the buffer: 4,096,000 bytes, one of them for the end of the text.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "logger/asndumpfixture.h"

namespace {

using NS_TEST::LongText;
using NS_TEST::ScriptedMessage;
using NS_TEST::TextMessage;
using testing::IsEmpty;

constexpr size_t kBuffer = 4096000;
constexpr size_t kNoticeAt = 4095950;
constexpr size_t kCutSize = 4095974;
const std::string kNotice = "\n...More ASN not print.\n";

constexpr const char* kLocationType = "QAsnGetPhysicalLocationInfoRsp";
constexpr const char* kQuotedType = "QAsnGetNEInfoRsp";
constexpr const char* kTaggedType = "AsneVOXScheduleCreateReq";

// What is left of a text that does not fit.
std::string Cut(const std::string& text) {
    return text.substr(0, kNoticeAt) + kNotice;
}

// Compares long texts without printing them.
testing::AssertionResult Same(const std::string& actual, const std::string& expected) {
    if (actual == expected) {
        return testing::AssertionSuccess();
    }
    const auto length = std::min(actual.size(), expected.size());
    const auto at = static_cast<size_t>(
        std::mismatch(actual.begin(), actual.begin() + static_cast<std::ptrdiff_t>(length),
                      expected.begin())
            .first -
        actual.begin());
    return testing::AssertionFailure()
           << actual.size() << " instead of " << expected.size() << " bytes; at " << at << " \""
           << actual.substr(at, 60) << "\" instead of \"" << expected.substr(at, 60) << '"';
}

class AsnDumpSize : public NS_TEST::EachAsnOperation {};
QV_FOR_EACH_ASN_OPERATION(AsnDumpSize);

using LongTrace = NS_TEST::AsnDumpTest;

TEST_P(AsnDumpSize, IsWholeUpToTheLastByteButOne) {
    for (const size_t size : {kBuffer - 51, kBuffer - 50, kBuffer - 3, kBuffer - 2}) {
        const std::string text = LongText(size);
        EXPECT_TRUE(Same(Dumped(TextMessage(text)), text)) << size;
    }
}

// A full buffer counts as cut: whether more would have come cannot be told.
TEST_P(AsnDumpSize, IsCutWhenItFillsTheBuffer) {
    const std::string text = LongText(kBuffer - 1);
    const std::string dumped = Dumped(TextMessage(text));
    EXPECT_EQ(dumped.size(), kCutSize);
    EXPECT_TRUE(Same(dumped, Cut(text)));
}

TEST_P(AsnDumpSize, IsCutWhenItDoesNotFit) {
    for (const size_t size : {kBuffer, kBuffer + 1, kBuffer + 100, 2 * kBuffer}) {
        const std::string text = LongText(size);
        EXPECT_TRUE(Same(Dumped(TextMessage(text)), Cut(text))) << size;
    }
    EXPECT_THAT(Proxy().Printed(), IsEmpty());
}

TEST_P(AsnDumpSize, IsCutAtTheSamePlaceWhenPrintedInPieces) {
    const std::string piece = LongText(999) + '\n';
    std::string text;
    while (text.size() <= kBuffer) {
        text += piece;
    }
    const ScriptedMessage message(nullptr, [&](std::ostream& out) {
        for (size_t at = 0; at < text.size(); at += piece.size()) {
            out << piece;
        }
    });
    EXPECT_TRUE(Same(Dumped(message), Cut(text)));
}

TEST_P(AsnDumpSize, LeavesNothingOfACutDumpInTheNextOne) {
    const std::string longText = LongText(kBuffer + 100);
    EXPECT_TRUE(Same(Dumped(TextMessage(longText)), Cut(longText)));
    EXPECT_EQ(Dumped(TextMessage("short")), "short");
    const std::string text = LongText(kBuffer - 2);
    EXPECT_TRUE(Same(Dumped(TextMessage(text)), text));
}

TEST_P(AsnDumpSize, ShowsNoNoticeBehindAZeroByte) {
    std::string text = LongText(kBuffer + 100);
    text[3] = '\0';
    EXPECT_EQ(Dumped(TextMessage(text)), text.substr(0, 3));
    text = LongText(kBuffer + 100);
    text[kNoticeAt - 1] = '\0';
    EXPECT_TRUE(Same(Dumped(TextMessage(text)), text.substr(0, kNoticeAt - 1)));
}

TEST_P(AsnDumpSize, WritesTheNoticeOverZeroBytes) {
    std::string text = LongText(kBuffer + 100);
    std::fill(text.begin() + static_cast<std::ptrdiff_t>(kNoticeAt), text.end(), '\0');
    EXPECT_TRUE(Same(Dumped(TextMessage(text)), Cut(text)));
}

TEST_P(AsnDumpSize, IsTheSameForWhoRepeatsIt) {
    const std::string text = LongText(kBuffer + 1);
    Dumped(TextMessage(text));
    EXPECT_TRUE(Same(Repeated(), Cut(text)));
}

// `front` and a value of one letter that begins shortly before the cut and ends behind it.
std::string OverTheCut(const std::string& front, size_t before, const std::string& behind) {
    std::string text = LongText(kBuffer - before - front.size()) + front;
    text.append(before + 200, 'Z');
    return text + behind;
}

// The text with that value masked. All of it stands in the last two thousand characters.
std::string Masked(std::string text) {
    std::replace(text.end() - 2000, text.end(), 'Z', '*');
    return text;
}

TEST_F(LongTrace, MasksTheRestOfALineOverTheCut) {
    for (const size_t before : {900u, 51u, 50u, 49u, 1u}) {
        const std::string text = OverTheCut("\nname", before, "\nend\n");
        const std::string expected = Masked(text.substr(0, kBuffer));
        const std::string traced = Traced(TextMessage(kLocationType, text));
        EXPECT_TRUE(Same(traced, Cut(expected))) << before;
        EXPECT_EQ(traced.find('Z'), std::string::npos) << before;
    }
}

TEST_F(LongTrace, MasksAQuotedValueOverTheCut) {
    const std::string text = OverTheCut("NEPwd = \"", 900, "\"\nend\n");
    const std::string expected = Masked(text.substr(0, kBuffer));
    const std::string traced = Traced(TextMessage(kQuotedType, text));
    EXPECT_TRUE(Same(traced, Cut(expected)));
    EXPECT_EQ(traced.find('Z'), std::string::npos);
}

// The notice comes last, so a value whose end stands under it is masked.
TEST_F(LongTrace, MasksAValueThatEndsUnderTheNotice) {
    const std::string end = "</FTPPassWord>";
    const std::string value(500, 'Z');
    std::string text = LongText(kBuffer - end.size() - value.size() - 13) + "<FTPPassWord>";
    text += value + end + LongText(100);
    const std::string expected = Masked(text.substr(0, kBuffer));
    const std::string traced = Traced(TextMessage(kTaggedType, text));
    EXPECT_TRUE(Same(traced, Cut(expected)));
    EXPECT_EQ(traced.find('Z'), std::string::npos);
}

// A tag needs its end to be one: without it, what follows may be anything.
TEST_F(LongTrace, LeavesAValueWhoseClosingTagWasCutOff) {
    const std::string text = OverTheCut("<FTPPassWord>", 900, "</FTPPassWord>");
    EXPECT_TRUE(Same(Traced(TextMessage(kTaggedType, text)), Cut(text)));
}

TEST_F(LongTrace, MasksInTheLastLineThatFits) {
    const std::string line = "\nNEPwd = \"Z\"";
    const std::string text = LongText(kBuffer - 2 - line.size()) + line;
    const std::string traced = Traced(TextMessage(kQuotedType, text));
    EXPECT_TRUE(Same(traced, text.substr(0, text.size() - 2) + "*\""));
}

TEST_F(LongTrace, MasksEveryLineOfAFullBuffer) {
    const std::string line = "name = ZZZZZZZZZZZZZZZZZZZZZZZZZZZZZZ\n";
    const std::string masked = "name*********************************\n";
    ASSERT_EQ(line.size(), masked.size());
    std::string text;
    std::string expected;
    while (text.size() < kBuffer + 100) {
        text += line;
        expected += masked;
    }
    EXPECT_TRUE(Same(Traced(TextMessage(kLocationType, text)), Cut(expected)));
}

}  // namespace
