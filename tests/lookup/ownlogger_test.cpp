// The logger through which the service reports its own exceptions.
#include "lookup/ownlogger.h"

#include <stdexcept>
#include <thread>

#include "support/otherservices.h"
#include "support/recordinglogger.h"
#include "support/servicefixture.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
using namespace testing;

namespace {

// Tells which of its operations is used.
class OperationsLogger : public NS_TEST::RecordingLogger {
  public:
    using RecordingLogger::RecordingLogger;
    void LogFormat(const std::string& file, const std::string& function, unsigned int line,
                   int level, const char* /*format*/, ...) override {
        Log(file, function, line, level, "by LogFormat");
    }
};

// A logging service that remembers which loggers it was asked for, and may refuse them.
class RecordingLogService : public NS_LOG_SERVICE1::LogSvcIFImpl {
  public:
    LoggerIF* GetLogger(const std::string& first, const std::string& second,
                        const std::string& category) override {
        asked.push_back(first + "|" + second + "|" + category);
        if (onAsked) {
            onAsked();
        }
        return answer;
    }

    std::vector<std::string> asked;
    std::function<void()> onAsked;  // may throw
    LoggerIF* answer = nullptr;
};

class OwnLogger : public NS_TEST::ServiceTest {
  protected:
    OwnLogger() { service_.answer = &logger_; }
    ~OwnLogger() override { NS_REFERENCE_HOST::RemoveFromIFBuf(&service_); }

    void Offer() { NS_BUNDLEMGR1::SetIFBuf(LOG_SVC_INTERFACE_NAME, &service_); }

    OperationsLogger logger_{"a", "b", "debug", Manager(), Manager().Channels()};
    RecordingLogService service_;
};

TEST_F(OwnLogger, IsTheDebugLoggerOfTheServicesNamesAndAskedForOnce) {
    Offer();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(GetOwnLogger(), &logger_);
        std::thread([] { GetOwnLogger(); }).join();
    }
    NS_REFERENCE_HOST::RemoveFromIFBuf(&service_);
    EXPECT_EQ(GetOwnLogger(), &logger_) << "nor when the service is registered no more";
    EXPECT_THAT(service_.asked, ElementsAre("qv_base_bundle|qv_base_log|debug"));
}

TEST_F(OwnLogger, IsNullWithoutALogServiceAndTriedAgain) {
    EXPECT_EQ(GetOwnLogger(), nullptr);
    {
        OtherInterface other;
        const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, other);
        EXPECT_EQ(GetOwnLogger(), nullptr);
    }
    Offer();
    EXPECT_EQ(GetOwnLogger(), &logger_);
}

TEST_F(OwnLogger, IsNullAndTriedAgainAfterAnyExceptionAndWhenTheServiceHasNone) {
    Offer();
    const std::function<void()> failures[] = {[] { throw std::runtime_error("broken"); },
                                              [] { throw 42; }, RaiseStoreOutOfReach,
                                              [this] { service_.answer = nullptr; }};
    for (const auto& failure : failures) {
        service_.onAsked = failure;
        EXPECT_EQ(GetOwnLogger(), nullptr);
    }
    service_.onAsked = nullptr;
    service_.answer = &logger_;
    EXPECT_EQ(GetOwnLogger(), &logger_);
    EXPECT_THAT(service_.asked, SizeIs(5));
}

TEST_F(OwnLogger, IsFoundAmongTheServiceObjects) {
    const OfferingServiceObject object(&service_);
    EXPECT_EQ(GetOwnLogger(), &logger_);
    EXPECT_THAT(NS_BUNDLEMGR1::CheckIFBuf(LOG_SVC_INTERFACE_NAME), ElementsAre(&service_));
}

TEST_F(OwnLogger, IsForgottenWithTheManagerThatOwnsIt) {
    Offer();
    GetOwnLogger();
    LogMgr::DestroyInstance();
    GetOwnLogger();
    EXPECT_THAT(service_.asked, SizeIs(2));
}

TEST_F(OwnLogger, ReceivesTheTextsAndTheCodeOfAnExceptionAsTheyAre) {
    Offer();
    ReportException(NS_BUNDLEMGR1::ProcessException(0xFFFFFFFF, "a.cpp", "F", "50 %s"));
    EXPECT_THAT(logger_.Calls(), ElementsAre(LoggedCall{"a.cpp", "F", 4294967295U, 1, "50 %s"}));
}

TEST_F(OwnLogger, ThatIsMissingMakesAReportGetLost) {
    ReportException(NS_BUNDLEMGR1::ProcessException(1, "a.cpp", "F", "what happened"));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
    EXPECT_THAT(ListFiles(Path("log")), IsEmpty());
}

}  // namespace
