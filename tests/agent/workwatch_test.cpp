// How the agent waits: for its end, for events, and for the work of its bundles.
#include "agent/workwatch.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include "support/allocations.h"
#include "support/pipe.h"

using namespace NS_TEST;

namespace {

using NS_REFERENCE_HOST::WorkingBundle;
using NS_REFERENCE_HOST::WorkWatch;

// Work that ends when the test says so.
class EndingWork : public WorkingBundle {
  public:
    explicit EndingWork(bool succeeds) : succeeds_(succeeds) {}

    std::string GetIFName() const override { return "EndingWork"; }
    bool IsValid() const override { return true; }
    int DoneDescriptor() const override { return done_.Reader(); }
    bool HasSucceeded() const override { return succeeds_; }

    void End() const { done_.Write("x"); }

  private:
    const bool succeeds_;
    Pipe done_;
};

// An event that the watch reacts to at once, and again when it happens again.
class Event {
  public:
    Event() : descriptor_(eventfd(0, EFD_CLOEXEC)) {}
    ~Event() { close(descriptor_); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    int Descriptor() const { return descriptor_; }
    void Happen() const { eventfd_write(descriptor_, 1); }
    void Take() const {
        eventfd_t count = 0;
        eventfd_read(descriptor_, &count);
    }

  private:
    const int descriptor_;
};

// An agent goes on when there is no memory for a while.
TEST(WorkWatch, NeedsNoMemoryToWaitAndToReact) {
    const Pipe stop;
    const Event event;
    const EndingWork first(true);
    const EndingWork second(true);
    WorkWatch watch(stop.Reader());
    watch.Add("first", first);
    watch.Add("second", second);
    int reactions = 0;
    watch.ReactTo(event.Descriptor(), [&] {
        event.Take();
        ++reactions;
        if (reactions == 2) {
            first.End();
            second.End();
        } else if (reactions == 4) {
            stop.Write("x");
        } else {
            event.Happen();
        }
    });
    event.Happen();
    FailAllocationsAfter(0);
    const bool worked = watch.WaitForWork();
    event.Happen();
    watch.WaitForStop();
    FailAllocationsAfter(-1);
    EXPECT_TRUE(worked);
    EXPECT_FALSE(watch.IsPending());
    EXPECT_FALSE(watch.HasFailed());
    EXPECT_EQ(reactions, 4);
}

TEST(WorkWatch, TellsThatAPieceOfWorkHasFailed) {
    const Pipe stop;
    const EndingWork good(true);
    const EndingWork bad(false);
    WorkWatch watch(stop.Reader());
    watch.Add("bad", bad);
    watch.Add("good", good);
    bad.End();
    good.End();
    EXPECT_TRUE(watch.WaitForWork());
    EXPECT_TRUE(watch.HasFailed());
    EXPECT_FALSE(watch.IsPending());
}

TEST(WorkWatch, EndsWithAnOrderToStopAlthoughWorkIsPending) {
    const Pipe stop;
    const EndingWork work(false);
    WorkWatch watch(stop.Reader());
    watch.Add("work", work);
    work.End();
    stop.Write("x");
    EXPECT_FALSE(watch.WaitForWork());
    EXPECT_TRUE(watch.IsPending());
    EXPECT_FALSE(watch.HasFailed());
}

TEST(WorkWatch, TellsOfWorkThatHadEndedWhenTheOrderToStopCameOrHasSince) {
    const Pipe stop;
    const EndingWork bad(false);
    const EndingWork endless(false);
    WorkWatch watch(stop.Reader());
    watch.Add("bad", bad);
    watch.Add("endless", endless);
    stop.Write("x");
    EXPECT_FALSE(watch.WaitForWork());
    watch.TakeOutEnded();
    EXPECT_FALSE(watch.HasFailed()) << "it is still going on";
    bad.End();
    watch.TakeOutEnded();
    EXPECT_TRUE(watch.HasFailed());
    EXPECT_TRUE(watch.IsPending()) << "the other one is";
}

}  // namespace
