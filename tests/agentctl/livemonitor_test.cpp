// Changes of the configuration file under a running agent. Its monitor is the service's own but for
// the interval at which it looks.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>

#include "agentctl/liveagent.h"

namespace {

using NS_TEST::CountIn;
using std::filesystem::perms;
using namespace testing;

const char* const kNoStatus = "[LogSwitchMonitorMgr::svc] CALL ACE_OS::stat failed!";
const char* const kLevel1Closed = "[LogSwitchMonitorMgr::Check] LogLevel_1 close ";

class LiveMonitor : public NS_TEST::LiveAgent {
  protected:
    LiveMonitor() {
        Configure("bundles = qv_schedule, quickmonitor=" QV_QUICK_MONITOR
                  ", qv_control, laterloggers=" QV_LATER_LOGGERS "\n");
        original_ = NS_TEST::ReadFile(configFile_);
        SetTime(kBaseline, configFile_);
        EXPECT_EQ(mkfifo(pipe_.c_str(), 0600), 0);
    }

    // An agent with one logger, "known".
    void StartAgent() { StartAgent({"--traffic", "none"}); }
    void StartAgent(const std::vector<std::string>& options) {
        NS_TEST::ChildStart start = Agent(options);
        start.variables = {{"QV_TEST_NAMES", pipe_}};
        if (geteuid() == 0) {  // who may read everything
            start.words.insert(start.words.begin(),
                               {"setpriv", "--bounding-set=-dac_override,-dac_read_search"});
        }
        StartAs(start);
        LogWith("known");
        ASSERT_TRUE(AwaitCount("recordsWritten", 1));
    }

    // It holds three lines with a long path, or little more.
    void MakeErrorPipeSmall() const {
        const std::string path = "/proc/" + std::to_string(agent_->GetId()) + "/fd/2";
        const int pipe = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        ASSERT_GE(pipe, 0);
        EXPECT_EQ(fcntl(pipe, F_SETPIPE_SZ, 4096), 4096);
        close(pipe);
    }

    // Has a logger made, unless it is there, and a record of level 1 logged with it.
    void LogWith(const std::string& name) const {
        std::ofstream(pipe_) << name + '\0' << std::flush;
    }

    // The four switches of the logger, level 0 first; empty while there is no such logger.
    std::string LevelsOf(const std::string& name) const {
        std::string levels;
        const Json::Value loggers = Loggers();
        for (const Json::Value& logger : loggers) {
            if (logger["second"].asString() == name) {
                for (const Json::Value& level : logger["levels"]) {
                    levels += level.asBool() ? '1' : '0';
                }
            }
        }
        return levels;
    }

    // The configuration as at the start but for these items, each "name = value".
    std::string Changed(const std::vector<std::string>& items) const {
        std::string text = original_;
        for (const std::string& item : items) {
            const size_t begin = text.find(item.substr(0, item.find('=') + 1));
            EXPECT_NE(begin, std::string::npos);
            text.replace(begin, text.find('\n', begin) - begin, item);
        }
        return text;
    }

    // Switches level 1 off by a new file, and waits until that is applied.
    void CloseLevel1(time_t time) {
        Replace(Changed({"logswitch = 1,0,1,1"}), time);
        ASSERT_TRUE(agent_->WaitForError(kLevel1Closed));
        EXPECT_EQ(LevelsOf("known"), "1011");
    }

    // Puts a new file in the place of the old one.
    void Replace(const std::string& text, time_t time) const {
        NS_TEST::WriteFile(configFile_ + ".new", text);
        SetTime(time, configFile_ + ".new");
        std::filesystem::rename(configFile_ + ".new", configFile_);
    }

    static void SetTime(time_t time, const std::string& path) {
        const struct timespec times[] = {{time, 0}, {time, 0}};
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }

    // Long ago, so that nobody waits for a writer who may be at it.
    static constexpr time_t kBaseline = 1700000000;

    const std::string pipe_ = Path("names");
    std::string original_;
};

TEST_F(LiveMonitor, SwitchesLoggersThatExistAndThoseThatComeLater) {
    StartAgent();
    EXPECT_EQ(LevelsOf("known"), "1111");
    CloseLevel1(kBaseline + 1);

    LogWith("known");
    LogWith("late");
    ASSERT_TRUE(AwaitCount("recordsCached", 2));
    EXPECT_EQ(LevelsOf("late"), "1011");
    EXPECT_THAT(Logged("corbaoper"), Not(HasSubstr("from late")));

    Replace(original_, kBaseline + 2);
    ASSERT_TRUE(agent_->WaitForError("[LogSwitchMonitorMgr::Check] LogLevel_1 open "));
    EXPECT_EQ(LevelsOf("known"), "1111");
    EXPECT_EQ(LevelsOf("late"), "1111");
    LogWith("later");
    ASSERT_TRUE(AwaitCount("recordsWritten", 2));
    EXPECT_THAT(Logged("corbaoper"), HasSubstr("from later"));
    Stop();
}

TEST_F(LiveMonitor, ShowsNamesThatATerminalWouldObeyEscapedAndKnowsThemByTheirBytes) {
    StartAgent();
    const std::string name = "evil\x1b[2J\n\xff";
    LogWith(name);
    ASSERT_TRUE(AwaitCount("recordsWritten", 2));
    const std::string shown = Succeed({"loggers"});
    EXPECT_THAT(shown, HasSubstr("evil\\x1b[2J\\n\\xff"));
    EXPECT_THAT(shown, Not(HasSubstr("\x1b")));
    Succeed({"level", "3", "off", "later", name, "corbaoper"});
    EXPECT_EQ(LevelsOf("evil\x1b[2J\n\uFFFD"), "1110");
}

TEST_F(LiveMonitor, FollowsAFileThatIsRewrittenInPlace) {
    StartAgent();
    NS_TEST::WriteFile(configFile_, Changed({"logswitch = 0,0,1,1", "bLogOutputPara = 1"}));
    ASSERT_TRUE(agent_->WaitForError("LogLevel_0 close LogLevel_1 close "));
    ASSERT_TRUE(agent_->WaitForError("end change bEnableOutputPara = 1"));
    EXPECT_EQ(LevelsOf("known"), "0011");
    Stop();
}

// The writer takes his time: the file has got another time by the second half. He may be in front
// of an item or in the middle of its value, which is none yet.
TEST_F(LiveMonitor, AppliesNothingOfAHalfWrittenFile) {
    const std::string text = Changed({"logswitch = 1,0,1,1", "bEnableAsnLog = 0"});
    const std::string item = "bLogOutputPara";
    for (const size_t half : {text.find(item), text.find(item) + item.size() + 3}) {
        Replace(original_, kBaseline);
        StartAgent();
        Replace(text.substr(0, half), kBaseline + 1);
        ASSERT_TRUE(agent_->WaitForError("get strEnableOutputPara Info error."));
        EXPECT_EQ(LevelsOf("known"), "1111");
        std::ofstream(configFile_, std::ios::app) << text.substr(half);
        ASSERT_TRUE(agent_->WaitForError(kLevel1Closed));
        EXPECT_EQ(LevelsOf("known"), "1011");
        Stop();
        EXPECT_EQ(CountIn(agent_->GetErrors(), "end change bEnableAsnLog = 0"), 1);
    }
}

TEST_F(LiveMonitor, GoesOnWhileTheFileIsOutOfReachAndAppliesItOnceItIsBack) {
    const std::string directory = Path("conf");
    for (const bool exists : {false, true}) {
        Replace(original_, kBaseline);
        StartAgent();
        if (exists) {
            std::filesystem::permissions(directory, perms::none);
        } else {
            std::filesystem::remove(configFile_);
        }
        ASSERT_TRUE(agent_->WaitForError(kNoStatus, 3));
        LogWith("known");
        ASSERT_TRUE(AwaitCount("recordsWritten", 2));
        EXPECT_EQ(LevelsOf("known"), "1111");

        std::filesystem::permissions(directory, perms::owner_all);
        CloseLevel1(kBaseline + 1);
        Stop();
        EXPECT_EQ(CountIn(agent_->GetErrors(), "[LogSwitchMonitorMgr::Check]"), 1);
    }
}

TEST_F(LiveMonitor, DoesNotTryAgainToReadAFileThatItMayNotRead) {
    StartAgent();
    std::filesystem::permissions(configFile_, perms::none);
    SetTime(kBaseline + 1, configFile_);
    ASSERT_TRUE(agent_->WaitForError("[LogSwitchMonitorMgr::svc] LogSwitchMonitorMgr svc error!"));
    std::filesystem::permissions(configFile_, perms::owner_all);
    EXPECT_EQ(LevelsOf("known"), "1111");

    CloseLevel1(kBaseline + 2);
    Stop();
    EXPECT_EQ(CountIn(agent_->GetErrors(), "LogSwitchMonitorMgr svc error!"), 1);
}

// Ten broken lines are reported, each with the path of the file, which is long, and this test does
// not read on. The reports fill the pipe to the test, which is small, several times over. So the
// agent has to wait between the reading of the file and what comes of it.
TEST_F(LiveMonitor, FinishesWhatItAppliesBeforeTheAgentEnds) {
    std::string longShare = Path();
    for (int i = 0; i < 600; ++i) {
        longShare += "/.";
    }
    StartAgent({"--traffic", "none", "--share", longShare});
    MakeErrorPipeSmall();
    std::string text = Changed({"logswitch = 1,0,1,1"});
    for (int line = 0; line < 10; ++line) {
        text += "a line that is no item\n";
    }
    Replace(text, kBaseline + 1);
    ASSERT_TRUE(agent_->WaitForError("no '=', the line is skipped"));
    agent_->Signal(SIGTERM);
    // The control service ends before the logging service does.
    ASSERT_TRUE(Await([this] { return !std::filesystem::exists(socket_); }));
    EXPECT_THAT(agent_->GetErrors(), Not(HasSubstr(kLevel1Closed)));

    EXPECT_EQ(agent_->Wait().exitCode, 0);
    const std::string& errors = agent_->GetErrors();
    EXPECT_EQ(CountIn(errors, "the line is skipped"), 10);
    const size_t applied = errors.find(kLevel1Closed);
    const size_t gone = errors.find("LogSwitchMonitorMgr Exit!");
    ASSERT_NE(applied, std::string::npos);
    ASSERT_NE(gone, std::string::npos);
    EXPECT_LT(applied, gone);
}

}  // namespace
