// What is told apart about a store before and after it is asked.
#include <gtest/gtest.h>

#include <string>

#include "store/connection.h"
#include "store/storeaddress.h"
#include "support/childprocess.h"

namespace {

using NS_LOG_FLEET::MistakeInAddress;
using NS_LOG_FLEET::StoreError;

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
    EXPECT_EQ(MistakeInAddress("postgresql://db:99999/qv"), "'99999' is no port");
    EXPECT_EQ(MistakeInAddress("postgresql://a:5432,b:0/qv"), "'0' is no port");
    EXPECT_EQ(MistakeInAddress("postgresql://db:54x/qv"), "'54x' is no port");
    EXPECT_EQ(MistakeInAddress("postgresql://db/qv?port=5432x"), "'5432x' is no port");
    EXPECT_EQ(MistakeInAddress("postgresql://db/qv?nosuch=1"),
              "invalid URI query parameter: \"nosuch\"");
    EXPECT_NE(MistakeInAddress("nats://db"), "");
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
        EXPECT_EQ(result.errors, "qvlog: --to: '99999' is no port\n");
    }
}

}  // namespace
