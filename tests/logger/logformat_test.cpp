// Messages in printf style.
#include <climits>
#include <stdexcept>

#include "bundlemgr/logsupport.h"
#include "manager/managertest.h"

using NS_LOG_SERVICE1::Logger;
using NS_TEST::Diagnostics;
using NS_TEST::Frame;
using testing::ElementsAre;

namespace {

// Keeps what reaches Log instead of writing it.
class OverridingLogger : public Logger {
  public:
    explicit OverridingLogger(NS_LOG_SERVICE1::LogMgr& manager)
        : Logger("a", "b", "debug", manager, manager.Channels()) {}

    struct Call {
        std::string file;
        std::string function;
        unsigned int line;
        int level;
        std::string text;
    };

    void Log(const std::string& file, const std::string& function, unsigned int line, int level,
             const std::string& text) override {
        calls.push_back({file, function, line, level, text});
    }

    std::vector<Call> calls;
};

class LogFormat : public NS_TEST::ManagerTest {
  protected:
    LogFormat() : logger_(Manager()) {}

    // The text that reaches Log.
    template <class... Values>
    std::string Format(const char* format, Values... values) {
        logger_.calls.clear();
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
        logger_.LogFormat("f.cpp", "Run", 7, 2, format, values...);
#pragma GCC diagnostic pop
        if (logger_.calls.size() != 1) {
            return "calls of Log: " + std::to_string(logger_.calls.size());
        }
        return logger_.calls.front().text;
    }

    static void ExpectOneReport() {
        const auto reports = Diagnostics().Printed();
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_EQ(reports[0].text, "\nvsnprintf_s failed !!\n");
        EXPECT_EQ(reports[0].file, "logimpl.cpp");
        EXPECT_GT(reports[0].line, 0);
        EXPECT_EQ(reports[0].level, 1);
        Diagnostics().Forget();
    }
    static void ExpectNoReport() {
        EXPECT_TRUE(Diagnostics().Printed().empty());
    }

    OverridingLogger logger_;
};

TEST_F(LogFormat, HandsItsTextToLogAsADerivedClassHasIt) {
    logger_.LogFormat("f.cpp", "Run", UINT_MAX, -7, "%s-%d-%c", "text", -5, 'x');
    ASSERT_EQ(logger_.calls.size(), 1u);
    EXPECT_EQ(logger_.calls[0].file, "f.cpp");
    EXPECT_EQ(logger_.calls[0].function, "Run");
    EXPECT_EQ(logger_.calls[0].line, UINT_MAX);
    EXPECT_EQ(logger_.calls[0].level, -7);
    EXPECT_EQ(logger_.calls[0].text, "text--5-x");
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    ExpectNoReport();
}

TEST_F(LogFormat, PassesTheLevelOnAsItIs) {
    for (const int level : {INT_MIN, -2, 0, 3, 4, INT_MAX}) {
        logger_.LogFormat("f.cpp", "Run", 7, level, "text");
        EXPECT_EQ(logger_.calls.back().level, level);
    }
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
}

TEST_F(LogFormat, CutsWithinTheLastConversion) {
    EXPECT_EQ(Format("%s%d", std::string(4093, 'a').c_str(), 123456),
              std::string(4093, 'a') + "12");
    ExpectOneReport();
    EXPECT_EQ(Format("%5000d", 1), std::string(4095, ' '));
    ExpectOneReport();
}

TEST_F(LogFormat, WritesTheCutMessage) {
    Debug()->LogFormat("f.cpp", "Run", 7, -1, "%s", std::string(5000, 'a').c_str());
    EXPECT_EQ(Written("debug"), Frame(1, -1, std::string(4095, 'a')));
    ExpectOneReport();
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

TEST_F(LogFormat, TakesAnEmptyMessage) {
    EXPECT_EQ(Format(""), "");
    EXPECT_EQ(Format("%s", ""), "");
    ExpectNoReport();
}

TEST_F(LogFormat, FormatsNumbersAsTheCLibraryDoes) {
    EXPECT_EQ(Format("%.3f", 1e12), "1000000000000.000");
    EXPECT_EQ(Format("%f", 1e12), "1000000000000.000000");
    EXPECT_EQ(Format("%g", 0.00001), "1e-05");
    EXPECT_EQ(Format("%g", 1234.5), "1234.5");
    EXPECT_EQ(Format("%.10g", 1234567890.5), "1234567890");
    EXPECT_EQ(Format("%e", 12345.678), "1.234568e+04");
    EXPECT_EQ(Format("%a", 1.0), "0x1p+0");
    EXPECT_EQ(Format("%Lf", 1.5L), "1.500000");
    EXPECT_EQ(Format("%.0Lf", 1e20L), "100000000000000000000");
    EXPECT_EQ(Format("%lld", LLONG_MIN), "-9223372036854775808");
    EXPECT_EQ(Format("%zu", SIZE_MAX), "18446744073709551615");
    EXPECT_EQ(Format("%hhd", 257), "1");
    EXPECT_EQ(Format("%#o", 8u), "010");
    ExpectNoReport();
}

TEST_F(LogFormat, KnowsPositionsAndWidthsThatAreArguments) {
    EXPECT_EQ(Format("%2$s %1$d", 5, "five"), "five 5");
    EXPECT_EQ(Format("%1$s %1$s", "twice"), "twice twice");
    EXPECT_EQ(Format("%*d|%-*d|%.*s", 4, 7, 4, 7, 2, "abc"), "   7|7   |ab");
    ExpectNoReport();
}

TEST_F(LogFormat, TakesANullText) {
    EXPECT_EQ(Format("%s", static_cast<const char*>(nullptr)), "(null)");
    ExpectNoReport();
}

TEST_F(LogFormat, KnowsTheErrorOfTheCaller) {
    errno = ENOENT;
    EXPECT_EQ(Format("%m"), "No such file or directory");
    ExpectNoReport();
}

TEST_F(LogFormat, KeepsWhatStandsInFrontOfAZeroByte) {
    EXPECT_EQ(Format("a%cb", 0), "a");
    ExpectNoReport();
}

TEST_F(LogFormat, RefusesToWriteThroughAClientsPointer) {
    for (const char* format :
         {"text%n", "%n",   "%s%5n%s", "%hhn", "%hn",     "%ln", "%lln", "%jn", "%zn",
          "%tn",    "%1$n", "%%%n",    "%-n",  "%#n",     "%+n", "% n",  "%0n", "%.3n",
          "%*n",    "%.*n", "%'n",     "%In",  "%1$*2$n", "%qn", "%Ln",  "%Zn", "%1$lln"}) {
        long long target[4] = {-1, -1, -1, -1};
        EXPECT_EQ(Format(format, &target[0], &target[1], &target[2], &target[3]), "") << format;
        EXPECT_THAT(target, ElementsAre(-1, -1, -1, -1)) << format;
        SCOPED_TRACE(format);
        ExpectOneReport();
    }
}

TEST_F(LogFormat, TellsAPercentSignFromARefusedConversion) {
    EXPECT_EQ(Format("100%%n"), "100%n");
    EXPECT_EQ(Format("%%%%n"), "%%n");
    EXPECT_EQ(Format("%dn", 5), "5n");
    EXPECT_EQ(Format("%s", "%n"), "%n");
    EXPECT_EQ(Format("%cn%sn", 'n', "n"), "nnnn");
    ExpectNoReport();
}

TEST_F(LogFormat, LogsWhatItHasWhenAConversionFails) {
    // No multibyte character of the C locale stands for this one.
    const std::string text = Format("abc %ls def", L"\u4E2D");
    EXPECT_EQ(std::string("abc ").rfind(text, 0), 0u) << text;
    ExpectOneReport();
}

TEST_F(LogFormat, ReportsOncePerCall) {
    for (int call = 0; call < 3; ++call) {
        Format("%s", std::string(5000, 'a').c_str());
    }
    EXPECT_EQ(Diagnostics().Printed().size(), 3u);
}

TEST_F(LogFormat, LetsTheExceptionsOfADerivedLogPassOut) {
    class Throwing : public OverridingLogger {
      public:
        using OverridingLogger::OverridingLogger;
        void Log(const std::string&, const std::string&, unsigned int, int,
                 const std::string&) override {
            throw std::runtime_error("thrown by Log");
        }
    };
    Throwing logger(Manager());
    EXPECT_THROW(logger.LogFormat("f.cpp", "Run", 7, 1, "text"), std::runtime_error);
}

}  // namespace
