// Two threads that reach the place of a call for the first time.
#include <gtest/gtest.h>

#include <thread>

#include "manager/managerfixture.h"
#include "qv_base_log/logmacros.h"
#include "support/allocations.h"
#include "support/recordinglogger.h"

namespace {

using namespace NS_LOG_SERVICE1;

// Remembers where the name of the file stood.
class SiteLogger : public NS_TEST::RecordingLogger {
  public:
    using RecordingLogger::RecordingLogger;
    void Log(const std::string& file, const std::string& /*function*/, unsigned int /*line*/,
             int /*level*/, const std::string& /*text*/) override {
        name = file;
        place = &file;
    }
    std::string name;
    const std::string* place = nullptr;
};

class CallSite : public NS_TEST::ManagerTest {
  protected:
    SiteLogger first_{"a", "b", "debug", Manager(), Manager().Channels()};
    SiteLogger second_{"a", "c", "debug", Manager(), Manager().Channels()};
};

void LogHere(LoggerIF* logger, const std::string& text) {
    QV_LOG(logger, 1, text);
}

// A lock would be held for ever in a child that is forked while another thread of the parent is
// here.
TEST_F(CallSite, IsNotLockedWhileAnotherThreadReachesItForTheFirstTime) {
    const std::string text = "text";
    std::thread first([this, &text] {
        NS_TEST::HoldNextAllocation();
        LogHere(&first_, text);
    });
    while (!NS_TEST::IsAllocationHeld()) {
        std::this_thread::yield();
    }
    LogHere(&second_, text);
    EXPECT_EQ(second_.name, "callsite_test.cpp");
    NS_TEST::ReleaseAllocation();
    first.join();
    EXPECT_EQ(first_.name, "callsite_test.cpp");
    EXPECT_EQ(first_.place, second_.place);
}

}  // namespace
