// The entry to the service when memory runs out.
#include <new>

#include "service/serviceobjectfixture.h"
#include "support/allocations.h"

using NS_LOG_SERVICE1::LogMgr;
using NS_LOG_SERVICE1::qv_base_log;
using NS_TEST::FailAllocationsAfter;
using NS_TEST::ListedObjects;
using NS_TEST::LiveAllocations;
using NS_TEST::Registered;
using testing::IsEmpty;

namespace {

class OutOfMemory : public NS_TEST::ServiceObjectTest {
  protected:
    // Calls the factory when so many allocations succeed. Null when it threw.
    qv_base_log* MakeWith(long successes) {
        gobbler_ = nullptr;
        qv_base_log* object = nullptr;
        FailAllocationsAfter(successes);
        try {
            object = Make();
        } catch (const std::bad_alloc&) {
        }
        FailAllocationsAfter(-1);
        return object;
    }
};

// The first round is also the platform's first use, of which it keeps
// something.
TEST_F(OutOfMemory, PassesOutOfTheFactoryAndLeavesNothingBehind) {
    for (const bool first : {true, false}) {
        long successes = 0;
        qv_base_log* object = nullptr;
        for (; object == nullptr; ++successes) {
            SCOPED_TRACE(successes);
            const long before = LiveAllocations();
            object = MakeWith(successes);
            EXPECT_NE(gobbler_, nullptr);
            if (object == nullptr) {
                EXPECT_TRUE(first || LiveAllocations() == before);
                EXPECT_THAT(ListedObjects(), IsEmpty());
                EXPECT_THAT(Registered(), IsEmpty());
            }
            ASSERT_LT(successes, 1000);
        }
        EXPECT_GT(successes, 2) << "object, interface and registration take memory";
        EXPECT_THAT(Registered(), testing::ElementsAre(object->GetInterface()));
        EXPECT_EQ(object->init(0, nullptr), 0);
        End(object);
    }
}

TEST_F(OutOfMemory, LeavesAServiceThatCanBeEndedWhereverItsStartFails) {
    int failures = 0;
    int result = -1;
    for (long successes = 0; result != 0; ++successes) {
        qv_base_log* const object = Make();
        FailAllocationsAfter(successes);
        try {
            result = object->init(0, nullptr);
        } catch (const std::bad_alloc&) {
            ++failures;
        }
        FailAllocationsAfter(-1);
        End(object);
        EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
        EXPECT_THAT(Registered(), IsEmpty());
        EXPECT_THAT(ListedObjects(), IsEmpty());
        ASSERT_LT(successes, 10'000);
    }
    EXPECT_GT(failures, 7) << "each channel takes memory";
}

TEST_F(OutOfMemory, PassesOutOfALogCallAndLeavesTheLoggerUsable) {
    LogMgr::Instance()->CreateChannels();
    NS_LOG_SERVICE1::Logger* const logger = LogMgr::Instance()->GetLogger("a", "b", "debug");
    logger->EnableLevel(0);
    const std::string file(100, 'f');
    const std::string text(100, 't');
    for (const uint32_t mode : {0u, 1u}) {
        LogMgr::Instance()->outputmode = mode;
        for (const int level : {-2, -1, 0, 1, 3}) {
            bool failed = true;
            for (long successes = 0; failed; ++successes) {
                FailAllocationsAfter(successes);
                failed = false;
                try {
                    logger->Log(file, file, 7, level, text);
                    logger->LogFormat(file, file, 7, level, "%s", text.c_str());
                } catch (const std::bad_alloc&) {
                    failed = true;
                }
                FailAllocationsAfter(-1);
                logger->Log(file, file, 7, -1, "still there");
                ASSERT_LT(successes, 1000);
            }
        }
    }
    LogMgr::Instance()->FlushAll();
    for (const std::string& name : NS_TEST::ListFiles(Path("log"))) {
        EXPECT_NO_THROW(NS_TEST::ParseLogPieces(Path("log/" + name))) << "torn";
    }
}

TEST_F(OutOfMemory, PassesOutOfGetLoggerAndLeavesTheListUsable) {
    LogMgr::Instance()->CreateChannels();
    const std::string name(100, 'n');
    NS_LOG_SERVICE1::Logger* logger = nullptr;
    for (long successes = 0; logger == nullptr; ++successes) {
        FailAllocationsAfter(successes);
        try {
            logger = LogMgr::Instance()->GetLogger(name, name, "debug");
        } catch (const std::bad_alloc&) {
        }
        FailAllocationsAfter(-1);
        if (logger == nullptr) {
            EXPECT_EQ(LogMgr::Instance()->EnableLogLevel(name, name, "debug", 1), 0);
            int loggers = 0;
            LogMgr::Instance()->Loggers().ForEach([&](NS_LOG_SERVICE1::Logger&) { ++loggers; });
            EXPECT_EQ(loggers, 0) << "at allocation " << successes;
        }
        ASSERT_LT(successes, 1000);
    }
    EXPECT_EQ(LogMgr::Instance()->GetLogger(name, name, "debug"), logger);
    EXPECT_EQ(LogMgr::Instance()->EnableLogLevel(name, name, "debug", 1), 1);
}

}  // namespace
