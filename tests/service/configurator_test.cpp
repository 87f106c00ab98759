// The bundle as ACE's service configurator loads it.
#include <ace/Dynamic_Service.h>
#include <ace/Service_Config.h>
#include <gmock/gmock.h>

#include "asn/asnobject.h"
#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/corbaconfigitems.h"
#include "qv_base_log/logservice.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

using NS_BUNDLEMGR1::ServiceObjectBase;
using NS_LOG_SERVICE1::FindLogService;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class Message : public NS_ASN1::AsnObject {
  public:
    void Print(std::ostream& out, unsigned short, int) const override { out << "message"; }
    const char* GetTypeName() const override { return "Message"; }
};

class Configurator : public NS_TEST::DirectoryTest {
  protected:
    Configurator() : share_("_APP_SHARE_DIR", Path()) {
        NS_TEST::WriteFile(Path("conf/corba_agent.cfg"), "logswitch = 1,1,1,1\n");
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
    std::string DebugFile() const {
        for (const std::string& name : NS_TEST::ListFiles(Path("log"))) {
            if (name.rfind("unbi_debug_", 0) == 0) {
                return NS_TEST::ReadFile(Path("log/" + name));
            }
        }
        return "";
    }

  private:
    NS_TEST::ScopedVariable share_;
};

TEST_F(Configurator, LoadsStartsEndsAndRemovesTheBundle) {
    EXPECT_EQ(FindLogService(), nullptr);
    ASSERT_EQ(Load("log_service"), 0);
    ServiceObjectBase* const service = Service("log_service");
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->GetName(), "qv_base_log");

    NS_LOG_SERVICE1::LogSvcInterface* const log = FindLogService();
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(log, service->GetInterface());
    EXPECT_EQ(log->GetIFName(), "LogSvcInterface!");
    EXPECT_TRUE(log->IsLevelEnabled(3));
    log->GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, 1, "hello");
    EXPECT_THAT(DebugFile(), HasSubstr(" Detail: hello\n</1>\n\n"));

    EXPECT_EQ(service->StopService(), 0);
    EXPECT_EQ(Process("remove log_service"), 0);
    EXPECT_EQ(Service("log_service"), nullptr);
    EXPECT_EQ(FindLogService(), nullptr);
    EXPECT_THAT(NS_BUNDLEMGR1::BundleMgr::Instance()->GetServiceObjects(), IsEmpty());
    EXPECT_THAT(DebugFile(), HasSubstr("\nFile close at "));
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), SizeIs(7));
}

// What a life leaves behind in memory is lost when the library is unloaded at the end.
TEST_F(Configurator, LoadsTheBundleAgainAfterItsRemoval) {
    Message message;
    for (int life = 0; life < 3; ++life) {
        ASSERT_EQ(Load("log_service"), 0);
        ServiceObjectBase* const service = Service("log_service");
        ASSERT_NE(service, nullptr);
        FindLogService()->GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, 1, "hello");
        EXPECT_THAT(DebugFile(), EndsWith(" Detail: hello\n</1>\n\n"));
        FindLogService()->GetLogger("a", "b", "debug")->PrintAsn("f.cpp", "Run", 7, message);
        EXPECT_THAT(DebugFile(), HasSubstr("message"));
        EXPECT_EQ(service->StopService(), 0);
        ASSERT_EQ(Process("remove log_service"), 0);
        EXPECT_EQ(FindLogService(), nullptr);
    }
}

// The configurator holds the object by one base, the manager's own calls may come by the other.
TEST_F(Configurator, MakesAnObjectThatEndsThroughEitherBase) {
    ASSERT_EQ(Load("log_service"), 0);
    ServiceObjectBase* const service = Service("log_service");
    ASSERT_NE(service, nullptr);
    ACE_Shared_Object* const shared = service;
    EXPECT_EQ(service->StopService(), 0);
    EXPECT_EQ(shared->fini(), 0);
    EXPECT_EQ(FindLogService(), nullptr);
    EXPECT_EQ(Process("remove log_service"), 0);
    EXPECT_THAT(NS_BUNDLEMGR1::BundleMgr::Instance()->GetServiceObjects(), IsEmpty());
}

TEST_F(Configurator, SuspendsAndResumesWithoutEffect) {
    ASSERT_EQ(Load("log_service"), 0);
    ServiceObjectBase* const service = Service("log_service");
    ASSERT_NE(service, nullptr);
    Process("suspend log_service");
    EXPECT_NE(FindLogService(), nullptr);
    Process("resume log_service");
    EXPECT_NE(FindLogService(), nullptr);
    EXPECT_EQ(service->StopService(), 0);
    EXPECT_EQ(Process("remove log_service"), 0);
}

}  // namespace
