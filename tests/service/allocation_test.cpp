// The entry to the service when memory runs out.
#include <new>

#include "service/serviceobjectfixture.h"
#include "support/allocations.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
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

// The first round is also the platform's first use, of which it keeps something.
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
    Logger* const logger = LogMgr::Instance()->GetLogger("a", "b", "debug");
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
    for (const std::string& name : ListFiles(Path("log"))) {
        EXPECT_NO_THROW(ParseLogPieces(Path("log/" + name))) << "torn";
    }
}

}  // namespace
