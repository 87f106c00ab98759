// Which values of ASN texts are masked, told rule by rule and with either search.
#include "masking/asnmasking.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using NS_LOG_SERVICE1::KeySearch;
using NS_LOG_SERVICE1::MaskAsnText;

constexpr const char* kLocationType = "QAsnGetPhysicalLocationInfoRsp";
constexpr const char* kCustomerType = "QAsnGetSNCsByIdxsRsp";
constexpr const char* kQuotedType = "QAsnGetNEInfoRsp";
constexpr const char* kTaggedType = "AsneVOXScheduleCreateReq";

const std::string kOpen = "<FTPPassWord>";
const std::string kClose = "</FTPPassWord>";

std::string Masked(const std::string& typeName, std::string text) {
    std::string plain = text;
    MaskAsnText(typeName, plain.data(), plain.size(), KeySearch::kPlain);
    MaskAsnText(typeName, text.data(), text.size());
    EXPECT_EQ(text, plain) << "the searches differ";
    return text;
}

struct Case {
    std::string text;
    std::string masked;
};

void ExpectMasked(const std::string& typeName, const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        EXPECT_EQ(Masked(typeName, c.text), c.masked) << typeName;
    }
}

void ExpectUnchanged(const std::string& typeName, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        EXPECT_EQ(Masked(typeName, text), text) << typeName;
    }
}

std::string Stars(std::size_t count) {
    return std::string(count, '*');
}

// Messages

TEST(AsnMasking, MasksInEachMessageOnlyTheValuesOfItsOwnKeys) {
    const std::string text = "name = x\nNEPwd = \"x\"\n<FTPPassWord>x</FTPPassWord>\ncustomer: x\n";
    EXPECT_EQ(Masked(kLocationType, text),
              "name****\nNEPwd = \"x\"\n<FTPPassWord>x</FTPPassWord>\ncustomer: x\n");
    EXPECT_EQ(Masked(kTaggedType, text),
              "name = x\nNEPwd = \"x\"\n<FTPPassWord>*</FTPPassWord>\ncustomer: x\n");
    for (const char* typeName : {"QAsnGetNEInfoRsp", "QAsnCreateNERpt"}) {
        EXPECT_EQ(Masked(typeName, text),
                  "name = x\nNEPwd = \"*\"\n<FTPPassWord>x</FTPPassWord>\ncustomer: x\n");
    }
    for (const char* typeName : {"QAsnGetWDMSNCsByIdxsRsp", "QAsnGetSNCsByIdxsRsp",
                                 "QAsnGetSNCsByCIDsRsp", "QAsnGetWDMSNCsByCIDsRsp"}) {
        EXPECT_EQ(Masked(typeName, text),
                  "name = x\nNEPwd = \"x\"\n<FTPPassWord>x</FTPPassWord>\ncustomer:**\n");
    }
}

TEST(AsnMasking, LeavesOtherMessagesAsTheyAreAndComparesTypeNamesExactly) {
    const std::string text = "name = x\nNEPwd = \"x\"\n<FTPPassWord>x</FTPPassWord>\ncustomer: x\n";
    for (const char* typeName : {"", "QAsnGetAlarmsRsp", "QAsnGetNEInfoRs", "QAsnGetNEInfoRsp2",
                                 "qAsnGetNEInfoRsp", "QAsnGetNEInfoReq", " QAsnGetNEInfoRsp"}) {
        ExpectUnchanged(typeName, {text});
    }
    std::string unnamed = text;
    MaskAsnText({}, unnamed.data(), unnamed.size());
    EXPECT_EQ(unnamed, text);
}

TEST(AsnMasking, AcceptsAnEmptyText) {
    for (const char* typeName : {kLocationType, kCustomerType, kQuotedType, kTaggedType, ""}) {
        ExpectUnchanged(typeName, {""});
        MaskAsnText(typeName, nullptr, 0);
    }
}

// The rest of the line

TEST(AsnMasking, HidesTheValueOfEveryLocationKey) {
    for (const std::string key :
         {"roomID", "equipmentRoomName", "cabinetName", "name", "memo", "subshelfMemo", "siteName",
          "country", "province", "city", "location"}) {
        const std::string withoutFirst = key.substr(1) + "=1";
        const std::string withoutLast = key.substr(0, key.size() - 1) + "=1";
        ExpectMasked(kLocationType, {{"x " + key + " = 12\nx", "x " + key + "*****\nx"},
                                     {key + "=1", key + "**"}});
        ExpectUnchanged(kLocationType, {withoutFirst, withoutLast});
    }
}

TEST(AsnMasking, HidesEverythingBehindAKeyUpToTheNewline) {
    ExpectMasked(kLocationType,
                 {{"a\n  cabinetName = \"C1\"\nb\n", "a\n  cabinetName*******\nb\n"},
                  {"city=1\nx=2\ncity=3\n\ncity=4", "city**\nx=2\ncity**\n\ncity**"},
                  {"memo = a\r\nb\r\n", "memo*****\nb\r\n"},  // a carriage return is of the line
                  {"memo\r\n", "memo*\n"}});
    ExpectMasked(kCustomerType, {{"customer:abc", "customer:***"}});
}

TEST(AsnMasking, HidesNothingWhereTheLineOrTheTextEndsWithTheKey) {
    ExpectUnchanged(kLocationType, {"memo\nx\nmemo", "name"});
}

TEST(AsnMasking, FindsAKeyInsideALongerWord) {
    ExpectMasked(kLocationType, {{"surnames=x", "surname***"}, {"capacity=9", "capacity**"}});
    ExpectMasked(kCustomerType, {{"oldcustomer:x", "oldcustomer:*"}});
}

TEST(AsnMasking, DistinguishesUpperAndLowerCaseAndFindsNoKeyAcrossLines) {
    ExpectUnchanged(kLocationType,
                    {"Name=1 NAME=2 nodeName=3 shelfMemo=4 CITY=5 roomId=6 SiteName=7", "na\nme=1",
                     "nam\ne=1"});
    ExpectUnchanged(kCustomerType, {"Customer:1 customer 2 customer;3"});
}

TEST(AsnMasking, StartsBehindTheKeyThatEndsFirstWhateverTheOrderOfTheKeys) {
    ExpectMasked(
        kLocationType,
        {{"city=1 roomID=2\n", "city" + Stars(11) + "\n"},
         {"roomID=1 city=2\n", "roomID" + Stars(9) + "\n"},
         {"memo name siteName\nsiteName memo\nx\n", "memo" + Stars(14) + "\nsiteName*****\nx\n"},
         {"locationame=1", "location*****"},  // "name" begins within "location"
         {"provincecity=1", "province******"},
         {"namename", "name****"}});
}

TEST(AsnMasking, MasksAgainWithoutAChange) {
    const std::string once = Masked(kLocationType, "x memo = 1\ny city memo\n* name *");
    ExpectUnchanged(kLocationType, {once});
}

TEST(AsnMasking, LeavesBytesAbove127AloneAndHidesThemBehindAKey) {
    ExpectMasked(kLocationType, {{"\xC3\xA9\xFF name\xC3\xA9\n\xFF", "\xC3\xA9\xFF name**\n\xFF"}});
}

TEST(AsnMasking, HidesValuesLongerThanManyBlocks) {
    constexpr std::size_t kLong = 100000;
    const std::string line(kLong, 'v');
    ExpectMasked(kLocationType, {{"a\nname" + line + "\nname" + line,
                                  "a\nname" + Stars(kLong) + "\nname" + Stars(kLong)}});
    ExpectMasked(kQuotedType, {{"NEPwd = \"" + std::string(kLong, '\n') + "\"z",
                                "NEPwd = \"" + Stars(kLong) + "\"z"}});
    ExpectMasked(kTaggedType, {{kOpen + std::string(kLong, '<') + kClose + "z",
                                kOpen + Stars(kLong) + kClose + "z"}});
}

// Quoted values

TEST(AsnMasking, HidesOneQuotedValueForEachPasswordKey) {
    ExpectMasked(kQuotedType, {{"  strNEPwd = \"abcd\"\n  user = \"u\"\n",
                                "  strNEPwd = \"****\"\n  user = \"u\"\n"},
                               {"NEPwd=\"a\"NEPwd=\"bc\"\nNEPwd = \"\" NEPwd: \"def\"",
                                "NEPwd=\"*\"NEPwd=\"**\"\nNEPwd = \"\" NEPwd: \"***\""},
                               {"NEPwd = \"a\" \"b\" \"c\"", "NEPwd = \"*\" \"b\" \"c\""},
                               {"NEPwd NEPwd \"a\" \"b\"", "NEPwd NEPwd \"*\" \"b\""}});
}

TEST(AsnMasking, LooksForTheQuotesOnLaterLinesToo) {
    ExpectMasked(kQuotedType, {{"NEPwd = none\n  user = \"root\"\n  host = \"h\"\n",
                                "NEPwd = none\n  user = \"****\"\n  host = \"h\"\n"},
                               {"NEPwd = \"a\nb\r\nc\"\nd", "NEPwd = \"******\"\nd"}});
}

TEST(AsnMasking, DoesNotOpenAValueWithTheCharacterRightBehindTheKey) {
    ExpectMasked(kQuotedType, {{"NEPwd\"abc\"de\"f", "NEPwd\"abc\"**\"f"},
                               {"NEPwd\"\"a\"b", "NEPwd\"\"*\"b"},
                               {"NEPwd\"abc", "NEPwd\"abc"}});
}

TEST(AsnMasking, HidesAnUnterminatedValueUpToTheEndOfTheText) {
    ExpectMasked(kQuotedType, {{"NEPwd = \"abc\nuser = x\n", "NEPwd = \"" + Stars(13)},
                               {"NEPwd = \"", "NEPwd = \""}});
}

TEST(AsnMasking, LooksForTheNextKeyFromTheClosingQuoteOn) {
    // The key within the first value is part of it. The closing quote opens nothing.
    ExpectMasked(kQuotedType, {{"NEPwd=\"NEPwd\"x\"y\"", "NEPwd=\"*****\"x\"y\""},
                               {"NEPwd=\"a NEPwd=\"b\" c", "NEPwd=\"********\"b\" c"}});
}

TEST(AsnMasking, LeavesQuotedValuesOfOtherKeysAndPasswordKeysWithoutAQuote) {
    ExpectUnchanged(kQuotedType, {"NEPwd", "NEPwd=", "NEPwd\"", "NEPwd = x\n", "\"a\" NEPwd",
                                  "x = \"y\"\nNEPwd =",
                                  "NEpwd = \"a\" NEPw = \"b\" EPwd = \"c\" nePwd = \"d\""});
    ExpectMasked(kQuotedType, {{"NEPwd=\"a\" NEPwd=", "NEPwd=\"*\" NEPwd="}});
}

// Tagged values

TEST(AsnMasking, HidesEveryTaggedValue) {
    ExpectMasked(kTaggedType, {{"<a>\n" + kOpen + "secret" + kClose + "\n</a>",
                                "<a>\n" + kOpen + "******" + kClose + "\n</a>"},
                               {kOpen + "a" + kClose + kOpen + "bc" + kClose + "x" + kOpen +
                                    kClose + kOpen + "d\ne" + kClose,
                                kOpen + "*" + kClose + kOpen + "**" + kClose + "x" + kOpen +
                                    kClose + kOpen + "***" + kClose},
                               {kOpen + "a" + kOpen + "b" + kClose + "c" +
                                    kClose,  // a tag within a value is hidden
                                kOpen + Stars(15) + kClose + "c" + kClose},
                               {"<FTPP" + kOpen + "a<" + kClose, "<FTPP" + kOpen + "**" + kClose}});
}

TEST(AsnMasking, LeavesAValueWithoutAClosingTag) {
    ExpectUnchanged(kTaggedType, {kOpen + "secret", kOpen, "x" + kOpen, kOpen + "s</FTPPassWord",
                                  kClose + kOpen + "s", kOpen + "s" + kOpen, kClose,
                                  kOpen + "s</FTPPassword>", "<FTPPassword>s" + kClose});
    ExpectMasked(kTaggedType,
                 {{kOpen + "a" + kClose + kOpen + "b", kOpen + "*" + kClose + kOpen + "b"},
                  {kOpen + "a" + kClose + "b" + kClose + kOpen,
                   kOpen + "*" + kClose + "b" + kClose + kOpen}});
}

}  // namespace
