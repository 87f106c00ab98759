// The channels of the log categories.
#include "channel/channelmap.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "channel/channelfixture.h"

using NS_TEST::Frame;
using NS_TEST::kClosed;
using NS_TEST::kCreated;
using NS_TEST::ListFiles;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;

namespace NS_LOG_SERVICE1 {
namespace {

class Channels : public NS_TEST::ChannelTest {
  protected:
    std::vector<std::string> Names() {
        std::vector<std::string> names;
        channels_.ForEach(
            [&names](const std::string& name, TEDebugInfoBuf&) { names.push_back(name); });
        return names;
    }

    const std::vector<std::string> sorted_ = {"corba_alarm", "corba_internal_oper", "corbadebug",
                                              "corbanotify", "corbaoper",           "corbasys",
                                              "debug"};
    LogSettings settings_;
    ChannelMap channels_;
};

TEST_F(Channels, ExistForSevenCategories) {
    EXPECT_EQ(std::vector<std::string>(kLogCategories.begin(), kLogCategories.end()),
              std::vector<std::string>({"debug", "corbadebug", "corbanotify", "corba_alarm",
                                        "corbasys", "corbaoper", "corba_internal_oper"}));
    EXPECT_EQ(Names(), std::vector<std::string>());
    channels_.Create(settings_);
    EXPECT_EQ(Names(), sorted_);
    for (const std::string& name : sorted_) {
        EXPECT_NE(channels_.Find(name), nullptr);
        EXPECT_TRUE(IsLogCategory(name));
    }
    EXPECT_EQ(ListFiles(Path()), std::vector<std::string>());
}

TEST_F(Channels, AreFoundByTheExactName) {
    channels_.Create(settings_);
    for (const char* const name : {"CorbaOper", "corba", "corbaope", "corbaoperx", " debug", ""}) {
        EXPECT_FALSE(IsLogCategory(name));
        EXPECT_EQ(channels_.Find(name), nullptr);
    }
    EXPECT_FALSE(IsLogCategory(std::string("debug\0", 6)));
    EXPECT_EQ(Names(), sorted_);
    channels_.FlushAll();
    channels_.Destroy();
}

TEST_F(Channels, HaveTheSizesOfTheMomentOfTheirCreation) {
    settings_.queuebuflength = 7;
    settings_.filterbuflength = 8;
    channels_.Create(settings_);
    settings_.queuebuflength = 70;
    settings_.filterbuflength = 80;
    channels_.ForEach([](const std::string&, TEDebugInfoBuf& channel) {
        EXPECT_EQ(channel.QueueCapacity(), 7u);
        EXPECT_EQ(channel.KeptCapacity(), 8u);
    });
}

TEST_F(Channels, AreCreatedOnce) {
    channels_.Create(settings_);
    TEDebugInfoBuf* const debug = channels_.Find("debug");
    settings_.queuebuflength = 7;
    channels_.Create(settings_);
    EXPECT_EQ(channels_.Find("debug"), debug);
    EXPECT_EQ(debug->QueueCapacity(), 16384u);
    EXPECT_EQ(Names(), sorted_);
}

TEST_F(Channels, AreFlushedTogether) {
    channels_.Create(settings_);
    channels_.ForEach([](const std::string& name, TEDebugInfoBuf& channel) {
        if (name != "debug") {
            channel.AppendOutputInfo(WithDetail(1, name).Get());
        }
    });
    channels_.FlushAll();
    EXPECT_EQ(ListFiles(Path("log")).size(), 7u);
    for (const std::string& name : sorted_) {
        EXPECT_EQ(ReadFile(Path("log/" + NameNow("unbi_" + name + "_"))),
                  kCreated + (name != "debug" ? Frame(1, 1, name) : ""));
    }
}

TEST_F(Channels, AreWrittenAndClosedWhenTheyAreDestroyed) {
    channels_.Create(settings_);
    channels_.Find("corbasys")->AppendOutputInfo(WithDetail(1, "queued").Get());
    channels_.Find("corbasys")->AppendFiltered(WithDetail(1, "kept").Get());
    channels_.Destroy();
    EXPECT_EQ(ReadFile(Path("log/" + NameNow("unbi_corbasys_"))),
              kCreated + Frame(1, 1, "queued") + kClosed);
    EXPECT_EQ(Names(), std::vector<std::string>());
    EXPECT_EQ(channels_.Find("debug"), nullptr);
    channels_.Destroy();
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
