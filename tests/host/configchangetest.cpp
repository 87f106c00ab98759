// A configuration file that is changed while it is read.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <future>
#include <set>
#include <thread>

#include "host/configfixture.h"

using NS_BUNDLEMGR1::NameValueStru;
using testing::AnyOf;
using testing::ElementsAre;

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

// Each reading sees one of the files and no mixture.
TEST_F(ChangingConfig, IsReplacedAsAWholeByRenaming) {
    const auto past = std::filesystem::last_write_time(file_);
    const std::string filler = "\nfiller = " + std::string(100000, 'x') + "\n";
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int change = 1; !done; ++change) {
            const std::string value = std::to_string(change);
            NS_TEST::WriteFile(file_ + ".new", "a = " + value + filler + "b = " + value + "\n");
            std::filesystem::last_write_time(file_ + ".new", past - std::chrono::seconds(change));
            std::filesystem::rename(file_ + ".new", file_);
        }
    });
    std::set<std::string> seen;
    while (seen.size() < 50) {
        const Items items = AllItems();
        EXPECT_THAT(items.size(), AnyOf(1U, 3U));
        EXPECT_EQ(items.front().value, items.size() == 1 ? "0" : items.back().value);
        seen.insert(items.front().value);
    }
    done = true;
    writer.join();
}

}  // namespace
