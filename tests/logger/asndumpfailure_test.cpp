// Messages that misbehave while they are printed: what they leave to the next dump.
#include <gtest/gtest.h>

#include <iostream>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>

#include "logger/asndumpfixture.h"

namespace {

using namespace NS_TEST;
using testing::IsEmpty;

constexpr const char* kSecretType = "QAsnGetNEInfoRsp";
constexpr const char* kOlder = "an older dump, which is longer";

class GroupedNumbers : public std::numpunct<char> {
  protected:
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\3"; }
};

// Shows most of what a stream can be told about the looks of values.
ScriptedMessage Sample() {
    return ScriptedMessage(nullptr,
                           [](std::ostream& out) { out << 255000 << ' ' << 0.5 << ' ' << true; });
}

// What a message does to the stream, and what is logged of it.
struct Misbehaviour {
    const char* name;
    ScriptedMessage::Printer print;
    std::string text;
};

std::ostringstream& OtherStream() {
    static std::ostringstream other;
    return other;
}

void PrintIntoState(std::ostream& out, std::ios::iostate state) {
    out << "text";
    out.setstate(state);
    out << "lost";
}

// That end well.
const Misbehaviour kMisbehaviours[] = {
    {"format",
     [](std::ostream& out) {
         out << std::hex << std::showbase << std::uppercase << std::boolalpha << std::scientific
             << std::showpos << std::showpoint << std::left << std::unitbuf;
         out.fill('#');
         out.precision(2);
         out << 10;
         out.width(20);
     },
     "0XA"},
    {"locale",
     [](std::ostream& out) {
         out.imbue(std::locale(std::locale::classic(), new GroupedNumbers));
         out << 1000000;
     },
     "1'000'000"},
    {"tie", [](std::ostream& out) { out.tie(&OtherStream()); }, ""},
    {"failbit", [](std::ostream& out) { PrintIntoState(out, std::ios::failbit); }, "text"},
    {"badbit", [](std::ostream& out) { PrintIntoState(out, std::ios::badbit); }, "text"},
    {"eofbit", [](std::ostream& out) { PrintIntoState(out, std::ios::eofbit); }, "text"},
    {"exceptions",
     [](std::ostream& out) {
         out << "text";
         out.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
     },
     "text"},
    {"exceptions with a full buffer",
     [](std::ostream& out) {
         out << std::string(kDumpBuffer, 'x');
         out.exceptions(std::ios::badbit);
     },
     std::string(kNoticeAt, 'x') + kCutNotice},
    {"another buffer",
     [](std::ostream& out) {
         out << "text";
         out.rdbuf(OtherStream().rdbuf());
         out << "elsewhere";
     },
     "text"},
    {"no buffer", [](std::ostream& out) { out.rdbuf(nullptr); }, ""},
};

// That end in an exception.
const Misbehaviour kThrowing[] = {
    {"its own exception",
     [](std::ostream& out) {
         out << "NEPwd = \"secret\"";
         throw std::runtime_error("print");
     },
     ""},
    {"something else than an exception", [](std::ostream& /*out*/) { throw 1; }, ""},
    {"with the stream in disorder",
     [](std::ostream& out) {
         out << std::hex << "NEPwd = \"secret\"";
         out.setstate(std::ios::failbit | std::ios::badbit);
         out.exceptions(std::ios::failbit | std::ios::badbit);
     },
     ""},
    {"without a buffer",
     [](std::ostream& out) {
         out << "NEPwd = \"secret\"";
         out.exceptions(std::ios::badbit);
         out.rdbuf(nullptr);
     },
     ""},
    {"at the buffer's end",
     [](std::ostream& out) {
         out.exceptions(std::ios::badbit);
         out << "NEPwd = \"secret\"" << std::string(kDumpBuffer, 'x');
     },
     ""},
};

class MisbehavingMessage : public NS_TEST::EachAsnOperation {
  protected:
    // The next dumps, by either operation and on another thread, are as if nothing had been.
    void ExpectNextDumpsUnharmed() {
        EXPECT_EQ(PrintedByAnotherThread("other thread"), "other thread");
        EXPECT_EQ(Printed(Sample()), "255000 0.5 1");
        EXPECT_EQ(Traced(Sample()), "255000 0.5 1");
        EXPECT_EQ(Traced(TextMessage(kSecretType, "NEPwd = \"abcd\"")), "NEPwd = \"****\"");
        const std::string text(kDumpBuffer + 10, 'x');
        EXPECT_EQ(Printed(TextMessage(text)).size(), kNoticeAt + 24);
        const std::ostream* tied = &OtherStream();
        Dumped(ScriptedMessage(nullptr, [&](std::ostream& out) { tied = out.tie(); }));
        EXPECT_EQ(tied, nullptr);
    }
    // What is printed before the stream fails must not uncover what stood behind it in the buffer.
    void ExpectNothingUncovered() {
        EXPECT_EQ(Dumped(ScriptedMessage(nullptr,
                                         [](std::ostream& out) {
                                             out << 'x';
                                             out.setstate(std::ios::failbit);
                                         })),
                  "x");
        EXPECT_EQ(Repeated(), "x");
    }
};
QV_FOR_EACH_ASN_OPERATION(MisbehavingMessage);

TEST_P(MisbehavingMessage, HarmsNoOther) {
    for (const Misbehaviour& misbehaviour : kMisbehaviours) {
        SCOPED_TRACE(misbehaviour.name);
        Dumped(TextMessage(kOlder));
        EXPECT_TRUE(Dumped(ScriptedMessage(nullptr, misbehaviour.print)) == misbehaviour.text);
        EXPECT_TRUE(Repeated() == misbehaviour.text);
        ExpectNextDumpsUnharmed();
    }
    EXPECT_EQ(OtherStream().str(), "elsewhere");
}

// Nor is what it had printed, and what was not masked yet, repeated or uncovered later.
TEST_P(MisbehavingMessage, IsNotLoggedWhenItThrowsAndHarmsNoOther) {
    for (const Misbehaviour& misbehaviour : kThrowing) {
        SCOPED_TRACE(misbehaviour.name);
        Dumped(TextMessage(kOlder));
        const size_t logged = logger_.Calls().size();
        const uint64_t dropped = Channel().Dropped();
        ScriptedMessage message(kSecretType, misbehaviour.print);
        EXPECT_ANY_THROW(Dump(message));
        EXPECT_EQ(logger_.Calls().size(), logged);
        EXPECT_EQ(Channel().Dropped(), dropped + 1);
        EXPECT_EQ(Repeated(), "");
        ExpectNothingUncovered();
        ExpectNextDumpsUnharmed();
    }
}

// What a message prints behind a zero byte is never looked at, so it is not masked either.
TEST_P(MisbehavingMessage, DoesNotUncoverWhatStoodBehindAZeroByte) {
    Traced(TextMessage(kSecretType, std::string("ab\0NEPwd = \"secret\"", 19)));
    ExpectNothingUncovered();
}

TEST_P(MisbehavingMessage, LeavesTheTurnToOthersWhenLogThrows) {
    logger_.onLog = [] { throw std::runtime_error("log"); };
    ScriptedMessage message = TextMessage("text");
    EXPECT_THROW(Dump(message), std::runtime_error);
    logger_.onLog = nullptr;
    ExpectNextDumpsUnharmed();
}

TEST_P(MisbehavingMessage, LeavesNothingUnmaskedWhenItsTypeNameThrows) {
    ScriptedMessage message = TextMessage(kSecretType, "NEPwd = \"secret\"");
    message.onTypeNameAsked = [] { throw std::runtime_error("type name"); };
    EXPECT_THROW(logger_.LogAsnTrace("f.cpp", "Run", 7, message), std::runtime_error);
    EXPECT_THAT(logger_.Calls(), IsEmpty());
    EXPECT_EQ(Channel().Dropped(), 1u);
    EXPECT_EQ(Repeated(), "");
    ExpectNextDumpsUnharmed();
}

}  // namespace
