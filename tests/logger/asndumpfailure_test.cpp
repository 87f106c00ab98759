// Messages that misbehave while they are printed: what they leave to the next dump.
#include <gtest/gtest.h>

#include <iostream>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>

#include "logger/asndumpfixture.h"

namespace {

using NS_TEST::AsnOperation;
using NS_TEST::ScriptedMessage;
using NS_TEST::TextMessage;
using testing::IsEmpty;

constexpr size_t kBufferSize = 4096000;
constexpr const char* kSecretType = "QAsnGetNEInfoRsp";

// What a message throws.
struct PrintFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class GroupedNumbers : public std::numpunct<char> {
  protected:
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\3"; }
};

// Shows most of what a stream can be told about the looks of values.
ScriptedMessage Sample() {
    return ScriptedMessage(nullptr,
                           [](std::ostream& out) { out << 255 << ' ' << 0.5 << ' ' << true; });
}
constexpr const char* kSampleText = "255 0.5 1";

class MisbehavingMessage : public NS_TEST::EachAsnOperation {
  protected:
    // Dumps the message, which throws.
    void ExpectThrown(ScriptedMessage message) {
        EXPECT_THROW(DumpWith(logger_, message), PrintFailure);
    }

    // The next dumps, by either operation and on another thread, are as if nothing had been.
    void ExpectNextDumpsUnharmed() {
        EXPECT_EQ(PrintedByAnotherThread("other thread"), "other thread");
        EXPECT_EQ(Printed(Sample()), kSampleText);
        EXPECT_EQ(Traced(Sample()), kSampleText);
        EXPECT_EQ(Traced(TextMessage(kSecretType, "NEPwd = \"abcd\"")), "NEPwd = \"****\"");
        std::string text(kBufferSize + 10, 'x');
        EXPECT_EQ(Printed(TextMessage(text)).size(), kBufferSize - 50 + 24);
    }
};
QV_FOR_EACH_ASN_OPERATION(MisbehavingMessage);

using FailingTrace = NS_TEST::AsnDumpTest;

TEST_P(MisbehavingMessage, LeavesNoFormatBehind) {
    Dumped(ScriptedMessage(nullptr, [](std::ostream& out) {
        out << std::hex << std::showbase << std::uppercase << std::boolalpha << std::scientific
            << std::showpos << std::showpoint << std::left << std::unitbuf;
        out.fill('#');
        out.precision(2);
        out << 1;
        out.width(20);
    }));
    ExpectNextDumpsUnharmed();
}

TEST_P(MisbehavingMessage, LeavesNoLocaleBehind) {
    Dumped(ScriptedMessage(nullptr, [](std::ostream& out) {
        out.imbue(std::locale(std::locale::classic(), new GroupedNumbers));
        out << 1000000;
    }));
    EXPECT_EQ(logger_.LastText(), "1'000'000");
    EXPECT_EQ(Dumped(ScriptedMessage(nullptr, [](std::ostream& out) { out << 1000000; })),
              "1000000");
}

TEST_P(MisbehavingMessage, LeavesNoTieBehind) {
    std::ostringstream tied;
    Dumped(ScriptedMessage(nullptr, [&](std::ostream& out) { out.tie(&tied); }));
    std::ostream* seen = &tied;
    Dumped(ScriptedMessage(nullptr, [&](std::ostream& out) { seen = out.tie(); }));
    EXPECT_EQ(seen, nullptr);
}

TEST_P(MisbehavingMessage, LeavesNoErrorBehind) {
    for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
        Dumped(ScriptedMessage(nullptr, [&](std::ostream& out) {
            out << "text";
            out.setstate(state);
        }));
        ExpectNextDumpsUnharmed();
    }
}

// The rest of an older, longer dump must not show behind a text that ends in error.
TEST_P(MisbehavingMessage, EndsItsTextWhereTheStreamFailed) {
    for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
        Dumped(TextMessage("an older dump, which is longer"));
        EXPECT_EQ(Dumped(ScriptedMessage(nullptr,
                                         [&](std::ostream& out) {
                                             out << "text";
                                             out.setstate(state);
                                             out << "lost";
                                         })),
                  "text");
    }
}

// What a message prints behind a zero byte is never looked at, so it is not masked either.
TEST_P(MisbehavingMessage, DoesNotUncoverWhatStoodBehindAZeroByte) {
    Traced(TextMessage(kSecretType, std::string("ab\0NEPwd = \"secret\"", 19)));
    const std::string dumped = Dumped(ScriptedMessage(nullptr, [](std::ostream& out) {
        out << "xyz";
        out.setstate(std::ios::failbit);
    }));
    EXPECT_EQ(dumped, "xyz");
    EXPECT_EQ(Repeated(), "xyz");
}

TEST_P(MisbehavingMessage, LeavesNoExceptionsBehind) {
    Dumped(ScriptedMessage(nullptr, [](std::ostream& out) {
        out << "text";
        out.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
    }));
    EXPECT_EQ(logger_.LastText(), "text");
    ExpectNextDumpsUnharmed();
}

TEST_P(MisbehavingMessage, IsCutAlsoWhenItAskedForExceptionsAndFilledTheBuffer) {
    const std::string text(kBufferSize, 'x');
    const std::string dumped = Dumped(ScriptedMessage(nullptr, [&](std::ostream& out) {
        out << text;
        out.exceptions(std::ios::badbit);
    }));
    EXPECT_EQ(dumped.size(), kBufferSize - 50 + 24);
    EXPECT_EQ(dumped.substr(dumped.size() - 24), "\n...More ASN not print.\n");
}

TEST_P(MisbehavingMessage, MayTakeTheStreamsBufferAway) {
    Dumped(TextMessage("an older dump, which is longer"));
    std::ostringstream other;
    Dumped(ScriptedMessage(nullptr, [&](std::ostream& out) {
        out << "text";
        out.rdbuf(other.rdbuf());
        out << "elsewhere";
    }));
    EXPECT_EQ(logger_.LastText(), "text");
    EXPECT_EQ(other.str(), "elsewhere");
    Dumped(ScriptedMessage(nullptr, [](std::ostream& out) { out.rdbuf(nullptr); }));
    ExpectNextDumpsUnharmed();
}

TEST_P(MisbehavingMessage, MayTakeTheStreamsBufferAwayAndThrow) {
    EXPECT_THROW(Dumped(ScriptedMessage(nullptr,
                                        [](std::ostream& out) {
                                            out.exceptions(std::ios::badbit);
                                            out.rdbuf(nullptr);
                                        })),
                 std::ios::failure);
    ExpectNextDumpsUnharmed();
}

TEST_P(MisbehavingMessage, IsNotLoggedWhenItThrows) {
    ExpectThrown(ScriptedMessage(nullptr, [](std::ostream& out) {
        out << "half";
        throw PrintFailure("print");
    }));
    EXPECT_THAT(logger_.Calls(), IsEmpty());
    ExpectNextDumpsUnharmed();
}

TEST_P(MisbehavingMessage, MayThrowWithTheStreamInEveryKindOfDisorder) {
    ExpectThrown(ScriptedMessage(nullptr, [](std::ostream& out) {
        out << std::hex << std::setfill('#') << "half";
        out.setstate(std::ios::failbit | std::ios::badbit);
        try {
            out.exceptions(std::ios::failbit | std::ios::badbit);
        } catch (const std::ios::failure&) {
            throw PrintFailure("print");
        }
    }));
    ExpectNextDumpsUnharmed();
}

TEST_P(MisbehavingMessage, ThatAsksForExceptionsGetsThemAtTheBuffersEnd) {
    const std::string text(kBufferSize + 1, 'x');
    EXPECT_THROW(Dumped(ScriptedMessage(nullptr,
                                        [&](std::ostream& out) {
                                            out.exceptions(std::ios::badbit);
                                            out << text;
                                        })),
                 std::ios::failure);
    EXPECT_THAT(logger_.Calls(), IsEmpty());
    ExpectNextDumpsUnharmed();
}

// A trace with level 3 off repeats what is in the buffer; a text that was not masked yet must not
// be there.
TEST_P(MisbehavingMessage, IsNotRepeatedAfterItThrew) {
    Dumped(TextMessage("an older dump"));
    ExpectThrown(ScriptedMessage(kSecretType, [](std::ostream& out) {
        out << "NEPwd = \"secret\"";
        throw PrintFailure("print");
    }));
    EXPECT_EQ(Repeated(), "");
}

TEST_P(MisbehavingMessage, DoesNotUncoverWhatAnotherOneHadPrintedBeforeItThrew) {
    ExpectThrown(ScriptedMessage(kSecretType, [](std::ostream& out) {
        out << "NEPwd = \"secret\"";
        throw PrintFailure("print");
    }));
    const std::string dumped = Dumped(ScriptedMessage(nullptr, [](std::ostream& out) {
        out << 'x';
        out.setstate(std::ios::failbit);
    }));
    EXPECT_EQ(dumped, "x");
    EXPECT_EQ(Repeated(), "x");
}

TEST_P(MisbehavingMessage, MayThrowAnything) {
    EXPECT_THROW(Dumped(ScriptedMessage(nullptr, [](std::ostream& /*out*/) { throw 1; })), int);
    ExpectNextDumpsUnharmed();
}

TEST_P(MisbehavingMessage, LeavesTheTurnToOthersWhenLogThrows) {
    logger_.onLog = [] { throw PrintFailure("log"); };
    ExpectThrown(TextMessage("text"));
    logger_.onLog = nullptr;
    ExpectNextDumpsUnharmed();
}

TEST_F(FailingTrace, LeavesNothingUnmaskedWhenTheTypeNameThrows) {
    ScriptedMessage message = TextMessage(kSecretType, "NEPwd = \"secret\"");
    message.onTypeNameAsked = [] { throw PrintFailure("type name"); };
    EXPECT_THROW(logger_.LogAsnTrace("f.cpp", "Run", 7, message), PrintFailure);
    EXPECT_THAT(logger_.Calls(), IsEmpty());
    EXPECT_EQ(Repeated(), "");
    EXPECT_EQ(PrintedByAnotherThread("other thread"), "other thread");
    EXPECT_EQ(Traced(TextMessage(kSecretType, "NEPwd = \"abcd\"")), "NEPwd = \"****\"");
}

}  // namespace
