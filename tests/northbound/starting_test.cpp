// How the bundle starts, and what it refuses.
#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <string>

#include "northbound/northboundagent.h"
#include "support/files.h"

namespace {

using NS_TEST::ChildResult;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

class NorthboundStart : public NS_TEST::NorthboundAgent {
  protected:
    // The addresses on which a process listens for TCP connections, as the kernel writes them.
    static std::multiset<std::string> ListeningAddresses(pid_t process) {
        const std::string root = "/proc/" + std::to_string(process);
        std::set<std::string> sockets;
        for (const auto& entry : std::filesystem::directory_iterator(root + "/fd")) {
            std::error_code ignored;
            sockets.insert(std::filesystem::read_symlink(entry.path(), ignored).string());
        }
        std::multiset<std::string> addresses;
        for (const char* table : {"/net/tcp", "/net/tcp6"}) {
            if (!std::filesystem::exists(root + table)) {
                continue;  // a system without that protocol
            }
            for (const std::string& line : NS_TEST::ReadLines(root + table)) {
                std::istringstream words(line);
                std::string number, local, remote, state, queues, timer, retries, user, wait, inode;
                words >> number >> local >> remote >> state >> queues >> timer >> retries >> user >>
                    wait >> inode;
                if (state == "0A" && sockets.count("socket:[" + inode + "]") != 0) {
                    addresses.insert(local);
                }
            }
        }
        return addresses;
    }

    static unsigned long ListeningPort(pid_t process) {
        const std::multiset<std::string> addresses = ListeningAddresses(process);
        return addresses.empty() ? 0 : std::stoul(addresses.begin()->substr(9), nullptr, 16);
    }
};

TEST_F(NorthboundStart, ListensOnThisMachineOnly) {
    Start();
    const std::multiset<std::string> addresses = ListeningAddresses(agent_->GetId());
    EXPECT_THAT(addresses, SizeIs(1));
    EXPECT_THAT(addresses, Each(StartsWith("0100007F:")));  // 127.0.0.1
    EXPECT_EQ(Stop(), 0);
}

TEST_F(NorthboundStart, IsRefusedOnAPortThatIsTaken) {
    Start();
    const unsigned long port = ListeningPort(agent_->GetId());
    NS_TEST::WriteFile(Path("second/conf/corba_agent.cfg"),
                       "bundles = qv_base_log, qv_northbound\nqv_northbound.arguments = --port " +
                           std::to_string(port) + "\n");
    // An agent that was killed has left it; nobody is found there.
    NS_TEST::WriteFile(Path("second/northbound.ior"), "IOR:00\n");
    const ChildResult result = Run({"--traffic", "none", "--share", Path("second")});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("the ORB does not start: INITIALIZE"));
    EXPECT_THAT(NS_TEST::ListFiles(Path("second")),
                ::testing::Not(::testing::Contains("northbound.ior")));
    EXPECT_EQ(Call({"alarms"}).exitCode, 0);
    EXPECT_EQ(Stop(), 0);
}

TEST_F(NorthboundStart, LeavesAnotherAgentsReferenceWhenItIsRefused) {
    const std::string common = " --reference " + Path("common.ior");
    Start("--port 0" + common);
    const std::string reference = NS_TEST::ReadFile(Path("common.ior"));
    NS_TEST::WriteFile(Path("second/conf/corba_agent.cfg"),
                       "bundles = qv_base_log, qv_northbound\nqv_northbound.arguments = --port " +
                           std::to_string(ListeningPort(agent_->GetId())) + common + "\n");
    EXPECT_EQ(Run({"--traffic", "none", "--share", Path("second")}).exitCode, 5);
    EXPECT_EQ(NS_TEST::ReadFile(Path("common.ior")), reference);
    EXPECT_EQ(Stop(), 0);
    EXPECT_FALSE(std::filesystem::exists(Path("common.ior")));
}

TEST_F(NorthboundStart, IsRefusedWithoutTheLoggingService) {
    Configure("bundles = qv_northbound\n");
    // An agent that was killed has left it; nobody is found there.
    NS_TEST::WriteFile(Path("northbound.ior"), "IOR:00\n");
    const ChildResult result = Run({"--traffic", "none"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("is its bundle listed in front of this one?"));
    EXPECT_FALSE(std::filesystem::exists(Path("northbound.ior")));
}

TEST_F(NorthboundStart, NeedsNoServiceWhenNothingIsLogged) {
    Start("--log off", "bundles = qv_northbound\n");
    EXPECT_EQ(Call({"inventory"}).exitCode, 0);
    EXPECT_EQ(Call({"element", "--element", "0"}).exitCode, 1);
    EXPECT_EQ(Stop(), 0);
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), ::testing::IsEmpty());
}

// It has served by then, and a client may have found it: it ends as one that serves does.
TEST_F(NorthboundStart, EndsInOrderWhenTheReferenceCannotBeWritten) {
    Configure("bundles = qv_base_log, qv_northbound\nqv_northbound.arguments = --reference " +
              Path("nowhere/northbound.ior") + "\n");
    const ChildResult result = Run({"--traffic", "none"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("cannot serve: " + Path("nowhere/northbound.ior") +
                                         ": No such file or directory"));
    EXPECT_THAT(Details("corbasys"), ::testing::ElementsAre("no longer serving"));
}

TEST_F(NorthboundStart, IsRefusedWithArgumentsThatMakeNoSense) {
    for (const char* arguments :
         {"--details some", "--log maybe", "--port 70000", "--call-limit 0"}) {
        Configure("bundles = qv_base_log, qv_northbound\nqv_northbound.arguments = " +
                  std::string(arguments) + "\n");
        const ChildResult result = Run({"--traffic", "none"});
        EXPECT_EQ(result.exitCode, 5) << arguments;
        EXPECT_THAT(result.errors, HasSubstr("arguments: ")) << arguments;
    }
}

}  // namespace
