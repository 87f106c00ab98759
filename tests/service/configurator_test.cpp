// The bundle as ACE's service configurator loads it.
#include <ace/Dynamic_Service.h>
#include <ace/Service_Config.h>
#include <gmock/gmock.h>

#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/corbaconfigitems.h"
#include "qv_base_log/logservice.h"
#include "support/asnmessages.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

using NS_BUNDLEMGR1::ServiceObjectBase;
using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
using namespace testing;

namespace {

class Configurator : public NS_TEST::DirectoryTest {
  protected:
    Configurator() : share_("_APP_SHARE_DIR", Path()) {
        WriteFile(Path("conf/corba_agent.cfg"), "logswitch = 1,1,1,1\n");
        std::vector<NS_BUNDLEMGR1::NameValueStru> items;
        NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetCorbaConfigItems(items);
    }

    static int Process(const std::string& directive) {
        return ACE_Service_Config::process_directive(directive.c_str());
    }
    static int Load(const std::string& name) {
        return Process("dynamic " + name +
                       " Service_Object * " QV_LIBRARY ":_make_qv_base_log() \"\"");
    }
    // Null when the configurator knows no such service.
    static ServiceObjectBase* Service(const char* name) {
        return dynamic_cast<ServiceObjectBase*>(
            ACE_Dynamic_Service<ACE_Service_Object>::instance(name));
    }
    // What has been written to the category "debug", all lives together. Each has files of its own,
    // or goes on with those of the one before when it begins in the same second.
    std::string Debug() const {
        std::string text;
        for (const std::string& name : ListLogFiles(Path("log"), "debug")) {
            text += ReadFile(Path("log/" + name));
        }
        return text;
    }

  private:
    ScopedVariable share_;
};

TEST_F(Configurator, LoadsStartsEndsAndRemovesTheBundle) {
    EXPECT_EQ(FindLogService(), nullptr);
    ASSERT_EQ(Load("log_service"), 0);
    ServiceObjectBase* const service = Service("log_service");
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->GetName(), "qv_base_log");

    LogSvcInterface* const log = FindLogService();
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(log, service->GetInterface());
    EXPECT_EQ(log->GetIFName(), "LogSvcInterface!");
    EXPECT_TRUE(log->IsLevelEnabled(3));
    log->GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, 1, "hello");
    EXPECT_THAT(Debug(), HasSubstr(" Detail: hello\n</1>\n\n"));

    for (const char* directive : {"suspend log_service", "resume log_service"}) {
        Process(directive);
        EXPECT_EQ(FindLogService(), log);
    }
    EXPECT_EQ(service->StopService(), 0);
    EXPECT_EQ(Process("remove log_service"), 0);
    EXPECT_EQ(Service("log_service"), nullptr);
    EXPECT_EQ(FindLogService(), nullptr);
    EXPECT_THAT(NS_BUNDLEMGR1::BundleMgr::Instance()->GetServiceObjects(), IsEmpty());
    EXPECT_THAT(Debug(), HasSubstr("\nFile close at "));
    EXPECT_THAT(ListFiles(Path("log")), SizeIs(7));
}

// What a life leaves behind in memory is lost when the library is unloaded at the end.
TEST_F(Configurator, LoadsTheBundleAgainAfterItsRemoval) {
    for (int life = 1; life <= 3; ++life) {
        const std::string text = "hello in life " + std::to_string(life);
        NS_TEST::ScriptedMessage message = NS_TEST::TextMessage("message: " + text);
        ASSERT_EQ(Load("log_service"), 0);
        ServiceObjectBase* const service = Service("log_service");
        ASSERT_NE(service, nullptr);
        LoggerIF* const logger = FindLogService()->GetLogger("a", "b", "debug");
        logger->Log("f.cpp", "Run", 7, 1, text);
        EXPECT_THAT(Debug(), HasSubstr(" Detail: " + text + "\n</1>\n\n"));
        logger->PrintAsn("f.cpp", "Run", 7, message);
        EXPECT_THAT(Debug(), HasSubstr("message: " + text));
        EXPECT_EQ(service->StopService(), 0);
        if (life == 2) {
            // The configurator holds the object by one base; the manager's calls may
            // come by the other.
            EXPECT_EQ(static_cast<ACE_Shared_Object*>(service)->fini(), 0);
        }
        ASSERT_EQ(Process("remove log_service"), 0);
        EXPECT_EQ(FindLogService(), nullptr);
    }
}

}  // namespace
