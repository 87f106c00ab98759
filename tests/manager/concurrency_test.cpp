// Many threads that log into all categories at once while everything else changes.
#include <algorithm>
#include <atomic>
#include <map>

#include "manager/managerfixture.h"
#include "support/onthreads.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 60;

class ManyThreads : public NS_TEST::BareManagerTest {
  protected:
    // The details of each thread's records, by the file that they name and the thread.
    using Details = std::map<std::string, std::vector<std::string>>;

    ManyThreads() {
        Manager().filterbuflength = 3 * kThreads * kRounds;
        Manager().queuebuflength = 50;
        Manager().levelSwitches = LevelSwitches(0b0011);
        Manager().CreateChannels();
    }

    // Of a length that differs from record to record.
    static std::string DetailOf(int round) {
        return std::to_string(round) + std::string(static_cast<size_t>(round * 13 % 300), 'x');
    }

    static void LogRound(const std::string& thread, int round, const char* category) {
        LoggerIF* const logger = Manager().GetLogger(thread, std::to_string(round % 20), category);
        logger->Log("either", thread, 7, 1, DetailOf(2 * round));
        logger->Log("kept", thread, 7, 2, DetailOf(round));
        logger->LogFormat("written", thread, 7, -1, "%s", DetailOf(2 * round + 1).c_str());
        if (round % 10 == 5) {
            logger->Log("trigger", thread, 7, 0, DetailOf(round));
        }
    }

    // What happens again and again while the threads log.
    static void Change(unsigned int round) {
        Manager().outputmode = round / 2 % 2;
        Manager().SwitchLevel(1, round % 2 == 1);
        if (round % 3 == 0) {
            Manager().FlushAll();
        }
        if (round % 5 == 0) {
            Manager().Channels().ForEach(
                [](const std::string&, TEDebugInfoBuf& channel) { channel.OutputAll(); });
        }
    }

    static Details ExpectedDetails() {
        Details expected;
        for (int number = 0; number < kThreads; ++number) {
            const std::string thread = std::to_string(number);
            for (int round = 0; round < kRounds; ++round) {
                expected["either " + thread].push_back(DetailOf(2 * round));
                expected["kept " + thread].push_back(DetailOf(round));
                expected["written " + thread].push_back(DetailOf(2 * round + 1));
                if (round % 10 == 5) {
                    expected["trigger " + thread].push_back(DetailOf(round));
                }
            }
        }
        return expected;
    }

    // Those in the files of the category, whose numbers must have no gap.
    Details FoundDetails(const std::string& category) const {
        Details found;
        uint64_t number = 0;
        for (const ParsedPiece& piece : ParseLogPieces(Path("log/" + Files(category).front()))) {
            if (piece.kind != ParsedPiece::RECORD && piece.kind != ParsedPiece::DUMP) {
                continue;
            }
            EXPECT_EQ(piece.number, ++number);
            std::vector<ParsedRecord> records = piece.dumped;
            records.push_back(piece.record);
            for (const ParsedRecord& record : records) {
                if (record.line == "7") {
                    EXPECT_TRUE((record.file == "trigger") == (record.level == 0));
                    found[record.file + " " + record.function].push_back(record.detail);
                }
            }
        }
        return found;
    }
};

// The order of each thread's records is not looked at: those that were kept back come later.
TEST_F(ManyThreads, LoseNothingTearNothingAndRepeatNothingWhateverIsSwitched) {
    std::atomic<int> running{kThreads};
    OnThreads(kThreads + 1, [&running](int number) {
        if (number == kThreads) {
            for (unsigned int round = 0; running > 0; ++round) {
                Change(round);
            }
            return;
        }
        for (int round = 0; round < kRounds; ++round) {
            for (const char* category : kLogCategories) {
                LogRound(std::to_string(number), round, category);
            }
        }
        --running;
    });
    // Brings out what is still kept back.
    for (const char* category : kLogCategories) {
        Manager().GetLogger("last", "", category)->Log("f", "last", 0, 0, "end");
    }
    LogMgr::DestroyInstance();
    for (const char* category : kLogCategories) {
        ASSERT_EQ(Files(category).size(), 1u);
        Details found = FoundDetails(category);
        EXPECT_EQ(found.size(), 4u * kThreads);
        for (auto [key, expected] : ExpectedDetails()) {
            std::sort(expected.begin(), expected.end());
            std::sort(found[key].begin(), found[key].end());
            EXPECT_TRUE(found[key] == expected)
                << category << ", " << key << ": " << found[key].size() << " records";
        }
    }
}

}  // namespace
