// Asking the manager for loggers.
#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>

#include "manager/managertest.h"
#include "support/onthreads.h"

using NS_LOG_SERVICE1::kLogCategories;
using NS_LOG_SERVICE1::Logger;
using NS_LOG_SERVICE1::LoggerName;
using NS_LOG_SERVICE1::LogMgr;
using NS_TEST::EndsOnAnotherThread;
using testing::ElementsAre;

namespace {

using GetLogger = NS_TEST::ManagerTest;

std::vector<Logger*> AllLoggers() {
    std::vector<Logger*> all;
    LogMgr::Instance()->Loggers().ForEach([&all](Logger& logger) { all.push_back(&logger); });
    return all;
}

// "a\0b" and the like, which a plain literal would cut.
template <size_t Size>
std::string Bytes(const char (&literal)[Size]) {
    return std::string(literal, Size - 1);
}

TEST_F(GetLogger, GivesTheSameLoggerForTheSameStrings) {
    Logger* const logger = Manager().GetLogger("a", "b", "corbaoper");
    ASSERT_NE(logger, nullptr);
    EXPECT_EQ(Manager().GetLogger("a", "b", "corbaoper"), logger);
    EXPECT_EQ(logger->First(), "a");
    EXPECT_EQ(logger->Second(), "b");
    EXPECT_EQ(logger->Category(), "corbaoper");
    EXPECT_THAT(AllLoggers(), ElementsAre(logger));
}

TEST_F(GetLogger, GivesAnotherLoggerForAnotherSecondName) {
    Logger* const one = Manager().GetLogger("a", "b", "corbaoper");
    Logger* const other = Manager().GetLogger("a", "c", "corbaoper");
    EXPECT_NE(one, other);
    EXPECT_EQ(one->Channel(), other->Channel());
    one->Log("f.cpp", "Run", 7, -1, "one");
    other->Log("f.cpp", "Run", 7, -1, "other");
    EXPECT_EQ(Files("corbaoper").size(), 1u);
    EXPECT_EQ(Written("corbaoper"), NS_TEST::Frame(1, -1, "one") + NS_TEST::Frame(2, -1, "other"));
}

TEST_F(GetLogger, GivesAnotherLoggerForAnotherFirstNameOrCategory) {
    Logger* const logger = Manager().GetLogger("a", "b", "corbaoper");
    EXPECT_NE(Manager().GetLogger("A", "b", "corbaoper"), logger);
    Logger* const elsewhere = Manager().GetLogger("a", "b", "corbasys");
    EXPECT_NE(elsewhere, logger);
    EXPECT_NE(elsewhere->Channel(), logger->Channel());
}

TEST_F(GetLogger, KnowsExactlySevenCategories) {
    for (const char* category : {"debug", "corbadebug", "corbanotify", "corba_alarm", "corbasys",
                                 "corbaoper", "corba_internal_oper"}) {
        Logger* const logger = Manager().GetLogger("a", "b", category);
        ASSERT_NE(logger, nullptr) << category;
        EXPECT_NE(logger->Channel(), nullptr) << category;
    }
    EXPECT_EQ(AllLoggers().size(), 7u);
}

TEST_F(GetLogger, GivesNothingForAnUnknownCategory) {
    for (const std::string& category :
         {std::string("CorbaOper"), std::string("corba"), std::string(), std::string("DEBUG"),
          std::string("debug "), std::string(" debug"), std::string("debug_"), Bytes("debug\0"),
          Bytes("\0debug"), Bytes("debug\0x"), std::string("corbaalarm")}) {
        EXPECT_EQ(Manager().GetLogger("a", "b", category), nullptr) << category;
    }
    EXPECT_TRUE(AllLoggers().empty());
    EXPECT_TRUE(NS_TEST::Diagnostics().Printed().empty());
}

TEST_F(GetLogger, LetsOthersInAfterAnUnknownCategory) {
    EXPECT_EQ(Manager().GetLogger("a", "b", "CorbaOper"), nullptr);
    Logger* found = nullptr;
    ASSERT_TRUE(
        EndsOnAnotherThread([&found] { found = Manager().GetLogger("a", "b", "corbaoper"); }));
    EXPECT_NE(found, nullptr);
}

TEST_F(GetLogger, ComparesNamesByteForByte) {
    const std::vector<std::string> names = {"",
                                            "a",
                                            "A",
                                            "a ",
                                            " a",
                                            "aa",
                                            "\xC3\xA4",
                                            "a\xCC\x88",
                                            Bytes("\0"),
                                            Bytes("\0\0"),
                                            Bytes("a\0"),
                                            Bytes("\0a"),
                                            Bytes("a\0b"),
                                            Bytes("a\0c"),
                                            std::string(10'000, 'a'),
                                            std::string(10'001, 'a')};
    std::vector<Logger*> loggers;
    for (const std::string& first : names) {
        for (const std::string& second : names) {
            loggers.push_back(Manager().GetLogger(first, second, "debug"));
        }
    }
    EXPECT_EQ(AllLoggers(), loggers);
    size_t next = 0;
    for (const std::string& first : names) {
        for (const std::string& second : names) {
            EXPECT_EQ(Manager().GetLogger(first, second, "debug"), loggers[next]);
            EXPECT_EQ(loggers[next]->First(), first);
            EXPECT_EQ(loggers[next]->Second(), second);
            ++next;
        }
    }
    std::sort(loggers.begin(), loggers.end());
    EXPECT_EQ(std::unique(loggers.begin(), loggers.end()), loggers.end());
}

// Joined, these names read the same.
TEST_F(GetLogger, DoesNotMixUpWhereOneNameEndsAndTheNextBegins) {
    EXPECT_NE(Manager().GetLogger("ab", "c", "debug"), Manager().GetLogger("a", "bc", "debug"));
    EXPECT_NE(Manager().GetLogger("", "abc", "debug"), Manager().GetLogger("abc", "", "debug"));
    EXPECT_NE(Manager().GetLogger(Bytes("a\0"), "b", "debug"),
              Manager().GetLogger("a", Bytes("\0b"), "debug"));
    EXPECT_EQ(AllLoggers().size(), 6u);
}

TEST_F(GetLogger, KeepsCopiesOfTheNames) {
    std::string first = "first";
    std::string second = "second";
    std::string category = "debug";
    Logger* const logger = Manager().GetLogger(first, second, category);
    first.assign(5, 'x');
    second.assign(6, 'x');
    category.assign(5, 'x');
    EXPECT_EQ(Manager().GetLogger("first", "second", "debug"), logger);
    EXPECT_EQ(Manager().GetLogger("xxxxx", "xxxxxx", "xxxxx"), nullptr);
}

TEST_F(GetLogger, KeepsTenThousandLoggersInTheOrderOfTheirCreation) {
    std::vector<Logger*> made;
    for (size_t number = 0; number < 10'000; ++number) {
        made.push_back(Manager().GetLogger("bundle" + std::to_string(number * 7919 % 10'000),
                                           "service", kLogCategories[number % 7]));
    }
    EXPECT_EQ(AllLoggers(), made);
    for (size_t number = 10'000; number-- > 0;) {
        ASSERT_EQ(Manager().GetLogger("bundle" + std::to_string(number * 7919 % 10'000), "service",
                                      kLogCategories[number % 7]),
                  made[number]);
    }
    EXPECT_EQ(AllLoggers(), made);
}

TEST_F(GetLogger, LeavesNothingBehindWhenALoggerCannotBeMade) {
    const LoggerName name{"a", "b", "debug"};
    EXPECT_THROW(
        Manager().Loggers().FindOrAdd(
            name, []() -> std::unique_ptr<Logger> { throw std::runtime_error("no memory"); }),
        std::runtime_error);
    EXPECT_TRUE(AllLoggers().empty());
    Logger* found = nullptr;
    ASSERT_TRUE(EndsOnAnotherThread([&found] { found = Debug(); }));
    EXPECT_NE(found, nullptr);
}

TEST_F(GetLogger, DoesNotMakeALoggerThatIsThere) {
    Logger* const logger = Debug();
    EXPECT_EQ(Manager().Loggers().FindOrAdd({"a", "b", "debug"},
                                            []() -> std::unique_ptr<Logger> {
                                                ADD_FAILURE() << "made a second one";
                                                return nullptr;
                                            }),
              logger);
}

TEST_F(GetLogger, AgreesOnOneLoggerWhenManyThreadsAskForItFirst) {
    constexpr size_t kCallers = 8;
    constexpr size_t kNames = 200;
    std::array<std::vector<Logger*>, kCallers> found;
    NS_TEST::OnThreads(kCallers, [&found](size_t number) {
        for (size_t name = 0; name < kNames; ++name) {
            found[number].push_back(
                Manager().GetLogger("shared" + std::to_string(name), "", kLogCategories[name % 7]));
            found[number].push_back(Manager().GetLogger("own" + std::to_string(number),
                                                        std::to_string(name), "corbasys"));
            Manager().GetLogger("a", "b", "nonsense");
        }
    });
    std::vector<Logger*> all = AllLoggers();
    EXPECT_EQ(all.size(), kNames + kCallers * kNames);
    for (size_t number = 0; number < kCallers; ++number) {
        for (size_t name = 0; name < kNames; ++name) {
            EXPECT_EQ(found[number][2 * name], found[0][2 * name]);
            EXPECT_EQ(found[number][2 * name + 1]->First(), "own" + std::to_string(number));
            EXPECT_EQ(found[number][2 * name + 1]->Second(), std::to_string(name));
        }
    }
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::unique(all.begin(), all.end()), all.end());
}

}  // namespace
