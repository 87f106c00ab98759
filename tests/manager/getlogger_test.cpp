// Asking the manager for loggers.
#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "manager/managerfixture.h"
#include "support/allocations.h"
#include "support/onthreads.h"

using namespace std::string_literals;
using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
using testing::ElementsAre;

namespace {

class GetLogger : public NS_TEST::ManagerTest {
  protected:
    static std::vector<Logger*> AllLoggers() {
        std::vector<Logger*> all;
        Manager().Loggers().ForEach([&all](Logger& logger) { all.push_back(&logger); });
        return all;
    }
    static bool AreDifferent(std::vector<Logger*> loggers) {
        std::sort(loggers.begin(), loggers.end());
        return std::unique(loggers.begin(), loggers.end()) == loggers.end();
    }
};

TEST_F(GetLogger, GivesLoggersOfOneCategoryTheSameFile) {
    Logger* const one = Manager().GetLogger("a", "b", "corbaoper");
    Logger* const other = Manager().GetLogger("a", "c", "corbaoper");
    Logger* const elsewhere = Manager().GetLogger("a", "b", "corbasys");
    EXPECT_TRUE(AreDifferent({one, other, elsewhere}));
    EXPECT_EQ(one->Channel(), other->Channel());
    EXPECT_NE(one->Channel(), elsewhere->Channel());
    one->Log("f.cpp", "Run", 7, -1, "one");
    other->Log("f.cpp", "Run", 7, -1, "other");
    EXPECT_EQ(Files("corbaoper").size(), 1u);
    EXPECT_EQ(Written("corbaoper"), Frame(1, -1, "one") + Frame(2, -1, "other"));
}

TEST_F(GetLogger, KnowsExactlySevenCategories) {
    for (const char* category : kLogCategories) {
        Logger* const logger = Manager().GetLogger("a", "b", category);
        ASSERT_NE(logger, nullptr) << category;
        EXPECT_NE(logger->Channel(), nullptr) << category;
        EXPECT_EQ(logger->Category(), category);
    }
    for (const std::string& category :
         {"CorbaOper"s, "corba"s, ""s, "DEBUG"s, "debug "s, " debug"s, "debug_"s, "debug\0"s,
          "\0debug"s, "debug\0x"s, "corbaalarm"s}) {
        EXPECT_EQ(Manager().GetLogger("a", "b", category), nullptr) << category;
        EXPECT_TRUE(FinishesOnAnotherThread([] { EXPECT_NE(Debug(), nullptr); }));
    }
    EXPECT_EQ(AllLoggers().size(), 7u);
    EXPECT_TRUE(Diagnostics().Printed().empty());
}

// Joined, some of these pairs of names read the same.
TEST_F(GetLogger, ComparesNamesByteForByte) {
    std::vector<std::string> names = {""s,     "a"s,        "A"s,         "a "s,  " a"s,
                                      "aa"s,   "\xC3\xA4"s, "a\xCC\x88"s, "\0"s,  "a\0"s,
                                      "\0\0"s, "\0a"s,      "a\0b"s,      "a\0c"s};
    names.emplace_back(10'000, 'a');
    names.emplace_back(10'001, 'a');
    std::vector<Logger*> loggers;
    for (int turn = 0; turn < 2; ++turn) {
        size_t next = 0;
        for (const std::string& first : names) {
            for (const std::string& second : names) {
                Logger* const logger = Manager().GetLogger(first, second, "debug");
                EXPECT_EQ(logger->First(), first);
                EXPECT_EQ(logger->Second(), second);
                if (turn == 0) {
                    loggers.push_back(logger);
                } else {
                    EXPECT_EQ(logger, loggers[next++]);
                }
            }
        }
    }
    EXPECT_EQ(AllLoggers(), loggers);
    EXPECT_TRUE(AreDifferent(loggers));
}

TEST_F(GetLogger, KeepsCopiesOfTheNames) {
    std::string first = "first";
    std::string second = "second";
    std::string category = "debug";
    Logger* const logger = Manager().GetLogger(first, second, category);
    for (std::string* name : {&first, &second, &category}) {
        name->assign(name->size(), 'x');
    }
    EXPECT_EQ(Manager().GetLogger("first", "second", "debug"), logger);
    EXPECT_EQ(Manager().GetLogger(first, second, category), nullptr);
}

TEST_F(GetLogger, KeepsTenThousandLoggersInTheOrderOfTheirCreation) {
    const auto get = [](size_t number) {
        return Manager().GetLogger("bundle" + std::to_string(number * 7919 % 10'000), "service",
                                   kLogCategories[number % 7]);
    };
    std::vector<Logger*> made;
    for (size_t number = 0; number < 10'000; ++number) {
        made.push_back(get(number));
    }
    EXPECT_EQ(AllLoggers(), made);
    for (size_t number = 10'000; number-- > 0;) {
        ASSERT_EQ(get(number), made[number]);
    }
    EXPECT_EQ(AllLoggers(), made);
}

// The ninth logger makes the table of the names grow.
TEST_F(GetLogger, LeavesNothingBehindWhenMemoryRunsOut) {
    constexpr int kLoggers = 9;
    std::vector<Logger*> made;
    int failures = 0;
    while (made.size() < kLoggers) {
        const std::string name = std::to_string(made.size());
        Logger* logger = nullptr;
        for (long allocations = 0; logger == nullptr; ++allocations) {
            try {
                FailAllocationsAfter(allocations);
                logger = Manager().GetLogger("a", name, "debug");
                FailAllocationsAfter(-1);
            } catch (const std::bad_alloc&) {
                FailAllocationsAfter(-1);
                ++failures;
                EXPECT_EQ(AllLoggers(), made);
                EXPECT_EQ(Manager().EnableLogLevel("a", name, "debug", 1), 0);
                EXPECT_TRUE(
                    FinishesOnAnotherThread([] { Manager().Loggers().ForEach([](Logger&) {}); }));
            }
        }
        made.push_back(logger);
        EXPECT_EQ(AllLoggers(), made);
        EXPECT_EQ(Manager().GetLogger("a", name, "debug"), logger);
    }
    EXPECT_GT(failures, kLoggers);
}

// Names whose hashes are equal are told apart by comparing them.
TEST_F(GetLogger, TakesNamesForEqualOnlyWhenAllThreeTextsAre) {
    const LoggerName name{"a", "b", "debug"};
    EXPECT_TRUE((name == LoggerName{"a", "b", "debug"}));
    EXPECT_FALSE((name == LoggerName{"x", "b", "debug"}));
    EXPECT_FALSE((name == LoggerName{"a", "x", "debug"}));
    EXPECT_FALSE((name == LoggerName{"a", "b", "corbasys"}));
}

TEST_F(GetLogger, AgreesOnOneLoggerWhenManyThreadsAskForItFirst) {
    constexpr size_t kCallers = 8;
    constexpr size_t kNames = 200;
    std::array<std::vector<Logger*>, kCallers> shared;
    OnThreads(kCallers, [&shared](size_t number) {
        const std::string own = "own" + std::to_string(number);
        for (size_t i = 0; i < kNames; ++i) {
            const std::string name = std::to_string(i);
            shared[number].push_back(Manager().GetLogger("shared", name, kLogCategories[i % 7]));
            const Logger* const logger = Manager().GetLogger(own, name, "corbasys");
            EXPECT_EQ(logger->First(), own);
            EXPECT_EQ(logger->Second(), name);
            EXPECT_EQ(Manager().GetLogger("a", "b", "nonsense"), nullptr);
        }
    });
    for (const std::vector<Logger*>& found : shared) {
        EXPECT_EQ(found, shared[0]);
    }
    EXPECT_EQ(AllLoggers().size(), kNames + kCallers * kNames);
    EXPECT_TRUE(AreDifferent(AllLoggers()));
}

}  // namespace
