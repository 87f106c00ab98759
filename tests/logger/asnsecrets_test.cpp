// Passwords, customers and places in traced messages, all the way to where bytes leave the process.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "logger/asndumpfixture.h"
#include "support/capturedoutput.h"
#include "support/logfileparser.h"
#include "support/onthreads.h"

namespace {

using NS_TEST::OnThreads;
using NS_TEST::ParsedPiece;
using NS_TEST::ScriptedMessage;
using NS_TEST::TextMessage;

constexpr std::array<const char*, 8> kTypes = {
    "QAsnGetWDMSNCsByIdxsRsp",        "QAsnGetSNCsByIdxsRsp",    "QAsnGetSNCsByCIDsRsp",
    "QAsnGetWDMSNCsByCIDsRsp",        "QAsnGetNEInfoRsp",        "QAsnCreateNERpt",
    "QAsnGetPhysicalLocationInfoRsp", "AsneVOXScheduleCreateReq"};

constexpr std::array<const char*, 11> kPlaces = {
    "roomID",   "equipmentRoomName", "cabinetName", "name", "memo",    "subshelfMemo",
    "siteName", "country",           "province",    "city", "location"};

// How many characters of a secret in a row count as a leak.
constexpr size_t kFragment = 6;

// Secrets that were planted, and the search for them.
//
// Thread safety: Plant may be called by any thread, Leaks after all of them.
class Secrets {
  public:
    // A secret like no other one.
    std::string Plant() {
        static const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
        const std::lock_guard<std::mutex> guard(mutex_);
        std::string secret;
        for (int i = 0; i < 20; ++i) {
            state_ = state_ * 6364136223846793005u + 1442695040888963407u;
            secret += letters[(state_ >> 33) % letters.size()];
        }
        for (size_t at = 0; at + kFragment <= secret.size(); ++at) {
            fragments_.insert(secret.substr(at, kFragment));
        }
        return secret;
    }

    // The pieces of secrets in `output`.
    std::set<std::string> Leaks(const std::string& output) const {
        std::set<std::string> leaks;
        for (size_t at = 0; at + kFragment <= output.size(); ++at) {
            const std::string fragment = output.substr(at, kFragment);
            if (fragments_.count(fragment) != 0) {
                leaks.insert(fragment);
            }
        }
        return leaks;
    }

    size_t Size() const { return fragments_.size(); }

  private:
    std::mutex mutex_;
    uint64_t state_ = 2024;                      // guarded by mutex_
    std::unordered_set<std::string> fragments_;  // guarded by mutex_ until all are planted
};

// A text with secrets in it, and how it may be seen.
struct PlantedText {
    std::string text;
    std::string masked;

    void Add(const std::string& both) { Add(both, both); }
    void Add(const std::string& original, const std::string& shown) {
        text += original;
        masked += shown;
    }
    void AddLine(const std::string& key, const std::string& rest) {
        Add("  " + key + rest + "\n", "  " + key + std::string(rest.size(), '*') + "\n");
    }
    void AddBetween(const std::string& front, const std::string& value, const std::string& back) {
        Add(front + value + back, front + std::string(value.size(), '*') + back);
    }
};

PlantedText PlantedTextOf(const std::string& typeName, const std::string& id, Secrets& secrets) {
    PlantedText planted;
    planted.Add(typeName + " {\n  id = " + id + "\n");
    for (const char* part : {"1", "2"}) {
        planted.Add(std::string("  open part ") + part + " of " + id + "\n");
        if (typeName == "QAsnGetPhysicalLocationInfoRsp") {
            for (const char* place : kPlaces) {
                planted.AddLine(place, " = \"" + secrets.Plant() + "\", " + secrets.Plant());
            }
        } else if (typeName == "AsneVOXScheduleCreateReq") {
            planted.AddBetween("<FTPPassWord>", secrets.Plant() + "\n<" + secrets.Plant(),
                               "</FTPPassWord>\n");
        } else if (typeName.find("SNCs") != std::string::npos) {
            planted.AddLine("customer:", secrets.Plant() + " customer: " + secrets.Plant());
        } else {
            planted.AddBetween("  NEPwd = \"", secrets.Plant(), "\"\n");
        }
    }
    planted.Add("  end of " + id + "\n}");
    return planted;
}

class AsnSecrets : public NS_TEST::AsnDumpTest {
  protected:
    AsnSecrets() {
        store_.Set("bEnableAsnTrace", "1");
        off_.DisableLevel(3);
    }

    // Traces a message; every second time the record is kept back, as a repetition.
    void Trace(const char* typeName, const std::string& id) {
        const PlantedText planted = PlantedTextOf(typeName, id, secrets_);
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            expected_.insert(planted.masked);
        }
        ScriptedMessage message = TextMessage(typeName, planted.text);
        debug_.LogAsnTrace("f.cpp", "Run", 7, message);
        operations_.LogAsnTrace("f.cpp", "Run", 7, message);
        off_.LogAsnTrace("f.cpp", "Run", 7, message);
    }

    // Has everything written that waits in a channel.
    void WriteOut() {
        off_.Log("f.cpp", "Run", 7, 0, "brings the kept back records along");
        channels_.ForEach([](const std::string& /*category*/,
                             NS_LOG_SERVICE1::TEDebugInfoBuf& channel) { channel.OutputAll(); });
    }

    void ExpectNothingLeaked(const std::string& echoed) {
        ASSERT_GT(secrets_.Size(), 0u);
        EXPECT_THAT(secrets_.Leaks(echoed), testing::IsEmpty()) << "on standard output";
        for (const std::string& name : NS_TEST::ListFiles(Path("log"))) {
            EXPECT_THAT(secrets_.Leaks(NS_TEST::ReadFile(Path("log/" + name))), testing::IsEmpty())
                << name;
        }
    }

    // What may be seen stands in the files, once for each of the two loggers and whole; and of what
    // was kept back each text is one of them.
    void ExpectEverythingElseThere(const std::string& echoed, size_t keptBack) {
        std::multiset<std::string> found;
        size_t repeated = 0;
        for (const ParsedPiece& piece : NS_TEST::ParseLogDirectory(Path("log"))) {
            if (piece.kind == ParsedPiece::RECORD && piece.record.level == 3) {
                found.insert(piece.record.detail);
            }
            for (const NS_TEST::ParsedRecord& record : piece.dumped) {
                ++repeated;
                EXPECT_EQ(expected_.count(record.detail), 1u) << record.detail;
            }
        }
        EXPECT_EQ(found.size(), 2 * expected_.size());
        for (const std::string& text : expected_) {
            EXPECT_EQ(found.count(text), 2u) << text;
            EXPECT_NE(echoed.find(text), std::string::npos) << text;
        }
        EXPECT_EQ(repeated, keptBack);
    }

    NS_LOG_SERVICE1::Logger debug_{"a", "b", "debug", settings_, channels_};
    NS_LOG_SERVICE1::Logger operations_{"a", "b", "corbaoper", settings_, channels_};
    NS_LOG_SERVICE1::Logger off_{"c", "d", "debug", settings_, channels_};
    Secrets secrets_;
    std::mutex mutex_;
    std::set<std::string> expected_;  // guarded by mutex_
};

class AsnSecretsOfType : public AsnSecrets, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Type, AsnSecretsOfType, testing::ValuesIn(kTypes),
                         [](const auto& instance) { return std::string(instance.param); });

TEST_P(AsnSecretsOfType, StayInTheProcess) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    Trace(GetParam(), "direct");
    settings_.outputmode = 1;
    Trace(GetParam(), "queued");
    EXPECT_EQ(Channel().Statistics().queued.Get(), 1u);
    EXPECT_EQ(Channel().Statistics().keptBack.Get(), 2u);
    WriteOut();
    ExpectNothingLeaked(output.Text());
    ExpectEverythingElseThere(output.Text(), 2);
}

// The search finds what is there: PrintAsn masks nothing.
TEST_P(AsnSecretsOfType, AreFoundWherePrintAsnWritesThem) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    const PlantedText planted = PlantedTextOf(GetParam(), "plain", secrets_);
    ScriptedMessage message = TextMessage(GetParam(), planted.text);
    debug_.PrintAsn("f.cpp", "Run", 7, message);
    const std::string file = NS_TEST::ListFiles(Path("log")).front();
    EXPECT_EQ(secrets_.Leaks(NS_TEST::ReadFile(Path("log/" + file))).size(), secrets_.Size());
    EXPECT_EQ(secrets_.Leaks(output.Text()).size(), secrets_.Size());
    EXPECT_THAT(secrets_.Leaks(planted.masked), testing::IsEmpty());
}

TEST_F(AsnSecrets, StayInTheProcessWhenAllTypesAreTracedAtOnce) {
    constexpr size_t kTurns = 6;
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    for (const uint32_t mode : {0u, 1u}) {
        settings_.outputmode = mode;
        OnThreads(kTypes.size(), [&](size_t thread) {
            for (size_t round = 0; round < kTurns; ++round) {
                const size_t type = (thread + round) % kTypes.size();
                Trace(kTypes[type], std::to_string(mode) + "." + std::to_string(thread) + "." +
                                        std::to_string(round));
            }
        });
    }
    WriteOut();
    ExpectNothingLeaked(output.Text());
    ExpectEverythingElseThere(output.Text(), 2 * kTurns * kTypes.size());
}

}  // namespace
