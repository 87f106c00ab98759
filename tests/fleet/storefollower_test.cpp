// When what is stored behind a gap is shown.
#include "ask/storefollower.h"

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "ask/piecequery.h"
#include "fleet/storedrangesfixture.h"

namespace {

using namespace NS_TEST;
using NS_LOG_FLEET::StoreFollower;
using NS_LOG_READER::Matcher;
using NS_LOG_READER::Selection;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NoProblems : public NS_LOG_READER::ProblemListener {
  public:
    void Report(const std::string& path, int64_t, const std::string& text) override {
        ADD_FAILURE() << path << ": " << text;
    }
    void ReportUnread(const std::string& reason, uint64_t) override { ADD_FAILURE() << reason; }
};

class Following : public StoredRangesTest {
  protected:
    StoreFollower Follow(milliseconds longestGap) const {
        Connection connection(Target());
        connection.Run(NS_LOG_FLEET::kBeginOneMoment);
        return {Target(), std::move(connection), longestGap};
    }

    // How many records of the file stand in front of each one.
    static std::vector<uint64_t> TakeNew(StoreFollower& follower) {
        std::vector<uint64_t> taken;
        NoProblems problems;
        follower.TakeNew(Matcher(Selection()), problems, [&](const NS_LOG_READER::Found& found) {
            taken.push_back(found.record.offset / kSize);
        });
        return taken;
    }

    static constexpr milliseconds kShort{50};
};

TEST_F(Following, ShowsWhatIsBehindAGapWhenTheGapIsFilled) {
    StoreFollower follower = Follow(std::chrono::hours(1));
    Store(0, 1);
    EXPECT_THAT(TakeNew(follower), ElementsAre(0));
    Store(2, 1);
    EXPECT_THAT(TakeNew(follower), IsEmpty());
    Store(1, 1);
    EXPECT_THAT(TakeNew(follower), ElementsAre(1, 2));
}

TEST_F(Following, ShowsWhatIsBehindAGapThatHasLasted) {
    StoreFollower follower = Follow(kShort);
    Store(0, 1);
    Store(2, 1);
    EXPECT_THAT(TakeNew(follower), ElementsAre(0));
    std::this_thread::sleep_for(2 * kShort);
    EXPECT_THAT(TakeNew(follower), ElementsAre(2));
    Store(3, 1);
    EXPECT_THAT(TakeNew(follower), ElementsAre(3));
    Store(1, 1);
    EXPECT_THAT(TakeNew(follower), ElementsAre(1));
}

// That the file was quiet says nothing of a gap that was not there.
TEST_F(Following, WaitsForTheGapOfAFileThatWasQuiet) {
    StoreFollower follower = Follow(kShort);
    Store(0, 1);
    EXPECT_THAT(TakeNew(follower), ElementsAre(0));
    std::this_thread::sleep_for(2 * kShort);
    Store(2, 1);
    EXPECT_THAT(TakeNew(follower), IsEmpty());
    Store(1, 1);
    EXPECT_THAT(TakeNew(follower), ElementsAre(1, 2));
}

TEST_F(Following, WaitsForTheBeginningOfAFile) {
    StoreFollower follower = Follow(kShort);
    Store(1, 1);
    EXPECT_THAT(TakeNew(follower), IsEmpty());
    Store(0, 1);
    EXPECT_THAT(TakeNew(follower), ElementsAre(0, 1));
}

}  // namespace
