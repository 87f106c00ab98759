// A configuration store that fails while the service starts.
#include <stdexcept>

#include "control/configurationfixture.h"

using NS_LOG_SERVICE1::LOG_SVC_INTERFACE_NAME;
using NS_TEST::RegisteredInterface;
using testing::Contains;
using testing::Each;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// The items in the order in which they are read.
const std::vector<std::string> kItems = {"logfilesize",     "logfilecount",    "queuebuflength",
                                         "filterbuflength", "logtimeinterval", "logswitch",
                                         "outputmode",      "bEnableAsnLog",   "bLogOutputPara"};

class ConfigurationFailure : public NS_TEST::ConfigurationTest {
  protected:
    ConfigurationFailure() { FillStore(); }

    // What each setting is now, in the order of the items.
    static std::vector<std::string> Settings() {
        const NS_LOG_SERVICE1::LogMgr& manager = Manager();
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

    // What the settings are when the items before number `failing` were read.
    static std::vector<std::string> SettingsUpTo(size_t failing) {
        std::vector<std::string> settings = {"20971520", "10000", "16384", "128", "60",
                                             "0000",     "0/0",   "0",     "0"};
        const std::vector<std::string> configured = {"1001", "1002", "1003", "1004", "1005",
                                                     "0110", "0/-1", "6",    "7"};
        std::copy_n(configured.begin(), failing, settings.begin());
        return settings;
    }
};

class ConfigurationFailureAt : public ConfigurationFailure,
                               public testing::WithParamInterface<size_t> {
  protected:
    ConfigurationFailureAt() { store_.OnAsked(Item(), NS_TEST::RaiseStoreOutOfReach); }

    static const std::string& Item() { return kItems[GetParam()]; }
    // The four sizes are read before the channels are created.
    static bool HasChannels() { return GetParam() >= 4; }
};

TEST_P(ConfigurationFailureAt, MakesInitFalseButStartsTheMonitor) {
    EXPECT_FALSE(Init());
    EXPECT_TRUE(IsMonitorRunning());
}

TEST_P(ConfigurationFailureAt, KeepsWhatWasReadAndLeavesTheRestAsItWas) {
    Init();
    EXPECT_EQ(store_.Asked(),
              std::vector<std::string>(
                  kItems.begin(), kItems.begin() + static_cast<std::ptrdiff_t>(GetParam()) + 1));
    EXPECT_THAT(Settings(), ElementsAreArray(SettingsUpTo(GetParam())));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_P(ConfigurationFailureAt, LeavesChannelsOnlyWhenTheSizesWereRead) {
    Init();
    EXPECT_THAT(Capacities(), SizeIs(HasChannels() ? 7 : 0));
    EXPECT_THAT(Capacities(), Each("1003/1004"));
}

// Without channels the report has nowhere to go.
TEST_P(ConfigurationFailureAt, IsReportedThroughTheServicesOwnLogger) {
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);

    EXPECT_FALSE(Init());

    const std::vector<NS_TEST::ParsedRecord> records = DebugRecords();
    if (!HasChannels()) {
        EXPECT_THAT(records, IsEmpty());
        EXPECT_THAT(NS_TEST::ListFiles(Path("log")), IsEmpty());
        return;
    }
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].level, 1);
    EXPECT_EQ(records[0].file, "store.cpp");
    EXPECT_EQ(records[0].function, "Store::Read");
    EXPECT_EQ(records[0].line, "4711");
    EXPECT_EQ(records[0].detail, "the store is out of reach");
}

TEST_P(ConfigurationFailureAt, WithoutAnOwnLoggerIsNotReported) {
    EXPECT_FALSE(Init());
    EXPECT_EQ(NS_LOG_SERVICE1::GetOwnLogger(), nullptr);
    EXPECT_THAT(DebugRecords(), IsEmpty());
}

TEST_P(ConfigurationFailureAt, OfAnotherKindPassesOutAndStartsNoMonitor) {
    store_.OnAsked(Item(), [] { throw std::runtime_error("broken"); });
    EXPECT_THROW(Init(), std::runtime_error);
    EXPECT_FALSE(IsMonitorRunning());
    EXPECT_THAT(Settings(), ElementsAreArray(SettingsUpTo(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Items, ConfigurationFailureAt, testing::Range<size_t>(0, 9),
                         [](const auto& item) { return kItems[item.param]; });

// Only a missing interface is absorbed, not everything that the platform may raise.
TEST_F(ConfigurationFailure, WithAProcessExceptionPassesOut) {
    store_.OnAsked("outputmode",
                   [] { throw NS_BUNDLEMGR1::ProcessException(1, "file", "function", "text"); });
    EXPECT_THROW(Init(), NS_BUNDLEMGR1::ProcessException);
    EXPECT_FALSE(IsMonitorRunning());
}

TEST_F(ConfigurationFailure, WithWhatIsNoExceptionObjectPassesOut) {
    store_.OnAsked("logfilesize", [] { throw 42; });
    EXPECT_THROW(Init(), int);
}

TEST_F(ConfigurationFailure, IsReportedBeforeTheMonitorStarts) {
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
    std::filesystem::remove(configFile_);
    store_.OnAsked("bLogOutputPara", NS_TEST::RaiseStoreOutOfReach);
    size_t recordsBefore = 0;
    Proxy().onPrint = [&](const std::string&) { recordsBefore = DebugRecords().size(); };

    EXPECT_FALSE(Init());

    Proxy().onPrint = nullptr;
    EXPECT_THAT(Proxy().Texts(), Contains("[LogSwitchMonitorMgr::Init] CALL ACE_OS::stat failed!"));
    EXPECT_EQ(recordsBefore, 1U);
}

class ServiceObjectFailure : public ConfigurationFailure {
  protected:
    ~ServiceObjectFailure() override {
        NS_REFERENCE_HOST::SetConfigItems(nullptr);
        object_->StopService();
        object_->fini();
    }

    NS_LOG_SERVICE1::qv_base_log* object_ =
        static_cast<NS_LOG_SERVICE1::qv_base_log*>(_make_qv_base_log(nullptr));
    std::unique_ptr<ACE_Service_Object> owner_{object_};
};

TEST_F(ServiceObjectFailure, MakesInitMinusOneAndIsReported) {
    store_.OnAsked("logtimeinterval", NS_TEST::RaiseStoreOutOfReach);
    EXPECT_EQ(object_->init(0, nullptr), -1);
    EXPECT_THAT(Proxy().Printed(),
                testing::ElementsAre(NS_TEST::IsDiagnostic(
                    1, "logimpl", "\n in [qv_base_log::init] LogSvcIFImpl::Init failed\n")));
    EXPECT_TRUE(IsMonitorRunning());
    EXPECT_THAT(NS_BUNDLEMGR1::CheckIFBuf("LogSvcInterface"), SizeIs(1));
}

TEST_F(ServiceObjectFailure, BeforeTheChannelsExistMakesInitMinusOneToo) {
    store_.OnAsked("logfilesize", NS_TEST::RaiseStoreOutOfReach);
    EXPECT_EQ(object_->init(0, nullptr), -1);
    EXPECT_THAT(Proxy().Texts(), Contains("\n in [qv_base_log::init] LogSvcIFImpl::Init failed\n"));
}

TEST_F(ServiceObjectFailure, OfAnotherKindPassesOutOfInit) {
    store_.OnAsked("logswitch", [] { throw std::runtime_error("broken"); });
    EXPECT_THROW(object_->init(0, nullptr), std::runtime_error);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

}  // namespace
