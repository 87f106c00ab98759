// Which values of ASN dumps are masked, told rule by rule, on every way through the text.
#include "logger/asnmasking.h"

#include <gtest/gtest.h>

#include <string>

#include "logger/maskingpathname.h"

namespace {

using NS_LOG_SERVICE1::HasMaskedValues;
using NS_LOG_SERVICE1::IsMaskingPathAvailable;
using NS_LOG_SERVICE1::MaskAsnText;
using NS_LOG_SERVICE1::MaskingPath;

constexpr const char* kLocationType = "QAsnGetPhysicalLocationInfoRsp";
constexpr const char* kCustomerType = "QAsnGetSNCsByIdxsRsp";
constexpr const char* kQuotedType = "QAsnGetNEInfoRsp";
constexpr const char* kTaggedType = "AsneVOXScheduleCreateReq";

constexpr const char* kCustomerTypes[] = {"QAsnGetWDMSNCsByIdxsRsp", "QAsnGetSNCsByIdxsRsp",
                                          "QAsnGetSNCsByCIDsRsp", "QAsnGetWDMSNCsByCIDsRsp"};
constexpr const char* kQuotedTypes[] = {"QAsnGetNEInfoRsp", "QAsnCreateNERpt"};
constexpr const char* kLocationKeys[] = {
    "roomID",   "equipmentRoomName", "cabinetName", "name", "memo",    "subshelfMemo",
    "siteName", "country",           "province",    "city", "location"};

class AsnMasking : public testing::TestWithParam<MaskingPath> {
  protected:
    void SetUp() override {
        if (!IsMaskingPathAvailable(GetParam())) {
            GTEST_SKIP() << "this processor has no " << PathName(GetParam());
        }
    }
    static std::string Masked(const std::string& typeName, std::string text) {
        MaskAsnText(GetParam(), typeName, text.data(), text.size());
        return text;
    }
    static std::string MaskedLocation(const std::string& text) {
        return Masked(kLocationType, text);
    }
    static std::string MaskedQuoted(const std::string& text) { return Masked(kQuotedType, text); }
    static std::string MaskedTagged(const std::string& text) { return Masked(kTaggedType, text); }
};

INSTANTIATE_TEST_SUITE_P(Path, AsnMasking,
                         testing::Values(MaskingPath::kPortable, MaskingPath::kAvx2),
                         [](const auto& instance) { return PathName(instance.param); });

// Messages

TEST(AsnMaskingTypes, KnowsTheMessagesThatCarryMaskedValues) {
    for (const char* typeName : kCustomerTypes) {
        EXPECT_TRUE(HasMaskedValues(typeName)) << typeName;
    }
    for (const char* typeName : kQuotedTypes) {
        EXPECT_TRUE(HasMaskedValues(typeName)) << typeName;
    }
    EXPECT_TRUE(HasMaskedValues(kLocationType));
    EXPECT_TRUE(HasMaskedValues(kTaggedType));
}

TEST(AsnMaskingTypes, ComparesNamesExactly) {
    EXPECT_FALSE(HasMaskedValues(""));
    EXPECT_FALSE(HasMaskedValues({}));
    EXPECT_FALSE(HasMaskedValues("QAsnGetNEInfoRs"));
    EXPECT_FALSE(HasMaskedValues("QAsnGetNEInfoRsp2"));
    EXPECT_FALSE(HasMaskedValues("qAsnGetNEInfoRsp"));
    EXPECT_FALSE(HasMaskedValues("QAsnGetNEInfoReq"));
    EXPECT_FALSE(HasMaskedValues(" QAsnGetNEInfoRsp"));
}

TEST(AsnMaskingTypes, TakesTheFastestPathUnlessToldOtherwise) {
    EXPECT_TRUE(IsMaskingPathAvailable(MaskingPath::kPortable));
    std::string text = "NEPwd = \"abc\"";
    MaskAsnText(kQuotedType, text.data(), text.size());
    EXPECT_EQ(text, "NEPwd = \"***\"");
}

TEST_P(AsnMasking, LeavesOtherMessagesAsTheyAre) {
    const std::string text = "name = x\nNEPwd = \"x\"\n<FTPPassWord>x</FTPPassWord>\ncustomer: x\n";
    EXPECT_EQ(Masked("QAsnGetAlarmsRsp", text), text);
    EXPECT_EQ(Masked("QAsnGetNEInfoRs", text), text);
    EXPECT_EQ(Masked("", text), text);
}

TEST_P(AsnMasking, MasksInEachMessageOnlyTheValuesOfItsOwnKeys) {
    const std::string text = "name = x\nNEPwd = \"x\"\n<FTPPassWord>x</FTPPassWord>\ncustomer: x\n";
    EXPECT_EQ(MaskedLocation(text),
              "name****\nNEPwd = \"x\"\n<FTPPassWord>x</FTPPassWord>\ncustomer: x\n");
    for (const char* typeName : kQuotedTypes) {
        EXPECT_EQ(Masked(typeName, text),
                  "name = x\nNEPwd = \"*\"\n<FTPPassWord>x</FTPPassWord>\ncustomer: x\n");
    }
    EXPECT_EQ(MaskedTagged(text),
              "name = x\nNEPwd = \"x\"\n<FTPPassWord>*</FTPPassWord>\ncustomer: x\n");
    for (const char* typeName : kCustomerTypes) {
        EXPECT_EQ(Masked(typeName, text),
                  "name = x\nNEPwd = \"x\"\n<FTPPassWord>x</FTPPassWord>\ncustomer:**\n");
    }
}

TEST_P(AsnMasking, AcceptsAnEmptyText) {
    for (const char* typeName : {kLocationType, kCustomerType, kQuotedType, kTaggedType, ""}) {
        EXPECT_EQ(Masked(typeName, ""), "");
        MaskAsnText(GetParam(), typeName, nullptr, 0);
    }
}

// The rest of the line

TEST_P(AsnMasking, HidesEverythingBehindAKeyUpToTheNewline) {
    EXPECT_EQ(MaskedLocation("a\n  cabinetName = \"C1\"\nb\n"), "a\n  cabinetName*******\nb\n");
}

TEST_P(AsnMasking, HidesTheValueOfEveryLocationKey) {
    for (const std::string key : kLocationKeys) {
        EXPECT_EQ(MaskedLocation("x " + key + " = 12\nx"), "x " + key + "*****\nx");
        EXPECT_EQ(MaskedLocation(key + "=1"), key + "**");
        EXPECT_EQ(MaskedLocation(key.substr(1) + "=1"), key.substr(1) + "=1");
        EXPECT_EQ(MaskedLocation(key.substr(0, key.size() - 1) + "=1"),
                  key.substr(0, key.size() - 1) + "=1");
    }
}

TEST_P(AsnMasking, HidesTheRestOfEveryLineWithAKey) {
    EXPECT_EQ(MaskedLocation("city=1\nx=2\ncity=3\n\ncity=4"), "city**\nx=2\ncity**\n\ncity**");
}

TEST_P(AsnMasking, HidesTheLastLineWithoutANewlineToo) {
    EXPECT_EQ(Masked(kCustomerType, "customer:abc"), "customer:***");
}

TEST_P(AsnMasking, HidesNothingWhereTheLineOrTheTextEndsWithTheKey) {
    EXPECT_EQ(MaskedLocation("memo\nx\nmemo"), "memo\nx\nmemo");
    EXPECT_EQ(MaskedLocation("name"), "name");
}

TEST_P(AsnMasking, CountsTheCarriageReturnAsPartOfTheLine) {
    EXPECT_EQ(MaskedLocation("memo = a\r\nb\r\n"), "memo*****\nb\r\n");
    EXPECT_EQ(MaskedLocation("memo\r\n"), "memo*\n");
}

TEST_P(AsnMasking, FindsAKeyInsideALongerWord) {
    EXPECT_EQ(MaskedLocation("surnames=x"), "surname***");
    EXPECT_EQ(MaskedLocation("capacity=9"), "capacity**");
    EXPECT_EQ(Masked(kCustomerType, "oldcustomer:x"), "oldcustomer:*");
}

TEST_P(AsnMasking, DistinguishesUpperAndLowerCase) {
    const std::string text = "Name=1 NAME=2 nodeName=3 shelfMemo=4 CITY=5 roomId=6 SiteName=7";
    EXPECT_EQ(MaskedLocation(text), text);
    EXPECT_EQ(Masked(kCustomerType, "Customer:1 customer 2 customer;3"),
              "Customer:1 customer 2 customer;3");
}

TEST_P(AsnMasking, DoesNotFindAKeyAcrossLines) {
    EXPECT_EQ(MaskedLocation("na\nme=1"), "na\nme=1");
    EXPECT_EQ(MaskedLocation("nam\ne=1"), "nam\ne=1");
}

TEST_P(AsnMasking, StartsBehindTheKeyThatEndsFirstWhateverTheOrderOfTheKeys) {
    EXPECT_EQ(MaskedLocation("city=1 roomID=2\n"), "city" + std::string(11, '*') + "\n");
    EXPECT_EQ(MaskedLocation("roomID=1 city=2\n"), "roomID" + std::string(9, '*') + "\n");
    EXPECT_EQ(MaskedLocation("memo name siteName\nsiteName memo\nx\n"),
              "memo" + std::string(14, '*') + "\nsiteName*****\nx\n");
}

TEST_P(AsnMasking, StartsBehindTheFirstOfKeysThatOverlap) {
    EXPECT_EQ(MaskedLocation("locationame=1"), "location*****");  // "name" begins within "location"
    EXPECT_EQ(MaskedLocation("provincecity=1"), "province******");
    EXPECT_EQ(MaskedLocation("namename"), "name****");
}

TEST_P(AsnMasking, MasksAgainWithoutAChange) {
    const std::string once = MaskedLocation("x memo = 1\ny city memo\n* name *");
    EXPECT_EQ(MaskedLocation(once), once);
}

TEST_P(AsnMasking, LeavesBytesAbove127AloneAndHidesThemBehindAKey) {
    EXPECT_EQ(MaskedLocation("\xC3\xA9\xFF name\xC3\xA9\n\xFF"), "\xC3\xA9\xFF name**\n\xFF");
}

TEST_P(AsnMasking, HidesALineLongerThanManyBlocks) {
    const std::string value(100000, 'v');
    EXPECT_EQ(
        MaskedLocation("a\nname" + value + "\nname" + value),
        "a\nname" + std::string(value.size(), '*') + "\nname" + std::string(value.size(), '*'));
}

// Quoted values

TEST_P(AsnMasking, HidesTheValueBetweenTheQuotes) {
    EXPECT_EQ(MaskedQuoted("  strNEPwd = \"abcd\"\n  user = \"u\"\n"),
              "  strNEPwd = \"****\"\n  user = \"u\"\n");
    EXPECT_EQ(Masked("QAsnCreateNERpt", "NEPwd = \"abcd\""), "NEPwd = \"****\"");
}

TEST_P(AsnMasking, LooksForTheQuotesOnLaterLinesToo) {
    EXPECT_EQ(MaskedQuoted("NEPwd = none\n  user = \"root\"\n  host = \"h\"\n"),
              "NEPwd = none\n  user = \"****\"\n  host = \"h\"\n");
}

TEST_P(AsnMasking, HidesAQuotedValueOfSeveralLinesWithItsNewlines) {
    EXPECT_EQ(MaskedQuoted("NEPwd = \"a\nb\r\nc\"\nd"), "NEPwd = \"******\"\nd");
}

TEST_P(AsnMasking, HidesTheValueOfEveryPasswordKey) {
    EXPECT_EQ(MaskedQuoted("NEPwd=\"a\"NEPwd=\"bc\"\nNEPwd = \"\" NEPwd: \"def\""),
              "NEPwd=\"*\"NEPwd=\"**\"\nNEPwd = \"\" NEPwd: \"***\"");
}

TEST_P(AsnMasking, HidesOneValueForOneKey) {
    EXPECT_EQ(MaskedQuoted("NEPwd = \"a\" \"b\" \"c\""), "NEPwd = \"*\" \"b\" \"c\"");
    EXPECT_EQ(MaskedQuoted("NEPwd NEPwd \"a\" \"b\""), "NEPwd NEPwd \"*\" \"b\"");
}

TEST_P(AsnMasking, DoesNotOpenAValueWithTheCharacterRightBehindTheKey) {
    EXPECT_EQ(MaskedQuoted("NEPwd\"abc\"de\"f"), "NEPwd\"abc\"**\"f");
    EXPECT_EQ(MaskedQuoted("NEPwd\"\"a\"b"), "NEPwd\"\"*\"b");
    EXPECT_EQ(MaskedQuoted("NEPwd\"abc"), "NEPwd\"abc");
}

TEST_P(AsnMasking, HidesAnUnterminatedValueUpToTheEndOfTheText) {
    EXPECT_EQ(MaskedQuoted("NEPwd = \"abc\nuser = x\n"), "NEPwd = \"" + std::string(13, '*'));
    EXPECT_EQ(MaskedQuoted("NEPwd = \""), "NEPwd = \"");
}

TEST_P(AsnMasking, LooksForTheNextKeyFromTheClosingQuoteOn) {
    // The key within the first value is part of it.
    EXPECT_EQ(MaskedQuoted("NEPwd=\"NEPwd\"x\"y\""), "NEPwd=\"*****\"x\"y\"");
    // The closing quote opens nothing, though a key precedes it inside the value.
    EXPECT_EQ(MaskedQuoted("NEPwd=\"a NEPwd=\"b\" c"), "NEPwd=\"********\"b\" c");
}

TEST_P(AsnMasking, LeavesAPasswordKeyWithoutAQuoteBehindIt) {
    for (const std::string text :
         {"NEPwd", "NEPwd=", "NEPwd\"", "NEPwd = x\n", "\"a\" NEPwd", "x = \"y\"\nNEPwd ="}) {
        EXPECT_EQ(MaskedQuoted(text), text);
    }
    EXPECT_EQ(MaskedQuoted("NEPwd=\"a\" NEPwd="), "NEPwd=\"*\" NEPwd=");
}

TEST_P(AsnMasking, LeavesQuotedValuesOfOtherKeys) {
    const std::string text = "NEpwd = \"a\" NEPw = \"b\" EPwd = \"c\" nePwd = \"d\"";
    EXPECT_EQ(MaskedQuoted(text), text);
}

TEST_P(AsnMasking, HidesAQuotedValueLongerThanManyBlocks) {
    const std::string value(100000, '\n');
    EXPECT_EQ(MaskedQuoted("NEPwd = \"" + value + "\"z"),
              "NEPwd = \"" + std::string(value.size(), '*') + "\"z");
}

// Tagged values

TEST_P(AsnMasking, HidesTheValueBetweenTheTags) {
    EXPECT_EQ(MaskedTagged("<a>\n<FTPPassWord>secret</FTPPassWord>\n</a>"),
              "<a>\n<FTPPassWord>******</FTPPassWord>\n</a>");
}

TEST_P(AsnMasking, HidesEveryTaggedValue) {
    EXPECT_EQ(MaskedTagged("<FTPPassWord>a</FTPPassWord><FTPPassWord>bc</FTPPassWord>x"
                           "<FTPPassWord></FTPPassWord><FTPPassWord>d\ne</FTPPassWord>"),
              "<FTPPassWord>*</FTPPassWord><FTPPassWord>**</FTPPassWord>x"
              "<FTPPassWord></FTPPassWord><FTPPassWord>***</FTPPassWord>");
}

TEST_P(AsnMasking, LeavesAValueWithoutAClosingTag) {
    for (const std::string text :
         {"<FTPPassWord>secret", "<FTPPassWord>", "x<FTPPassWord>", "<FTPPassWord>s</FTPPassWord",
          "</FTPPassWord><FTPPassWord>s", "<FTPPassWord>s<FTPPassWord>", "</FTPPassWord>",
          "<FTPPassWord>s</FTPPassword>", "<FTPPassword>s</FTPPassWord>"}) {
        EXPECT_EQ(MaskedTagged(text), text);
    }
    EXPECT_EQ(MaskedTagged("<FTPPassWord>a</FTPPassWord><FTPPassWord>b"),
              "<FTPPassWord>*</FTPPassWord><FTPPassWord>b");
    EXPECT_EQ(MaskedTagged("<FTPPassWord>a</FTPPassWord>b</FTPPassWord><FTPPassWord>"),
              "<FTPPassWord>*</FTPPassWord>b</FTPPassWord><FTPPassWord>");
}

TEST_P(AsnMasking, HidesAnOpeningTagWithinAValue) {
    EXPECT_EQ(MaskedTagged("<FTPPassWord>a<FTPPassWord>b</FTPPassWord>c</FTPPassWord>"),
              "<FTPPassWord>" + std::string(15, '*') + "</FTPPassWord>c</FTPPassWord>");
}

TEST_P(AsnMasking, FindsATagBehindItsOwnBeginning) {
    EXPECT_EQ(MaskedTagged("<FTPP<FTPPassWord>a<</FTPPassWord>"),
              "<FTPP<FTPPassWord>**</FTPPassWord>");
}

TEST_P(AsnMasking, HidesATaggedValueLongerThanManyBlocks) {
    const std::string value(100000, '<');
    EXPECT_EQ(MaskedTagged("<FTPPassWord>" + value + "</FTPPassWord>z"),
              "<FTPPassWord>" + std::string(value.size(), '*') + "</FTPPassWord>z");
}

}  // namespace
