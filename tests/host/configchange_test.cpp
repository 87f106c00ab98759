// A configuration file that is changed while it is read.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <future>
#include <thread>

#include "host/configfixture.h"
#include "support/capturedoutput.h"

using NS_BUNDLEMGR1::NameValueStru;
using namespace testing;

namespace {

class ChangingConfig : public NS_TEST::ConfigTest {
  protected:
    // The items have been read before: whoever asks again wants to know of a change.
    ChangingConfig() { ItemsOf("a = 0\n"); }

    // The second of the file's modification time.
    time_t ChangedAt() const {
        struct stat status {};
        EXPECT_EQ(stat(file_.c_str(), &status), 0);
        return status.st_mtime;
    }
};

TEST_F(ChangingConfig, IsReadWhenTheSecondOfItsLastChangeIsOver) {
    NS_TEST::WriteFile(file_, "a = 1\n");
    EXPECT_THAT(AllItems(), ElementsAre(NameValueStru{"a", "1"}));
    EXPECT_GT(std::chrono::system_clock::now(),
              std::chrono::system_clock::from_time_t(ChangedAt() + 1));
}

TEST_F(ChangingConfig, IsSeenWithAllThatIsWrittenInThatSecond) {
    for (;;) {
        NS_TEST::WriteFile(file_, "a = 1\n");
        const time_t begun = ChangedAt();
        auto reading = std::async(std::launch::async, [] { return AllItems(); });
        std::ofstream(file_, std::ios::app) << "b = 2\n";
        const Items items = reading.get();
        if (ChangedAt() == begun) {  // else the writer was too slow for this test
            EXPECT_THAT(items, ElementsAre(NameValueStru{"a", "1"}, NameValueStru{"b", "2"}));
            return;
        }
    }
}

TEST_F(ChangingConfig, IsReadAtOnceWhenItsTimeLiesInTheFuture) {
    NS_TEST::WriteFile(file_, "a = 1\n");
    const auto future = std::filesystem::last_write_time(file_) + std::chrono::hours(1000);
    std::filesystem::last_write_time(file_, future);
    EXPECT_THAT(AllItems(), ElementsAre(NameValueStru{"a", "1"}));
    const struct timespec farAway[] = {{9999999999, 0}, {9999999999, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, file_.c_str(), farAway, 0), 0);
    EXPECT_THAT(AllItems(), ElementsAre(NameValueStru{"a", "1"}));
}

TEST_F(ChangingConfig, IsReadEvenIfTheChangesNeverEnd) {
    const auto past = std::filesystem::last_write_time(file_);
    std::atomic<int> changes{0};
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (; !done; ++changes) {
            std::filesystem::last_write_time(file_, past - std::chrono::seconds(changes));
        }
    });
    while (changes < 100) {
        EXPECT_THAT(AllItems(), ElementsAre(NameValueStru{"a", "0"}));
    }
    done = true;
    writer.join();
}

// Half a value must not be taken for the value.
TEST_F(ChangingConfig, IsNotReadInItsLastLineWhileThatHasNoEnd) {
    Write("a = 1\nb = 1");
    const NS_TEST::CapturedOutput errors(STDERR_FILENO);
    EXPECT_THAT(AllItems(), ElementsAre(NameValueStru{"a", "1"}));
    EXPECT_THAT(errors.Text(), HasSubstr(file_ + ":2: no newline at its end"));
    Write("a = 1\nb = 12\n");
    EXPECT_THAT(AllItems(), ElementsAre(NameValueStru{"a", "1"}, NameValueStru{"b", "12"}));
    Write("a");
    EXPECT_THAT(AllItems(), IsEmpty());
}

using ConfigWithoutNewline = NS_TEST::ConfigTest;

TEST_F(ConfigWithoutNewline, IsReadInItsLastLineWhenItNeverHadAnEnd) {
    EXPECT_THAT(ItemsOf("a = 1"), ElementsAre(NameValueStru{"a", "1"}));
    EXPECT_THAT(ItemsOf("a = 2"), ElementsAre(NameValueStru{"a", "2"}));
    EXPECT_THAT(ItemsOf(""), IsEmpty());
    EXPECT_THAT(ItemsOf("a = 3"), ElementsAre(NameValueStru{"a", "3"}));
}

}  // namespace
