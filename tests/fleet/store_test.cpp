// What is told apart about a store before and after it is asked.
#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "store/connection.h"
#include "store/storeaddress.h"
#include "support/childprocess.h"

namespace {

using NS_LOG_FLEET::MistakeInAddress;
using NS_LOG_FLEET::StoreError;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(StoreErrors, PassWhenTheyAreNotAboutTheRequest) {
    for (const char* state : {"", "08006", "53300", "57P01", "58030", "40P01", "25006"}) {
        EXPECT_TRUE(StoreError("", state).IsPassing()) << state;
    }
    for (const char* state : {"28P01", "42501", "42P01", "22021", "25001", "23505"}) {
        EXPECT_FALSE(StoreError("", state).IsPassing()) << state;
    }
}

TEST(StoreErrors, AreAboutValuesWhenOtherValuesMayBeTaken) {
    EXPECT_TRUE(StoreError("no UTF-8", "22021").IsAboutValues());
    EXPECT_TRUE(StoreError("a number that is too large", "22003").IsAboutValues());
    EXPECT_TRUE(StoreError("a key that is too large", "54000").IsAboutValues());
    for (const char* state : {"", "22P05", "23503", "25006", "42501", "53100"}) {
        EXPECT_FALSE(StoreError("", state).IsAboutValues()) << state;
    }
}

TEST(StoreAddress, HasNoMistakeWhenItCanBeRight) {
    for (const char* url :
         {"postgresql://u:p@db.example/qv", "postgresql://", "postgres://[::1]:65535/qv",
          "postgresql://a:1,b,c:5432/qv?sslmode=require&application_name=x",
          "postgresql:///qv?host=/run/postgresql&port=5433", "host=db dbname=qv port=5433"}) {
        EXPECT_EQ(MistakeInAddress(url), "") << url;
    }
}

TEST(StoreAddress, TellsItsMistake) {
    for (const char* url : {"postgresql://db:99999/qv", "postgresql://a:5432,b:0/qv",
                            "postgresql://db:54x/qv", "postgresql://db/qv?port=5432x"}) {
        EXPECT_THAT(MistakeInAddress(url), StartsWith("a port is a number from 1 to 65535")) << url;
    }
    EXPECT_EQ(MistakeInAddress("postgresql://db/qv?nosuch=1"), "invalid URI query parameter");
    EXPECT_NE(MistakeInAddress("nats://db"), "");
}

TEST(StoreAddress, ShowsNoPartOfAPasswordWithItsMistake) {
    for (const char* url :
         {"postgresql://u:s3%zzcret@h/db", "postgresql://u:s3@cret:9x@h", "postgresql://u:cret/@h",
          "postgresql://u:s@cret@h/db", "postgresql://h/db?password=cret%zz", "mysql://u:cret@h",
          "postgresql://u:s@[::1]cret@h"}) {
        const std::string mistake = MistakeInAddress(url);
        EXPECT_NE(mistake, "") << url;
        EXPECT_THAT(mistake, Not(HasSubstr("cret"))) << url;
        EXPECT_THAT(mistake, Not(HasSubstr("9x"))) << url;
    }
}

TEST(StoreAddress, IsShownWithoutAPasswordWhenItIsNone) {
    const std::vector<std::pair<std::string, std::string>> shown = {
        {"mysql://u:s3cret@h/db", "mysql://h"},
        {"mysql://u:cret@x@db.example:99", "mysql://db.example"},
        {"mysql://h/db?password=x@cret", "mysql://"},
        {"mysql://db.example/db?password=cret", "mysql://db.example"},
        {"host=h password=cret", ""},
        {"shipper:cret@store", ""},
        {"postgresql:/shipper:cret@store", ""},
        {"postgresql:cret@x", ""},
        {"store", "store"}};
    for (const auto& [url, text] : shown) {
        const NS_TEST::ChildResult result =
            NS_TEST::RunProgram({{QVLOG, "ship", "--host", "h", "--to", url, "/"}});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.errors,
                  "qvlog: --to takes postgresql://... or nats://..., not '" + text + "'\n");
    }
}

TEST(StoreAddress, IsRefusedWithoutAPassword) {
    for (const char* const url : {"postgresql://u:s3%zzcret@h/db", "postgresql://u:se@cret:9x@h"}) {
        const NS_TEST::ChildResult result =
            NS_TEST::RunProgram({{QVLOG, "ship", "--host", "h", "--to", url, "/"}});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.errors, StartsWith("qvlog: --to: "));
        EXPECT_THAT(result.errors, Not(HasSubstr("cret")));
        EXPECT_THAT(result.errors, Not(HasSubstr("9x")));
    }
}

// It would wait for ever for servers that no waiting brings.
TEST(StoreAddress, IsRefusedWhenItCannotBeRight) {
    for (const char* const command : {"ship --host h --to", "collect --from nats://n --to"}) {
        const NS_TEST::ChildResult result = NS_TEST::RunProgram(
            {{"bash", "-c",
              "exec timeout 60 \"$0\" " + std::string(command) + " 'postgresql://db:99999/qv'",
              QVLOG},
             {{"_APP_SHARE_DIR", "/"}}});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.errors, StartsWith("qvlog: --to: a port is a number from 1 to 65535;"));
    }
}

}  // namespace
