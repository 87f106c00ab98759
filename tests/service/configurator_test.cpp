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
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class Message : public NS_ASN1::AsnObject {
  public:
    explicit Message(const std::string& text) : text_(text) {}
    void Print(std::ostream& out, unsigned short, int) const override {
        out << "message: " << text_;
    }
    const char* GetTypeName() const override { return "Message"; }

  private:
    const std::string text_;
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
    // What has been written to the category "debug", all lives together: each has
    // files of its own or goes on with those of the one before, depending on the
    // second in which it begins.
    std::string Debug() const {
        std::string text;
        for (const std::string& name : NS_TEST::ListLogFiles(Path("log"), "debug")) {
            text += NS_TEST::ReadFile(Path("log/" + name));
        }
        return text;
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
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), SizeIs(7));
}

// What a life leaves behind in memory is lost when the library is unloaded at
// the end.
TEST_F(Configurator, LoadsTheBundleAgainAfterItsRemoval) {
    for (int life = 1; life <= 3; ++life) {
        const std::string text = "hello in life " + std::to_string(life);
        Message message(text);
        ASSERT_EQ(Load("log_service"), 0);
        ServiceObjectBase* const service = Service("log_service");
        ASSERT_NE(service, nullptr);
        NS_LOG_SERVICE1::LoggerIF* const logger = FindLogService()->GetLogger("a", "b", "debug");
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
