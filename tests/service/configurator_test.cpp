// The bundle as ACE's service configurator loads it.
#include <ace/Dynamic_Service.h>
#include <ace/Service_Config.h>
#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/corbaconfigitems.h"
#include "qv_base_log/logmaintenance.h"
#include "qv_base_log/logservice.h"
#include "support/asnmessages.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/logfileparser.h"
#include "support/onthreads.h"
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
    // By a link: a directive has no way to write a path with spaces.
    int Load(const std::string& name) const {
        const std::string link = Path("service.so");
        if (!std::filesystem::is_symlink(link)) {
            std::filesystem::create_symlink(QV_LIBRARY, link);
        }
        return Process("dynamic " + name + " Service_Object * " + link +
                       ":_make_qv_base_log() \"\"");
    }
    // Null when the configurator knows no such service.
    static ServiceObjectBase* Service(const char* name) {
        return dynamic_cast<ServiceObjectBase*>(
            ACE_Dynamic_Service<ACE_Service_Object>::instance(name));
    }
    // A life in which several clients log from its beginning, and stop just before its end. Returns
    // how many records they have logged.
    uint64_t LiveUnderClients() const {
        EXPECT_EQ(Load("log_service"), 0);
        FindLogMaintenance()->SetFilePolicy(
            LOG_FILE_POLICY_KEEP_RECORDS);  // lives of one second share a file
        std::atomic<uint64_t> logged{0};
        std::atomic<bool> stops{false};
        OnThreads(5U, [&](unsigned number) {
            if (number == 0) {
                while (logged < 50) {
                    std::this_thread::yield();
                }
                stops = true;
                return;
            }
            LoggerIF* const logger =
                FindLogService()->GetLogger("client", std::to_string(number), "debug");
            while (!stops) {
                logger->Log("f.cpp", "Run", 7, 1, "text");
                ++logged;
            }
        });
        EXPECT_EQ(Service("log_service")->StopService(), 0);
        EXPECT_EQ(Process("remove log_service"), 0);
        return logged;
    }

    // What the process holds now.
    static size_t Entries(const char* directory) {
        size_t count = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) {
            ++count;
        }
        return count;
    }
    static size_t Descriptors() { return Entries("/proc/self/fd"); }
    // A thread that has been joined leaves the process's list a moment later.
    static bool ThreadsBecome(size_t expected) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (Entries("/proc/self/task") != expected) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }
    static long KilobytesOfMemory() {
        long total = 0;
        long resident = 0;
        std::ifstream("/proc/self/statm") >> total >> resident;
        return resident * 4;
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

// ./test.sh --reloads N sets the number.
TEST_F(Configurator, LoadsTheBundleAgainAndAgainUnderClientsAndKeepsNothing) {
    const char* const wanted = std::getenv("QV_RELOADS");
    const int lives = wanted == nullptr ? 20 : std::atoi(wanted);
    const int noted = std::max(2, lives / 2);
    uint64_t logged = LiveUnderClients();
    const size_t descriptors = Descriptors();
    const size_t threads = Entries("/proc/self/task");
    long memory = 0;
    for (int life = 2; life <= lives; ++life) {
        logged += LiveUnderClients();
        ASSERT_EQ(Descriptors(), descriptors) << "in life " << life;
        ASSERT_TRUE(ThreadsBecome(threads)) << "in life " << life;
        memory = life == noted ? KilobytesOfMemory() : memory;
    }
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they keep what was freed
    if (lives > noted) {
        EXPECT_LT(KilobytesOfMemory(), memory * 5 / 4 + 2048);
    }
#endif
    uint64_t found = 0;
    for (const std::string& name : ListLogFiles(Path("log"), "debug")) {
        for (const ParsedPiece& piece : ParseLogPieces(Path("log/" + name))) {
            found += piece.kind == ParsedPiece::RECORD && piece.record.detail == "text" ? 1U : 0U;
        }
    }
    EXPECT_EQ(found, logged);
}

}  // namespace
