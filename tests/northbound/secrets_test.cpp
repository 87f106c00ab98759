// What clients are told and the log must not show.
#include <gmock/gmock.h>

#include <string>

#include "northbound/northboundagent.h"
#include "support/files.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class NorthboundSecrets : public NS_TEST::NorthboundAgent {
  protected:
    // Calls whatever answers with a secret; what the client was told.
    std::string CallForSecrets() const {
        std::string told;
        for (const char* command : {"inventory", "element", "connections"}) {
            for (const char* element : {"17", "18", "19", "20"}) {
                told += Call({command, "--element", element}).output;
            }
        }
        return told;
    }

    // Everything in every file of the share directory's log.
    std::string AllFiles() const {
        std::string text;
        for (const std::string& name : NS_TEST::ListFiles(Path("log"))) {
            text += NS_TEST::ReadFile(Path("log/" + name));
        }
        return text;
    }

    const std::vector<std::string> secrets_ = {
        "Elem3nt!",          "Springfield", "Shelbyville",     "Ogdenville",
        "North Haverbrook",  "Exampleland", "Example Carrier", "Sample Savings Bank",
        "Placeholder Power", "Test Town",   "Cabinet ",        "Room "};
};

TEST_F(NorthboundSecrets, AreInWhatClientsAreToldAndInNoFile) {
    Start("--details as-configured");
    const std::string told = CallForSecrets();
    Load({"--clients", "8", "--calls", "40"});
    EXPECT_NE(Call({"alarms", "--password", "Op3rator!guess"}).exitCode, 0);
    ASSERT_EQ(Stop(), 0);
    const std::string files = AllFiles();
    for (const std::string& secret : secrets_) {
        EXPECT_THAT(told, HasSubstr(secret));
        EXPECT_THAT(files, Not(HasSubstr(secret)));
        EXPECT_THAT(agent_->GetErrors(), Not(HasSubstr(secret)));
    }
    EXPECT_THAT(files, Not(HasSubstr("Op3rator!")));
    EXPECT_THAT(files, HasSubstr("NEPwd = \"**************\"\n"));
    EXPECT_THAT(files, HasSubstr("city****"));
    EXPECT_THAT(files, HasSubstr("customer:****"));
    EXPECT_THAT(files, HasSubstr("user = \"operator1\"\n"));
}

TEST_F(NorthboundSecrets, StayOutOfDumpsAsWellWhenMessagesAreKeptBack) {
    Start("", "logswitch = 1,1,1,0\n");
    CallForSecrets();
    Load({"--clients", "4", "--calls", "40"});
    EXPECT_EQ(Control({"flushall"}).exitCode, 0);
    ASSERT_EQ(Stop(), 0);
    const std::string files = AllFiles();
    for (const std::string& secret : secrets_) {
        EXPECT_THAT(files, Not(HasSubstr(secret)));
    }
    EXPECT_THAT(files, HasSubstr("look up element "));
}

TEST_F(NorthboundSecrets, CannotBeFollowedByLinesThatAClientMadeUp) {
    Start();
    EXPECT_EQ(Call({"alarms", "--user", "operator1\n</1>\n\n<2>\n"}).exitCode, 1);
    ASSERT_EQ(Stop(), 0);
    const auto records = Records("corbadebug");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_THAT(records.front().record.detail, HasSubstr("user = \"operator1?</1>?"
                                                         "?<2>?\"\n"));
}

}  // namespace
