// The agent's configuration items: when they are read and how they are looked up.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <future>
#include <optional>
#include <thread>

#include "bundlemgr/processexception.h"
#include "host/configfixture.h"
#include "platform/hostcontrol.h"
#include "support/onthreads.h"
#include "support/pipe.h"
#include "support/scriptedconfigitems.h"
#include "support/waiting.h"

using NS_BUNDLEMGR1::CorbaConfigItems;
using NS_BUNDLEMGR1::GetValByKey;
using NS_BUNDLEMGR1::InterfaceNotExistException;
using testing::ElementsAre;
using Item = NS_BUNDLEMGR1::NameValueStru;

namespace {

class ConfigItems : public NS_TEST::ConfigTest {
  protected:
    static constexpr int kUntouched = 4711;

    // The number that an item with this value gives, or kUntouched.
    int NumberOf(const std::string& text) const {
        ItemsOf("number = " + text + "\n");
        int value = kUntouched;
        const bool found = Store().GetIntItemInfo("number", value);
        EXPECT_EQ(found, value != kUntouched) << text;
        return value;
    }

    // The text of an item, if there is one; otherwise nothing may be changed.
    static std::optional<std::string> TextOf(const std::string& name) {
        std::string text = "untouched";
        if (Store().GetStrItemInfo(name, text)) {
            return text;
        }
        EXPECT_EQ(text, "untouched");
        return std::nullopt;
    }
};

// Needs a process of its own: there is one first use in each.
TEST_F(ConfigItems, AreReadOnFirstUseAndStayAsTheyWereUntilAllAreAskedFor) {
    Write("a = 1\nb = text\n");
    int number = 0;
    EXPECT_TRUE(Store().GetIntItemInfo("a", number));
    EXPECT_EQ(number, 1);
    EXPECT_EQ(TextOf("b"), "text");
    Write("a = 2\n");
    EXPECT_EQ(TextOf("a"), "1");
    EXPECT_THAT(AllItems(), ElementsAre(Item{"a", "2"}));
    EXPECT_EQ(TextOf("a"), "2");
}

TEST_F(ConfigItems, AreGoneWithTheirFile) {
    ItemsOf("a = 1\n");
    std::filesystem::remove(file_);
    std::vector<Item> items = {{"old", "item"}};
    Store().GetCorbaConfigItems(items);
    EXPECT_TRUE(items.empty());
    EXPECT_EQ(TextOf("a"), std::nullopt);
}

TEST_F(ConfigItems, FollowTheShareDirectory) {
    ItemsOf("a = 1\n");
    const NS_TEST::TemporaryDirectory other;
    NS_TEST::WriteFile(other.Path("conf/corba_agent.cfg"), "a = 2\n");
    share_.Set(other.Path() + "/");
    EXPECT_THAT(AllItems(), ElementsAre(Item{"a", "2"}));
}

TEST_F(ConfigItems, AreWholeDecimalNumbersOrNone) {
    const std::pair<const char*, int> numbers[] = {{"0", 0},
                                                   {"-1", -1},
                                                   {"+12", 12},
                                                   {"007", 7},
                                                   {"2147483647", 2147483647},
                                                   {"-2147483648", -2147483647 - 1}};
    for (const auto& [text, number] : numbers) {
        EXPECT_EQ(NumberOf(text), number);
    }
    for (const char* text : {"", "+", "-", "+-1", "--1", "1x", "x1", "1 2", "0x10", "1.0", "1e3",
                             "2147483648", "-2147483649", "99999999999999999999", "1,1,1,1"}) {
        EXPECT_EQ(NumberOf(text), kUntouched) << text;
    }
}

TEST_F(ConfigItems, LeaveTheValueAloneWhenTheyAreMissing) {
    int number = kUntouched;
    EXPECT_FALSE(Store().GetIntItemInfo("missing", number));
    EXPECT_EQ(number, kUntouched);
    EXPECT_EQ(TextOf("missing"), std::nullopt);
}

TEST_F(ConfigItems, AreOutOfReachWhenTheFileIsNone) {
    std::filesystem::create_directories(file_);
    try {
        AllItems();
        FAIL() << "nothing was raised";
    } catch (const InterfaceNotExistException& caught) {
        EXPECT_THAT(caught.GetDescription(), testing::HasSubstr(file_));
        EXPECT_EQ(caught.GetCode(), static_cast<uint32_t>(EISDIR));
    }
    std::filesystem::remove(file_);
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    EXPECT_THROW(AllItems(), InterfaceNotExistException);
}

// The memory of a process is a regular file that can be opened, but not read from its start.
TEST_F(ConfigItems, StayAsTheyWereWhenAReadingFails) {
    ItemsOf("a = 1\n");
    std::filesystem::remove(file_);
    std::filesystem::create_symlink("/proc/self/mem", file_);
    std::vector<Item> items = {{"old", "item"}};
    EXPECT_THROW(Store().GetCorbaConfigItems(items), InterfaceNotExistException);
    EXPECT_THAT(items, ElementsAre(Item{"old", "item"}));
    EXPECT_EQ(TextOf("a"), "1");
}

// Standard error is a pipe that nobody reads, and full.
TEST_F(ConfigItems, AreThereWhileTheReportOfABrokenLineWaits) {
    ItemsOf("a = 1\n");
    Write("a = 2\nbroken\n");
    NS_TEST::Pipe pipe;
    ASSERT_EQ(fcntl(pipe.Writer(), F_SETFL, O_NONBLOCK), 0);
    while (write(pipe.Writer(), "\n", 1) == 1) {
    }
    ASSERT_EQ(fcntl(pipe.Writer(), F_SETFL, 0), 0);
    const int saved = dup(STDERR_FILENO);
    ASSERT_GE(dup2(pipe.Writer(), STDERR_FILENO), 0);
    auto reading = std::async(std::launch::async, [] { return AllItems(); });
    EXPECT_TRUE(NS_TEST::FinishesOnAnotherThread([] {
        while (TextOf("a") != "2") {
            std::this_thread::yield();
        }
    }));
    std::string waited;
    pipe.ReadTo(waited);
    EXPECT_THAT(waited, testing::Not(testing::HasSubstr("skipped")));
    EXPECT_THAT(reading.get(), ElementsAre(Item{"a", "2"}));
    std::string report;
    pipe.ReadTo(report);
    EXPECT_THAT(report, testing::HasSubstr(":2: no '=', the line is skipped"));
    dup2(saved, STDERR_FILENO);
    close(saved);
}

TEST_F(ConfigItems, OfOneReadingBelongTogether) {
    Write("first = 0\nsecond = 0\n");
    const auto past = std::filesystem::last_write_time(file_);
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (int round = 0; !stop; ++round) {
            const std::string value = std::to_string(round);
            NS_TEST::WriteFile(Path("new"), "first = " + value + "\nsecond = " + value + "\n");
            std::filesystem::last_write_time(Path("new"), past - std::chrono::seconds(round));
            std::filesystem::rename(Path("new"), file_);
        }
    });
    NS_TEST::OnThreads(3, [](int) {
        for (int round = 0; round < 300; ++round) {
            const Items items = AllItems();
            ASSERT_EQ(items.size(), 2u);
            EXPECT_EQ(items[0].value, items[1].value);
            EXPECT_TRUE(TextOf("first"));
        }
    });
    stop = true;
    writer.join();
}

TEST_F(ConfigItems, ComeFromAnotherStoreWhenTheProcessChoosesOne) {
    CorbaConfigItems* const fileItems = CorbaConfigItems::Instance();
    NS_TEST::ScriptedConfigItems fixed;
    fixed.Set("a", "fixed");
    NS_REFERENCE_HOST::SetConfigItems(&fixed);
    EXPECT_EQ(CorbaConfigItems::Instance(), &fixed);
    EXPECT_THAT(AllItems(), ElementsAre(Item{"a", "fixed"}));
    NS_REFERENCE_HOST::SetConfigItems(nullptr);
    EXPECT_EQ(CorbaConfigItems::Instance(), fileItems);
}

TEST(ItemLookup, FindsTheLastOfEqualNamesOrLeavesTheValueAlone) {
    std::string value = "untouched";
    EXPECT_FALSE(GetValByKey(value, "a", {{"A", "1"}, {"", "2"}}));
    EXPECT_FALSE(GetValByKey(value, "a", {}));
    EXPECT_EQ(value, "untouched");
    EXPECT_TRUE(GetValByKey(value, "a", {{"a", "1"}, {"b", "2"}, {"a", "3"}, {"ab", "4"}}));
    EXPECT_EQ(value, "3");
}

}  // namespace
