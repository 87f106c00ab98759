// The logger through which the service reports its own exceptions.
#include "lookup/ownlogger.h"

#include <stdexcept>

#include "control/controlfixture.h"
#include "control/scheduleservice.h"
#include "logimpl.h"

using NS_LOG_SERVICE1::ForgetOwnLogger;
using NS_LOG_SERVICE1::GetOwnLogger;
using NS_LOG_SERVICE1::LOG_SVC_INTERFACE_NAME;
using NS_LOG_SERVICE1::ReportException;
using NS_TEST::RegisteredInterface;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// A logging service that remembers which loggers it was asked for.
class RecordingLogService : public NS_LOG_SERVICE1::LogSvcIFImpl {
  public:
    NS_LOG_SERVICE1::LoggerIF* GetLogger(const std::string& first, const std::string& second,
                                         const std::string& category) override {
        asked.push_back(first + "|" + second + "|" + category);
        if (onAsked) {
            onAsked();
        }
        return refuses ? nullptr : LogSvcIFImpl::GetLogger(first, second, category);
    }

    std::vector<std::string> asked;
    std::function<void()> onAsked;  // may throw
    bool refuses = false;
};

class OwnLogger : public NS_TEST::ControlTest {
  protected:
    OwnLogger() {
        SetLevels("1111");
        Manager().CreateChannels();
    }

    RecordingLogService service_;
};

TEST_F(OwnLogger, IsNullWithoutALogService) {
    EXPECT_EQ(GetOwnLogger(), nullptr);
}

TEST_F(OwnLogger, IsTheDebugLoggerOfTheServicesNames) {
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
    NS_LOG_SERVICE1::LoggerIF* const logger = GetOwnLogger();
    EXPECT_THAT(service_.asked, ElementsAre("qv_base_bundle|qv_base_log|debug"));
    EXPECT_EQ(logger, Manager().GetLogger("qv_base_bundle", "qv_base_log", "debug"));
    EXPECT_NE(logger, nullptr);
}

TEST_F(OwnLogger, IsAskedForOnce) {
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
    NS_LOG_SERVICE1::LoggerIF* const logger = GetOwnLogger();
    EXPECT_EQ(GetOwnLogger(), logger);
    EXPECT_THAT(service_.asked, SizeIs(1));
}

TEST_F(OwnLogger, IsKeptWhenTheLogServiceIsRegisteredNoMore) {
    NS_LOG_SERVICE1::LoggerIF* logger = nullptr;
    {
        const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
        logger = GetOwnLogger();
    }
    EXPECT_NE(logger, nullptr);
    EXPECT_EQ(GetOwnLogger(), logger);
}

TEST_F(OwnLogger, IsTriedAgainAfterItWasMissing) {
    EXPECT_EQ(GetOwnLogger(), nullptr);
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
    EXPECT_NE(GetOwnLogger(), nullptr);
}

TEST_F(OwnLogger, IsNullAndTriedAgainAfterAnyException) {
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
    service_.onAsked = [] { throw std::runtime_error("broken"); };
    EXPECT_EQ(GetOwnLogger(), nullptr);
    service_.onAsked = [] { throw 42; };
    EXPECT_EQ(GetOwnLogger(), nullptr);
    service_.onAsked = NS_TEST::RaiseStoreOutOfReach;
    EXPECT_EQ(GetOwnLogger(), nullptr);
    service_.onAsked = nullptr;
    EXPECT_NE(GetOwnLogger(), nullptr);
    EXPECT_THAT(service_.asked, SizeIs(4));
}

TEST_F(OwnLogger, IsTriedAgainAfterTheServiceHadNone) {
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
    service_.refuses = true;
    EXPECT_EQ(GetOwnLogger(), nullptr);
    service_.refuses = false;
    EXPECT_NE(GetOwnLogger(), nullptr);
}

TEST_F(OwnLogger, IsFoundAmongTheServiceObjects) {
    const NS_TEST::OfferingServiceObject object(&service_);
    EXPECT_NE(GetOwnLogger(), nullptr);
    EXPECT_THAT(NS_BUNDLEMGR1::CheckIFBuf(LOG_SVC_INTERFACE_NAME), ElementsAre(&service_));
    NS_REFERENCE_HOST::RemoveFromIFBuf(&service_);
}

TEST_F(OwnLogger, IsNullWhileAnObjectOfAnotherClassHasItsName) {
    NS_TEST::OtherInterface other;
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, other);
    EXPECT_EQ(GetOwnLogger(), nullptr);
}

TEST_F(OwnLogger, IsAskedForAgainAfterItWasForgotten) {
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
    GetOwnLogger();
    ForgetOwnLogger();
    GetOwnLogger();
    EXPECT_THAT(service_.asked, SizeIs(2));
}

TEST_F(OwnLogger, DoesNotOutliveTheManagerThatOwnsIt) {
    {
        const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
        GetOwnLogger();
    }
    NS_LOG_SERVICE1::LogMgr::DestroyInstance();
    EXPECT_EQ(GetOwnLogger(), nullptr);
}

TEST_F(OwnLogger, WritesTheTextsAndTheCodeOfAnException) {
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service_);
    ReportException(NS_BUNDLEMGR1::ProcessException(0xFFFFFFFF, "a.cpp", "F", "what happened"));
    const auto records = DebugRecords();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].level, 1);
    EXPECT_EQ(records[0].file, "a.cpp");
    EXPECT_EQ(records[0].function, "F");
    EXPECT_EQ(records[0].line, "4294967295");
    EXPECT_EQ(records[0].detail, "what happened");
}

TEST_F(OwnLogger, ThatIsMissingMakesAReportGetLost) {
    ReportException(NS_BUNDLEMGR1::ProcessException(1, "a.cpp", "F", "what happened"));
    EXPECT_THAT(DebugRecords(), IsEmpty());
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

}  // namespace
