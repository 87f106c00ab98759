// What the service makes of its configuration items at start.
#include <climits>
#include <stdexcept>

#include "lookup/ownlogger.h"
#include "support/otherservices.h"
#include "support/servicefixture.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
using namespace testing;

namespace {

struct Item {
    std::string name;
    std::string value;    // differs from what else the setting may be
    std::string setting;  // what that makes of it
    std::string initial;  // the setting of a manager that has read nothing
    std::string missing;  // the setting without the item
    std::string report;   // of the missing item; empty: none
};

// In the order in which they are read. Two of the reports name another item.
const std::vector<Item> kItems = {
    {"logfilesize", "1001", "1001", "20971520", "4194304",
     "\nGet Config Item(logfilesize) failed !!\n"},
    {"logfilecount", "1002", "1002", "10000", "100", "\nGet Config Item(logfilecount) failed !!\n"},
    {"queuebuflength", "1003", "1003", "16384", "16384",
     "\nGet Config Item(queuebuflength) failed !!\n"},
    {"filterbuflength", "1004", "1004", "128", "128",
     "\nGet Config Item(filterbuflength) failed !!\n"},
    {"logtimeinterval", "1005", "1005", "60", "1",
     "\nGet Config Item(logtimeinterval) failed !!\n"},
    {"logswitch", "0,1,1,0", "0110", "0000", "1111", ""},
    {"outputmode", "0", "0/-1", "0/0", "0/-1", "\nGet Config Item(outputmode) failed !!\n"},
    {"bEnableAsnLog", "6", "6", "0", "1", "\nGet Config Item(outputmode) failed !!\n"},
    {"bLogOutputPara", "7", "7", "0", "0", "\nGet Config Item(LogOutputPara) failed !!\n"},
};

// The channels are created in front of this one.
constexpr size_t kFirstBehindTheChannels = 4;

// One field of all items, of `count` items from `first` on.
std::vector<std::string> Column(std::string Item::*field, size_t first = 0,
                                size_t count = kItems.size()) {
    std::vector<std::string> column;
    for (size_t i = first; i < std::min(first + count, kItems.size()); ++i) {
        column.push_back(kItems[i].*field);
    }
    return column;
}

class Configuration : public NS_TEST::ServiceTest {
  protected:
    void FillStore() {
        for (const Item& item : kItems) {
            store_.Set(item.name, item.value);
        }
    }

    bool Init() { return service_.Init(); }

    // What each setting is now, in the order of the items.
    static std::vector<std::string> Settings() {
        const LogMgr& manager = Manager();
        return {std::to_string(manager.logfilesize.Get()),
                std::to_string(manager.logfilecount.Get()),
                std::to_string(manager.queuebuflength.Get()),
                std::to_string(manager.filterbuflength.Get()),
                std::to_string(manager.logtimeinterval.Get()),
                Levels(),
                std::to_string(manager.outputmode.Get()) + "/" +
                    std::to_string(manager.outputTask.Get()),
                std::to_string(manager.bEnableAsnLog.Get()),
                std::to_string(manager.bLogOutputPara.Get())};
    }

    // The channels' queue and cache capacities, "Q/C" each.
    static std::vector<std::string> Capacities() {
        std::vector<std::string> capacities;
        Manager().Channels().ForEach([&](const std::string&, const TEDebugInfoBuf& channel) {
            capacities.push_back(std::to_string(channel.QueueCapacity()) + "/" +
                                 std::to_string(channel.KeptCapacity()));
        });
        return capacities;
    }

    LogSvcIFImpl service_;
};

TEST_F(Configuration, FillsEverySettingFromItsItemInAFixedOrderAndStartsTheMonitor) {
    EXPECT_THAT(Settings(), ElementsAreArray(Column(&Item::initial)));
    FillStore();
    store_.OnAsked("bLogOutputPara", [] { EXPECT_FALSE(IsMonitorRunning()); });
    EXPECT_TRUE(Init());
    EXPECT_TRUE(IsMonitorRunning());
    EXPECT_THAT(Settings(), ElementsAreArray(Column(&Item::setting)));
    EXPECT_THAT(store_.Asked(), ElementsAreArray(Column(&Item::name)));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(Configuration, OfNothingAtAllConsistsOfDefaultsAndReportsEachMissingItem) {
    SetLevels("0000");
    Manager().outputmode = 5;
    Manager().outputTask = 77;
    std::vector<size_t> reported;
    for (const Item& item : kItems) {
        store_.OnAsked(item.name, [&] { reported.push_back(Proxy().Texts().size()); });
    }

    EXPECT_TRUE(Init());

    EXPECT_THAT(Settings(), ElementsAreArray(Column(&Item::missing)));
    EXPECT_THAT(Capacities(), SizeIs(7));
    EXPECT_THAT(Capacities(), Each("16384/128"));
    // Each item is reported before the next one is asked for.
    EXPECT_THAT(reported, ElementsAre(0, 1, 2, 3, 4, 5, 5, 6, 7));
    std::vector<std::string> reports = Column(&Item::report);
    reports.erase(reports.begin() + 5);
    EXPECT_THAT(Proxy().Texts(), ElementsAreArray(reports));
    EXPECT_THAT(Proxy().Printed(), Each(IsDiagnostic(1, "logimpl", testing::_)));
}

// Sizes and the interval are handed to the store as they are, a flag as 0.
TEST_F(Configuration, TakesWhatTheStoreWasHandedWhereItAnswersWithoutWriting) {
    class SilentStore : public ScriptedConfigItems {
      public:
        bool GetIntItemInfo(const std::string& /*name*/, int& /*value*/) override { return true; }
        bool GetStrItemInfo(const std::string& /*name*/, std::string& /*value*/) override {
            return true;
        }
    };
    SilentStore silent;
    NS_REFERENCE_HOST::SetConfigItems(&silent);
    Manager().logfilesize = 11;
    Manager().logfilecount = 12;
    Manager().queuebuflength = 13;
    Manager().filterbuflength = 14;
    Manager().logtimeinterval = 4294967295U;
    Manager().bEnableAsnLog = 16;
    Manager().bLogOutputPara = 17;
    EXPECT_TRUE(Init());
    EXPECT_THAT(Settings(),
                ElementsAre("11", "12", "13", "14", "4294967295", "1111", "0/-1", "0", "0"));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
    NS_REFERENCE_HOST::SetConfigItems(&store_);
}

TEST_F(Configuration, CreatesTheChannelsBetweenTheSizesAndTheRest) {
    FillStore();
    store_.OnAsked("filterbuflength", [] { EXPECT_THAT(Capacities(), IsEmpty()); });
    std::vector<std::string> afterSizes;
    store_.OnAsked("logtimeinterval", [&] { afterSizes = Capacities(); });
    Init();
    EXPECT_THAT(afterSizes, SizeIs(7));
    EXPECT_THAT(afterSizes, Each("1003/1004"));
    EXPECT_EQ(Capacities(), afterSizes);
}

// Negative numbers are the large ones that they are unsigned.
TEST_F(Configuration, TakesNumbersWithoutARangeCheck) {
    const std::pair<const char*, const char*> kNumbers[] = {
        {"0", "0"}, {"-1", "4294967295"}, {"-7", "4294967289"}, {"-2147483648", "2147483648"}};
    for (const auto& [value, setting] : kNumbers) {
        SCOPED_TRACE(value);
        FillStore();
        std::vector<std::string> expected = Column(&Item::setting);
        for (const size_t item : {0U, 1U, 2U, 3U, 4U, 7U, 8U}) {
            store_.Set(kItems[item].name, value);
            expected[item] = setting;
        }
        EXPECT_TRUE(Init());
        EXPECT_THAT(Settings(), ElementsAreArray(expected));
        EXPECT_THAT(Capacities(), Each(std::string(setting) + "/" + setting));
        EXPECT_THAT(Proxy().Texts(), IsEmpty());
        service_.Fini();
        Proxy().Forget();
    }
}

// Looked at are the characters at 0, 2, 4 and 6 and nothing else; one that is not there is no '0'.
TEST_F(Configuration, SwitchesLevelsOffWhereAZeroStandsAtTheirPosition) {
    const std::pair<std::string, std::string> kShapes[] = {
        {"1,1,0,0", "1100"},  {"0,0,0,0", "0000"},  {"1,0,1,0", "1010"},
        {"1,1,1,1", "1111"},  {"", "1111"},         {"0", "0111"},
        {"0,", "0111"},       {"0,0", "0011"},      {"0,1,0", "0101"},
        {"0,0,0", "0001"},    {"0,0,0,", "0001"},   {"0000000", "0000"},
        {"1010101", "1111"},  {"0;0 0/0", "0000"},  {"0,0,0,0,1,1", "0000"},
        {"1,1,1,01", "1110"}, {"00,0,0,0", "0111"}, {" 0,0,0,0", "1111"},
        {"2,x, ,-", "1111"},  {"-0,-0,-0", "1101"}, {std::string("\0,0,0,0", 7), "1000"},
    };
    for (const auto& [item, levels] : kShapes) {
        SCOPED_TRACE(item);
        FillStore();
        store_.Set("logswitch", item);
        for (const char* before : {"0000", "1111"}) {
            SetLevels(before);
            EXPECT_TRUE(Init());
            EXPECT_EQ(Levels(), levels);
            EXPECT_THAT(Proxy().Texts(), IsEmpty());
            service_.Fini();
            Proxy().Forget();
        }
    }
}

// Mode 1 leaves the mode and the task as they are; any other is direct output without a task.
TEST_F(Configuration, KnowsTwoOutputModes) {
    const std::string format = "\nlog output mode value : %d, it is meaningless !!\n";
    for (const int mode : {0, 1, 2, -1, INT_MAX}) {
        SCOPED_TRACE(mode);
        FillStore();
        store_.Set("outputmode", std::to_string(mode));
        Manager().outputmode = 5;
        Manager().outputTask = 77;
        EXPECT_TRUE(Init());
        EXPECT_EQ(Manager().outputmode, mode == 1 ? 5U : 0U);
        EXPECT_EQ(Manager().outputTask, mode == 1 ? 77 : -1);
        if (mode == 0 || mode == 1) {
            EXPECT_THAT(Proxy().Texts(), IsEmpty());
        } else {
            ASSERT_THAT(Proxy().Printed(), SizeIs(1));
            EXPECT_EQ(Proxy().Printed()[0].format, format);
            EXPECT_THAT(Proxy().Printed()[0],
                        IsDiagnostic(1, "logimpl",
                                     "\nlog output mode value : " + std::to_string(mode) +
                                         ", it is meaningless !!\n"));
        }
        service_.Fini();
        Proxy().Forget();
    }
}

TEST_F(Configuration, CountsAsReadEvenWhenTheMonitorCannotStart) {
    FillStore();
    std::filesystem::remove(configFile_);
    EXPECT_TRUE(Init());
    EXPECT_FALSE(IsMonitorRunning());
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(IsDiagnostic(1, "logswitchmonitormgr",
                                         "[LogSwitchMonitorMgr::Init] CALL ACE_OS::stat failed!")));
}

// The store fails while it is asked for one of the items.
class ConfigurationFailure : public Configuration, public testing::WithParamInterface<size_t> {
  protected:
    ConfigurationFailure() {
        FillStore();
        store_.OnAsked(FailingItem(), RaiseStoreOutOfReach);
    }

    static const std::string& FailingItem() { return kItems[GetParam()].name; }
    static bool HasChannels() { return GetParam() >= kFirstBehindTheChannels; }

    // The settings when the items in front of the failing one were read.
    static void ExpectSettingsUpToTheFailure() {
        std::vector<std::string> settings = Column(&Item::setting, 0, GetParam());
        for (const std::string& initial : Column(&Item::initial, GetParam())) {
            settings.push_back(initial);
        }
        EXPECT_THAT(Settings(), ElementsAreArray(settings));
        EXPECT_THAT(Capacities(), SizeIs(HasChannels() ? 7 : 0));
        EXPECT_THAT(Capacities(), Each("1003/1004"));
    }
};

// Without channels the report has nowhere to go.
TEST_P(ConfigurationFailure, IsReportedByTheServicesOwnLoggerBeforeTheMonitorStarts) {
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
    std::vector<ParsedRecord> records;
    std::filesystem::remove(configFile_);  // so that the start of the monitor is reported
    Proxy().onPrint = [&](const std::string&) { records = DebugRecords(); };

    EXPECT_FALSE(Init());

    Proxy().onPrint = nullptr;
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre("[LogSwitchMonitorMgr::Init] CALL ACE_OS::stat failed!"));
    if (HasChannels()) {
        EXPECT_THAT(records, ElementsAre(IsStoreOutOfReach()));
    } else {
        EXPECT_THAT(records, IsEmpty());
        EXPECT_THAT(ListFiles(Path("log")), IsEmpty());
    }
}

TEST_P(ConfigurationFailure, KeepsWhatWasReadAndStartsTheMonitor) {
    EXPECT_FALSE(Init());
    EXPECT_TRUE(IsMonitorRunning());
    EXPECT_THAT(store_.Asked(), ElementsAreArray(Column(&Item::name, 0, GetParam() + 1)));
    ExpectSettingsUpToTheFailure();
    EXPECT_EQ(GetOwnLogger(), nullptr);
    EXPECT_THAT(DebugRecords(), IsEmpty());
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

// Only a missing interface is absorbed, not everything that the platform may raise.
TEST_P(ConfigurationFailure, OfAnotherKindPassesOutAndStartsNoMonitor) {
    const std::function<void()> kFailures[] = {
        [] { throw std::runtime_error("broken"); }, [] { throw 42; },
        [] { throw NS_BUNDLEMGR1::ProcessException(1, "file", "function", "text"); }};
    for (const auto& failure : kFailures) {
        store_.OnAsked(FailingItem(), failure);
        EXPECT_ANY_THROW(Init());
        EXPECT_FALSE(IsMonitorRunning());
        ExpectSettingsUpToTheFailure();
        EXPECT_THAT(DebugRecords(), IsEmpty());
        LogMgr::DestroyInstance();
        std::filesystem::remove_all(Path("log"));
    }
}

INSTANTIATE_TEST_SUITE_P(Items, ConfigurationFailure, testing::Range<size_t>(0, kItems.size()),
                         [](const auto& item) { return kItems[item.param].name; });

}  // namespace
