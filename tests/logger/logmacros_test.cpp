// The macros that fill in the source position.

#include <json/value.h>

#include "manager/managerfixture.h"
#include "qv_base_log/logmacros.h"
#include "support/asnmessages.h"
#include "support/recordinglogger.h"

namespace {

using namespace NS_LOG_SERVICE1;

// Remembers where the strings of the calls stand as well.
class MacroLogger : public NS_TEST::RecordingLogger {
  public:
    using RecordingLogger::RecordingLogger;
    void Log(const std::string& file, const std::string& function, unsigned int line, int level,
             const std::string& text) override {
        strings.push_back(&file);
        strings.push_back(&function);
        RecordingLogger::Log(file, function, line, level, text);
    }
    std::vector<const std::string*> strings;
};

// Whatever an operation is given ends up in Log.
class LogMacros : public NS_TEST::ManagerTest {
  protected:
    LogMacros() {
        Manager().bEnableAsnLog = 1;
        logger_.EnableLevel(3);
    }
    void ExpectLast(unsigned int line, int level, const std::string& text,
                    const std::string& function = "TestBody") {
        const NS_TEST::LoggedCall expected{"logmacros_test.cpp", function, line, level, text};
        EXPECT_TRUE(logger_.Calls().back() == expected) << text << ": " << logger_.LastText();
    }

    MacroLogger logger_{"a", "b", "debug", Manager(), Manager().Channels()};
};

void LogText(LoggerIF* logger, const std::string& text) {
    QV_LOG(logger, 2, text);
}

TEST_F(LogMacros, NameTheFileWithoutItsDirectoriesAndTheFunctionAndTheLine) {
    const unsigned int line = __LINE__;
    QV_LOG(&logger_, 1, "a text");
    ExpectLast(line + 1, 1, "a text");
    QV_LOG_FORMAT(&logger_, 0, "%d of %s", 3, "seven");
    ExpectLast(line + 3, 0, "3 of seven");
    QV_LOG_FORMAT(&logger_, -2, "no values");
    ExpectLast(line + 5, -2, "no values");
    NS_TEST::ScriptedMessage message = NS_TEST::TextMessage("a message");
    QV_LOG_ASN(&logger_, message);
    ExpectLast(line + 8, -1, "a message");
    QV_LOG_ASN_TRACE(&logger_, message);
    ExpectLast(line + 10, 3, "a message");
    Json::Value alarms;
    alarms.append("an alarm");
    QV_LOG_ALARM(&logger_, alarms);
    ExpectLast(line + 14, 3, "\n RestAlarm:\"an alarm\"\n");
}

TEST_F(LogMacros, CutDirectoriesOffThePath) {
    EXPECT_STREQ(LogCallSite::FileName("/a/b/c.cpp"), "c.cpp");
    EXPECT_STREQ(LogCallSite::FileName("c.cpp"), "c.cpp");
    EXPECT_STREQ(LogCallSite::FileName("a/"), "");
}

TEST_F(LogMacros, BuildTheStringsOnceForEachCallSite) {
    LogText(&logger_, "first");
    LogText(&logger_, "second");
    ASSERT_EQ(logger_.strings.size(), 4u);
    EXPECT_EQ(logger_.strings[0], logger_.strings[2]);
    EXPECT_EQ(logger_.strings[1], logger_.strings[3]);
    EXPECT_EQ(logger_.Calls().back().function, "LogText");
}

TEST_F(LogMacros, LogNothingWithoutALoggerAndEvaluateNothing) {
    LoggerIF* none = nullptr;
    int evaluated = 0;
    QV_LOG(none, ++evaluated, "a text");
    QV_LOG_FORMAT(none, 1, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
}

TEST_F(LogMacros, AreOneStatement) {
    if (logger_.Calls().empty())
        QV_LOG(&logger_, 1, "chosen");
    else
        QV_LOG(&logger_, 1, "not chosen");
    EXPECT_EQ(logger_.LastText(), "chosen");
}

}  // namespace
