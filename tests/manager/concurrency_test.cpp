// Many threads that log into all categories at once.
#include <algorithm>
#include <atomic>
#include <map>

#include "manager/managerfixture.h"
#include "support/onthreads.h"

using NS_LOG_SERVICE1::kLogCategories;
using NS_LOG_SERVICE1::LogMgr;
using NS_LOG_SERVICE1::TEDebugInfoBuf;
using NS_TEST::ParsedPiece;
using NS_TEST::ParsedRecord;

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 60;

// What happens again and again while the threads log.
struct Circumstance {
    const char* name;
    uint32_t outputmode;
    void (*change)(LogMgr& manager, unsigned round);  // null where nothing changes
};

std::ostream& operator<<(std::ostream& out, const Circumstance& circumstance) {
    return out << circumstance.name;
}

const Circumstance kCircumstances[] = {
    {"Direct", 0, nullptr},
    {"Queued", 1, nullptr},
    {"ChangingOutputMode", 0,
     [](LogMgr& manager, unsigned round) {
         manager.outputmode = round % 2;
         manager.FlushAll();
     }},
    {"ChangingLevels", 0,
     [](LogMgr& manager, unsigned round) { manager.SwitchLevel(1, round % 2 == 1); }},
    {"Dumps", 1,
     [](LogMgr& manager, unsigned round) {
         manager.SwitchLevel(1, false);
         manager.Channels().ForEach(
             [](const std::string&, TEDebugInfoBuf& channel) { channel.OutputAll(); });
         manager.SwitchLevel(1, true);
         if (round % 2 == 0) {
             manager.FlushAll();
         }
     }},
};

// The details of each thread's records, by the file that they name and the thread.
using Details = std::map<std::string, std::vector<std::string>>;

class ManyThreads : public NS_TEST::BareManagerTest,
                    public testing::WithParamInterface<Circumstance> {
  protected:
    ManyThreads() {
        Manager().filterbuflength = 3 * kThreads * kRounds;
        Manager().queuebuflength = 50;
        Manager().outputmode = GetParam().outputmode;
        Manager().levelSwitches = NS_LOG_SERVICE1::LevelSwitches(0b0011);
        Manager().CreateChannels();
    }

    // Of a length that differs from record to record.
    static std::string DetailOf(int round) {
        return std::to_string(round) + std::string(static_cast<size_t>(round * 13 % 300), 'x');
    }

    static void LogRound(const std::string& thread, int round, const char* category) {
        NS_LOG_SERVICE1::LoggerIF* const logger = Manager().GetLogger(thread, "", category);
        logger->Log("written", thread, 7, 1, DetailOf(2 * round));
        logger->Log("kept", thread, 7, 2, DetailOf(round));
        logger->LogFormat("written", thread, 7, -1, "%s", DetailOf(2 * round + 1).c_str());
        if (round % 10 == 5) {
            logger->Log("trigger", thread, 7, 0, DetailOf(round));
        }
    }

    static Details ExpectedDetails() {
        Details expected;
        for (int number = 0; number < kThreads; ++number) {
            const std::string thread = std::to_string(number);
            for (int round = 0; round < kRounds; ++round) {
                expected["written " + thread].push_back(DetailOf(2 * round));
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
        for (const ParsedPiece& piece :
             NS_TEST::ParseLogPieces(Path("log/" + Files(category).front()))) {
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
                if (GetParam().outputmode == 0 && GetParam().change == nullptr) {
                    EXPECT_NE(record.function, "TEDebugInfoBuf::AppendOutputInfo");
                }
            }
        }
        return found;
    }
};

// Each thread's records stand in their order where nothing changes.
TEST_P(ManyThreads, LoseNothingTearNothingAndRepeatNothing) {
    std::atomic<int> running{kThreads};
    NS_TEST::OnThreads(kThreads + 1, [&running](int number) {
        if (number == kThreads) {
            for (unsigned round = 0; GetParam().change != nullptr && running > 0; ++round) {
                GetParam().change(Manager(), round);
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
        for (auto [key, expected] : ExpectedDetails()) {
            if (GetParam().change != nullptr) {
                std::sort(expected.begin(), expected.end());
                std::sort(found[key].begin(), found[key].end());
            }
            EXPECT_TRUE(found[key] == expected)
                << category << ", " << key << ": " << found[key].size() << " records";
        }
        EXPECT_EQ(found.size(), 3u * kThreads);
    }
}

INSTANTIATE_TEST_SUITE_P(With, ManyThreads, testing::ValuesIn(kCircumstances),
                         testing::PrintToStringParamName());

}  // namespace
