// The control bundle's life.
#include "control/controlserviceobject.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

#include "agentctl/fakelogservice.h"
#include "agentctl/socketclient.h"
#include "support/capturedoutput.h"
#include "support/environment.h"
#include "support/temporarydirectory.h"

namespace {

using NS_REFERENCE_HOST::ControlServiceObject;
using ::testing::HasSubstr;

class ControlBundle : public NS_TEST::DirectoryTest {
  protected:
    std::string Socket() const { return Path("qv_agent.sock"); }

    NS_TEST::ScopedVariable share_{"_APP_SHARE_DIR", Path()};
};

TEST_F(ControlBundle, ServesFromInitToStopService) {
    const NS_TEST::FakeMaintenance fake;
    ControlServiceObject object;
    ASSERT_EQ(object.init(0, nullptr), 0);
    EXPECT_THAT(NS_TEST::AskServer(Socket(), R"({"command":"status"})"), HasSubstr("\"ok\":true"));
    EXPECT_EQ(object.StopService(), 0);
    EXPECT_FALSE(std::filesystem::exists(Socket()));
    EXPECT_EQ(object.fini(), 0);
}

TEST_F(ControlBundle, RefusesArgumentsThatItDoesNotKnowAndToStartWithoutAShareDirectory) {
    const NS_TEST::CapturedOutput errors(STDERR_FILENO);
    ControlServiceObject object;
    char argument[] = "--open";
    char* arguments[] = {argument, nullptr};
    EXPECT_EQ(object.init(1, arguments), -1);
    EXPECT_THAT(errors.Text(), HasSubstr("--open"));
    EXPECT_FALSE(std::filesystem::exists(Socket()));
    share_.Set(std::nullopt);
    EXPECT_EQ(object.init(0, nullptr), -1);
    EXPECT_THAT(errors.Text(), HasSubstr("_APP_SHARE_DIR"));
}

}  // namespace
