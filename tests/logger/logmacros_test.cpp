// The macros that fill in the source position.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/value.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "asn/asnobject.h"
#include "qv_base_log/logmacros.h"

namespace {

using NS_LOG_SERVICE1::LogCallSite;
using NS_LOG_SERVICE1::LoggerIF;

// Remembers the last call, and where its strings stand.
class MacroLogger : public LoggerIF {
  public:
    bool EnableLevel(unsigned int /*level*/) override { return true; }
    bool DisableLevel(unsigned int /*level*/) override { return true; }
    bool EnableAllLevels() override { return true; }
    bool DisableAllLevels() override { return true; }
    bool IsLevelEnabled(const unsigned int& /*level*/) override { return true; }

    void Log(const std::string& file, const std::string& function, unsigned int line, int level,
             const std::string& text) override {
        Note("Log", file, function, line);
        called += " " + std::to_string(level) + " " + text;
    }
    void LogFormat(const std::string& file, const std::string& function, unsigned int line,
                   int level, const char* format, ...) override
        __attribute__((format(printf, 6, 7))) {
        char text[64];
        va_list values;
        va_start(values, format);
        std::vsnprintf(text, sizeof text, format, values);
        va_end(values);
        Note("LogFormat", file, function, line);
        called += " " + std::to_string(level) + " " + text;
    }
    void LogAsnTrace(const std::string& file, const std::string& function, unsigned int line,
                     NS_ASN1::AsnObject& /*message*/) override {
        Note("LogAsnTrace", file, function, line);
    }
    void LogAlarm(const std::string& file, const std::string& function, unsigned int line,
                  const Json::Value& alarms) override {
        Note("LogAlarm", file, function, line);
        called += " " + std::to_string(alarms.size());
    }
    void PrintAsn(const std::string& file, const std::string& function, unsigned int line,
                  NS_ASN1::AsnObject& /*message*/) override {
        Note("PrintAsn", file, function, line);
    }

    std::string called;
    unsigned int calledLine = 0;
    std::vector<const void*> fileStrings;

  private:
    void Note(const char* operation, const std::string& file, const std::string& function,
              unsigned int line) {
        called = std::string(operation) + " " + file + " " + function;
        calledLine = line;
        fileStrings.push_back(&file);
    }
};

class EmptyMessage : public NS_ASN1::AsnObject {
  public:
    void Print(std::ostream& /*out*/, unsigned short /*indent*/, int /*format*/) const override {}
    const char* GetTypeName() const override { return nullptr; }
};

void LogText(LoggerIF* logger, const std::string& text) {
    QV_LOG(logger, 2, text);
}

TEST(LogMacros, NameTheFileWithoutItsDirectoriesAndTheFunctionAndTheLine) {
    MacroLogger logger;
    const unsigned int line = __LINE__ + 1;
    QV_LOG(&logger, 1, "a text");
    EXPECT_EQ(logger.called, "Log logmacros_test.cpp TestBody 1 a text");
    EXPECT_EQ(logger.calledLine, line);
}

TEST(LogMacros, CutDirectoriesOffThePath) {
    EXPECT_STREQ(LogCallSite::FileName("/a/b/c.cpp"), "c.cpp");
    EXPECT_STREQ(LogCallSite::FileName("c.cpp"), "c.cpp");
    EXPECT_STREQ(LogCallSite::FileName("a/"), "");
}

TEST(LogMacros, FormatMessages) {
    MacroLogger logger;
    QV_LOG_FORMAT(&logger, 0, "%d of %s", 3, "seven");
    EXPECT_EQ(logger.called, "LogFormat logmacros_test.cpp TestBody 0 3 of seven");
    QV_LOG_FORMAT(&logger, -2, "no values");
    EXPECT_EQ(logger.called, "LogFormat logmacros_test.cpp TestBody -2 no values");
}

TEST(LogMacros, ReachEachOperation) {
    MacroLogger logger;
    EmptyMessage message;
    QV_LOG_ASN(&logger, message);
    EXPECT_EQ(logger.called, "PrintAsn logmacros_test.cpp TestBody");
    QV_LOG_ASN_TRACE(&logger, message);
    EXPECT_EQ(logger.called, "LogAsnTrace logmacros_test.cpp TestBody");
    QV_LOG_ALARM(&logger, Json::Value(Json::arrayValue));
    EXPECT_EQ(logger.called, "LogAlarm logmacros_test.cpp TestBody 0");
}

TEST(LogMacros, BuildTheStringsOnceForEachCallSite) {
    MacroLogger logger;
    LogText(&logger, "first");
    LogText(&logger, "second");
    ASSERT_EQ(logger.fileStrings.size(), 2U);
    EXPECT_EQ(logger.fileStrings[0], logger.fileStrings[1]);
    EXPECT_EQ(logger.called, "Log logmacros_test.cpp LogText 2 second");
}

TEST(LogMacros, LogNothingWithoutALoggerAndEvaluateNothing) {
    LoggerIF* none = nullptr;
    int evaluated = 0;
    QV_LOG(none, ++evaluated, "a text");
    QV_LOG_FORMAT(none, 1, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
}

TEST(LogMacros, AreOneStatement) {
    MacroLogger logger;
    const bool chosen = logger.called.empty();
    if (chosen)
        QV_LOG(&logger, 1, "chosen");
    else
        QV_LOG(&logger, 1, "not chosen");
    EXPECT_EQ(logger.called, "Log logmacros_test.cpp TestBody 1 chosen");
}

}  // namespace
