// A switch monitor that looks at its file often, and a file whose time the test sets.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <system_error>

#include "control/statwatch.h"
#include "support/servicefixture.h"
#include "support/waiting.h"

namespace NS_TEST {

static const char* const NO_STATUS_IN_INIT =
    "[LogSwitchMonitorMgr::Init] CALL ACE_OS::stat failed!";
static const char* const NO_STATUS = "[LogSwitchMonitorMgr::svc] CALL ACE_OS::stat failed!";
static const char* const SVC_ERROR = "[LogSwitchMonitorMgr::svc] LogSwitchMonitorMgr svc error!";
static const char* const EXIT =
    "[LogSwitchMonitorMgr::~LogSwitchMonitorMgr] LogSwitchMonitorMgr Exit!";

// Matches a diagnostic of the monitor.
inline auto MonitorSays(const std::string& text) {
    return IsDiagnostic(1, "logswitchmonitormgr", text);
}

class MonitorTest : public ServiceTest {
  protected:
    using Monitor = NS_LOG_SERVICE1::LogSwitchMonitorMgr;

    // The service is as its configuration says: all levels on and both flags off.
    MonitorTest() {
        StatWatch::Forget();
        SetLevels("1111");
        store_.Set("logswitch", "1,1,1,1");
        store_.Set("bEnableAsnLog", "0");
        store_.Set("bLogOutputPara", "0");
        SetTime(kBaseline);
    }

    ~MonitorTest() override { monitor_.EndForgottenThread(); }

    void Start() { ASSERT_EQ(monitor_.Init(), 0); }

    // Sets the file's modification time.
    void SetTime(time_t seconds, long nanoseconds = 0) const {
        const struct timespec times[] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
        if (utimensat(AT_FDCWD, configFile_.c_str(), times, 0) != 0) {
            throw std::system_error(errno, std::generic_category(), "utimensat " + configFile_);
        }
    }

    // Puts a new file in the place of the old one, which a reader sees as a whole or not at all.
    void Replace(const std::string& text, time_t time) {
        const std::string target = configFile_;
        configFile_ += ".new";
        NS_TEST::WriteFile(configFile_, text);
        SetTime(time);
        std::filesystem::rename(configFile_, target);
        configFile_ = target;
    }

    // Waits until the monitor has looked at the file, as it is now, and has done what follows. The
    // look that is under way may be an older one. The next one is done when another begins.
    void AwaitFullPass() const { ASSERT_TRUE(StatWatch::WaitForLooks(configFile_, 3)); }

    // The same, and expects the configuration to have been applied so many times by then.
    void AwaitApplications(int times) const {
        AwaitFullPass();
        EXPECT_EQ(store_.AllAsked(), times);
    }

    // The file gone, its content kept aside; and back again with the time that it had.
    void HideFile() const { std::filesystem::rename(configFile_, configFile_ + ".hidden"); }
    void ShowFile() const { std::filesystem::rename(configFile_ + ".hidden", configFile_); }

    static constexpr time_t kBaseline = 1700000000;

    Monitor monitor_{std::chrono::milliseconds(5)};
};

}  // namespace NS_TEST
