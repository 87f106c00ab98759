// The manager's beginning and end.
#include <pthread.h>

#include <functional>
#include <future>
#include <new>
#include <set>
#include <thread>

#include "manager/managerfixture.h"
#include "support/allocations.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;

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

TEST_F(Lifecycle, BeginsAnewAfterItsEnd) {
    for (int life = 0; life < 2; ++life) {
        EXPECT_EQ(Manager().queuebuflength, 16384u);
        EXPECT_EQ(Manager().levelSwitches.Get().to_ulong(), 0u);
        int left = 0;
        Manager().Loggers().ForEach([&left](Logger&) { ++left; });
        Manager().Channels().ForEach([&left](const std::string&, TEDebugInfoBuf&) { ++left; });
        EXPECT_EQ(left, 0);

        Manager().queuebuflength = 2;
        Manager().levelSwitches = LevelSwitches(15);
        Manager().CreateChannels();
        Log("debug", -1, "text");
        EXPECT_THAT(Written("debug"), testing::EndsWith(Frame(1, -1, "text")));
        LogMgr::DestroyInstance();
        EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    }
}

TEST_F(Lifecycle, CreatesTheChannelsInAFixedOrderDebugFirst) {
    std::set<size_t> counts;
    bool done = false;
    for (long allocations = 0; !done; ++allocations) {
        Manager();
        FailAllocationsAfter(allocations);
        try {
            Manager().CreateChannels();
            done = true;
        } catch (const std::bad_alloc&) {  // leaves those that are made
        }
        FailAllocationsAfter(-1);
        std::set<std::string> made;
        Manager().Channels().ForEach(
            [&made](const std::string& category, TEDebugInfoBuf&) { made.insert(category); });
        const auto end = kLogCategories.begin() + static_cast<ptrdiff_t>(made.size());
        EXPECT_EQ(made, std::set<std::string>(kLogCategories.begin(), end));
        counts.insert(made.size());
        LogMgr::DestroyInstance();
    }
    EXPECT_EQ(counts.size(), kLogCategories.size() + 1) << "each channel takes memory";
}

// A thread that ended in a destructor would end the process.
TEST_F(Lifecycle, IsEndedWholeByAThreadThatIsCancelled) {
    Manager().CreateChannels();
    Log("debug", -1, "text");
    std::thread([] {
        ::pthread_cancel(::pthread_self());
        LogMgr::DestroyInstance();
    }).join();
    EXPECT_THAT(Written("debug"), testing::EndsWith(kClosedLine));
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
            EXPECT_EQ(
                std::async(std::launch::async, [] { return StaticObjectLock()->tryacquire(); })
                    .get(),
                -1);
        });
    }
    LogMgr::DestroyInstance();
    EXPECT_THAT(gone, testing::ElementsAre("one", "two", "three"));
    EXPECT_TRUE(FinishesOnAnotherThread([] { LogMgr::Instance(); }));
}

}  // namespace
