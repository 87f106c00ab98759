// Messages in printf style.
#include <climits>
#include <stdexcept>

#include "bundlemgr/logsupport.h"
#include "manager/managerfixture.h"
#include "support/recordinglogger.h"

using namespace NS_TEST;
using namespace testing;

namespace {

constexpr const char* kFormatFailure = "\nvsnprintf_s failed !!\n";

class LogFormat : public NS_TEST::ManagerTest {
  protected:
    // The text that reaches Log.
    template <class... Values>
    std::string Format(const char* format, Values... values) {
        const size_t before = logger_.Calls().size();
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
        logger_.LogFormat("f.cpp", "Run", 7, 2, format, values...);
#pragma GCC diagnostic pop
        EXPECT_EQ(logger_.Calls().size(), before + 1);
        return logger_.LastText();
    }

    static void ExpectOneReport() {
        EXPECT_THAT(Diagnostics().Printed(),
                    ElementsAre(IsDiagnostic(1, "logimpl.cpp", kFormatFailure)));
        Diagnostics().Forget();
    }
    static void ExpectNoReport() {
        EXPECT_THAT(Diagnostics().Printed(), IsEmpty());
    }

    RecordingLogger logger_{"a", "b", "debug", Manager(), Manager().Channels()};
};

TEST_F(LogFormat, CallsLogOfADerivedLoggerWithWhatItWasGiven) {
    for (const int level : {INT_MIN, -7, -2, 0, 3, 4, INT_MAX}) {
        logger_.LogFormat("some file.cpp", "A::B", UINT_MAX, level, "%s-%d-%c", "text", -5, 'x');
        const LoggedCall expected{"some file.cpp", "A::B", UINT_MAX, level, "text--5-x"};
        EXPECT_TRUE(logger_.Calls().back() == expected) << level;
    }
    EXPECT_TRUE(ListFiles(Path()).empty());
    ExpectNoReport();
}

TEST_F(LogFormat, WritesARecord) {
    Debug()->LogFormat("f.cpp", "Run", 7, -1, "%05d|%-4s|%x", 42, "ab", 255u);
    EXPECT_EQ(Written("debug"), Frame(1, -1, "00042|ab  |ff"));
}

TEST_F(LogFormat, TakesTheLastMessageThatFits) {
    const std::string text(4095, 'a');
    EXPECT_EQ(Format("%s", text.c_str()), text);
    EXPECT_EQ(Format(text.c_str()), text);
    ExpectNoReport();
}

TEST_F(LogFormat, CutsALongerMessageAndReportsIt) {
    for (const size_t size : {4096u, 4097u, 5000u, 1'000'000u}) {
        EXPECT_EQ(Format("%s", std::string(size, 'a').c_str()), std::string(4095, 'a')) << size;
        ExpectOneReport();
    }
    EXPECT_EQ(Format("%s%d", std::string(4093, 'a').c_str(), 123456),
              std::string(4093, 'a') + "12");
    ExpectOneReport();
    EXPECT_EQ(Format("%5000d", 1), std::string(4095, ' '));
    ExpectOneReport();
}

// The report stands in front of the record that it is about, also where both go to one place.
TEST_F(LogFormat, ReportsBeforeItLogs) {
    logger_.onLog = [] { EXPECT_THAT(Diagnostics().Texts(), ElementsAre(kFormatFailure)); };
    Format("%s", std::string(5000, 'a').c_str());
}

// The exception is the client's, who has no record then.
TEST_F(LogFormat, CountsARecordAsDroppedWhenItsReportThrows) {
    Diagnostics().onPrint = [](const std::string&) { throw std::runtime_error("broken"); };
    EXPECT_THROW(Debug()->LogFormat("f.cpp", "Run", 7, -1, "%s", std::string(5000, 'a').c_str()),
                 std::runtime_error);
    Diagnostics().onPrint = nullptr;
    const NS_LOG_SERVICE1::TEDebugInfoBuf& channel = *Manager().Channels().Find("debug");
    EXPECT_EQ(channel.Received(), 1u);
    EXPECT_EQ(channel.Dropped(), 1u);
    EXPECT_TRUE(ListFiles(Path()).empty());
}

// The first byte of a character is left; the text in the file is valid all the same.
TEST_F(LogFormat, WritesValidTextWhereACharacterIsCut) {
    const std::string kept(4094, 'a');
    Debug()->LogFormat("f.cpp", "Run", 7, -1, "%s\xC3\xA4", kept.c_str());
    std::string converted;
    EXPECT_EQ(Written("debug"),
              Frame(1, -1, NS_BUNDLEMGR1::Convert2UTFforLog(kept + "\xC3", converted)));
    ExpectOneReport();
}

TEST_F(LogFormat, EndsAtAZeroByteAndKnowsTheErrorOfTheCaller) {
    EXPECT_EQ(Format(""), "");
    EXPECT_EQ(Format("a%cb", 0), "a");
    errno = ENOENT;
    EXPECT_EQ(Format("%m"), "No such file or directory");
    ExpectNoReport();
}

TEST_F(LogFormat, RefusesToWriteThroughAClientsPointer) {
    for (const char* format : {"text%n", "%s%5n%s", "%1$lln"}) {
        SCOPED_TRACE(format);
        long long target[4] = {'*', '*', '*', '*'};  // short texts as well
        EXPECT_EQ(Format(format, &target[0], &target[1], &target[2], &target[3]), "");
        EXPECT_THAT(target, Each('*'));
        ExpectOneReport();
    }
}

TEST_F(LogFormat, LogsWhatItHasWhenAConversionFails) {
    // No multibyte character of the C locale stands for this one.
    const std::string text = Format("abc %ls def", L"\u4E2D");
    EXPECT_EQ(std::string("abc ").rfind(text, 0), 0u) << text;
    ExpectOneReport();
}

TEST_F(LogFormat, LetsTheExceptionsOfADerivedLogPassOut) {
    logger_.onLog = [] { throw std::runtime_error("thrown by Log"); };
    EXPECT_THROW(logger_.LogFormat("f.cpp", "Run", 7, 1, "text"), std::runtime_error);
}

}  // namespace
