// What the agent tells from the channels' books.
#include "agent/channelwatch.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace {

using NS_LOG_SERVICE1::ChannelBooks;
using NS_REFERENCE_HOST::ChannelWatch;
using namespace std::chrono_literals;
using namespace testing;

class WatchedChannel : public Test {
  protected:
    WatchedChannel() {
        books_.category = "corbaoper";
        books_.currentFileInPlace = true;
    }

    // What is told at a look after this time.
    std::vector<std::string> TellAfter(std::chrono::seconds time) {
        told_.clear();
        now_ += time;
        watch_.Look({books_}, now_);
        return told_;
    }

    void Fail() {
        books_.failing = true;
        books_.failures += 1;
        books_.recordsDropped += 7;
        books_.lastError = ENOSPC;
        books_.lastErrorFile = "/log/x.log";
    }

    ChannelBooks books_{};

  private:
    std::vector<std::string> told_;
    ChannelWatch watch_{[this](const std::string& text) { told_.push_back(text); }};
    ChannelWatch::Clock::time_point now_;

  protected:
    bool HasLost() const { return watch_.HasLost(); }
};

TEST_F(WatchedChannel, IsNotMentionedWhileItIsWell) {
    EXPECT_THAT(TellAfter(1s), IsEmpty());
    books_.recordsWritten = books_.recordsReceived = 100;
    books_.recordsEvicted = 5;
    EXPECT_THAT(TellAfter(10h), IsEmpty());
    EXPECT_FALSE(HasLost()) << "what is evicted is no loss";
}

TEST_F(WatchedChannel, IsToldOfWhenItFailsEachHourAndWhenItHasRecovered) {
    Fail();
    EXPECT_THAT(TellAfter(1s), ElementsAre("corbaoper cannot be written: /log/x.log: No space left "
                                           "on device; 7 records lost so far"));
    EXPECT_TRUE(HasLost());
    Fail();
    EXPECT_THAT(TellAfter(1s), IsEmpty());
    EXPECT_THAT(TellAfter(3598s), IsEmpty());
    EXPECT_THAT(TellAfter(1s), ElementsAre("corbaoper still cannot be written, for 1 hours: "
                                           "/log/x.log: No space left on device; 14 records lost "
                                           "so far"));
    EXPECT_THAT(TellAfter(3599s), IsEmpty());
    EXPECT_THAT(TellAfter(1s), ElementsAre(HasSubstr("for 2 hours")));
    books_.failing = false;
    EXPECT_THAT(TellAfter(1s), ElementsAre("corbaoper is written again; 14 records lost so far"));
    EXPECT_THAT(TellAfter(5h), IsEmpty());
    Fail();
    EXPECT_THAT(TellAfter(1s), ElementsAre(HasSubstr("21 records lost so far")));
}

TEST_F(WatchedChannel, IsToldOfWhenItFailedAndRecoveredBetweenTwoLooks) {
    Fail();
    books_.failing = false;
    EXPECT_THAT(TellAfter(1s),
                ElementsAre(HasSubstr("cannot be written"), HasSubstr("is written again")));
    EXPECT_THAT(TellAfter(1s), IsEmpty());
}

TEST_F(WatchedChannel, IsToldOfAtMostOnceAnHourWhenFilesAreEmptied) {
    books_.recordsOverwritten = 3;
    EXPECT_THAT(TellAfter(1s), ElementsAre("corbaoper: a file was emptied because its name came "
                                           "round; 3 records lost so far"));
    EXPECT_TRUE(HasLost());
    books_.recordsOverwritten = 5;
    EXPECT_THAT(TellAfter(3599s), IsEmpty());
    EXPECT_THAT(TellAfter(1s), ElementsAre(HasSubstr("5 records lost so far")));
    EXPECT_THAT(TellAfter(2h), IsEmpty());
}

}  // namespace
