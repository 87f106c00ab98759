// The manager's beginning and end.
#include <functional>
#include <future>
#include <set>

#include "manager/managerfixture.h"
#include "support/onthreads.h"

using NS_LOG_SERVICE1::LogMgr;
using NS_TEST::Frame;

namespace {

constexpr const char* kClosedLine = "\nFile close at STAMP.\n";

// A logger that calls `onEnd` when it is deleted.
class EndingLogger : public NS_LOG_SERVICE1::Logger {
  public:
    EndingLogger(const std::string& first, std::function<void(const std::string&)> onEnd)
        : Logger(first, "", "debug", *LogMgr::Instance(), LogMgr::Instance()->Channels()),
          onEnd_(std::move(onEnd)) {}
    ~EndingLogger() override { onEnd_(First()); }

  private:
    std::function<void(const std::string&)> onEnd_;
};

class Lifecycle : public NS_TEST::BareManagerTest {
  protected:
    static void Log(const std::string& category, int level, const std::string& text) {
        Manager().GetLogger("a", "b", category)->Log("f.cpp", "Run", 7, level, text);
    }

    static void AddEnding(const std::string& first,
                          const std::function<void(const std::string&)>& onEnd) {
        Manager().Loggers().FindOrAdd({first, "", "debug"},
                                      [&] { return std::make_unique<EndingLogger>(first, onEnd); });
    }
};

TEST_F(Lifecycle, BeginsWithTheFirstUseAndEndsOnce) {
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    LogMgr* const manager = LogMgr::Instance();
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(LogMgr::Instance(), manager);
    EXPECT_EQ(LogMgr::InstanceIfAny(), manager);
    for (int end = 0; end < 2; ++end) {
        LogMgr::DestroyInstance();
        EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    }
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
}

TEST_F(Lifecycle, BeginsAnewAfterItsEnd) {
    for (int life = 0; life < 2; ++life) {
        EXPECT_EQ(Manager().queuebuflength, 16384u);
        EXPECT_EQ(Manager().levelSwitches.Get().to_ulong(), 0u);
        int left = 0;
        Manager().Loggers().ForEach([&left](NS_LOG_SERVICE1::Logger&) { ++left; });
        Manager().Channels().ForEach(
            [&left](const std::string&, NS_LOG_SERVICE1::TEDebugInfoBuf&) { ++left; });
        EXPECT_EQ(left, 0);

        Manager().queuebuflength = 2;
        Manager().levelSwitches = NS_LOG_SERVICE1::LevelSwitches(15);
        Manager().CreateChannels();
        Log("debug", -1, "text");
        EXPECT_THAT(Written("debug"), testing::EndsWith(Frame(1, -1, "text")));
        LogMgr::DestroyInstance();
        EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    }
}

// A channel is written out once more at its end, and that opens its file where there is none yet.
// What is still kept back is lost.
TEST_F(Lifecycle, WritesQueuedRecordsAndClosesAFileOfEachChannel) {
    Manager().CreateChannels();
    Manager().outputmode = 1;
    Log("debug", -1, "first");
    Log("debug", 1, "kept back");
    Log("debug", -1, "second");
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    LogMgr::DestroyInstance();
    EXPECT_EQ(NS_TEST::ListFiles(Path("log")).size(), 7u);
    EXPECT_EQ(Written("debug"), Frame(1, -1, "first") + Frame(2, -1, "second") + kClosedLine);
    EXPECT_EQ(Written("corba_alarm"), kClosedLine);
}

// Under the lock of the process, so that nobody begins a new life meanwhile.
TEST_F(Lifecycle, DeletesTheLoggersFrontToBackOnceTheFilesAreClosed) {
    Manager().CreateChannels();
    Manager().outputmode = 1;
    Log("debug", -1, "queued");
    std::vector<std::string> gone;
    for (const char* first : {"one", "two", "three"}) {
        AddEnding(first, [&](const std::string& name) {
            gone.push_back(name);
            EXPECT_EQ(Written("debug"), Frame(1, -1, "queued") + kClosedLine) << name;
            EXPECT_EQ(std::async(std::launch::async,
                                 [] { return NS_LOG_SERVICE1::StaticObjectLock()->tryacquire(); })
                          .get(),
                      -1);
        });
    }
    LogMgr::DestroyInstance();
    EXPECT_THAT(gone, testing::ElementsAre("one", "two", "three"));
    EXPECT_TRUE(NS_TEST::EndsOnAnotherThread([] { LogMgr::Instance(); }));
}

TEST_F(Lifecycle, BeginsOnceForManyThreads) {
    for (int round = 0; round < 50; ++round) {
        LogMgr::DestroyInstance();
        std::vector<LogMgr*> seen(8);
        NS_TEST::OnThreads(seen.size(), [&](size_t thread) { seen[thread] = LogMgr::Instance(); });
        EXPECT_EQ(std::set<LogMgr*>(seen.begin(), seen.end()),
                  std::set<LogMgr*>{LogMgr::InstanceIfAny()});
    }
}

}  // namespace
