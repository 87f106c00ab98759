// The C library's stat, with an eye on who calls it.
#include "control/statwatch.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>

namespace {

const char* const kConfigurationFile = "/conf/corba_agent.cfg";

struct LooksOfTheProcess {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, int> byOthers;    // guarded by mutex
    std::vector<std::string> byMainThread;  // guarded by mutex
};

// Never freed: threads may look at files until the process ends.
LooksOfTheProcess& AllLooks() {
    static LooksOfTheProcess* const looks = new LooksOfTheProcess;
    return *looks;
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

extern "C" int stat(const char* path, struct stat* status) noexcept {
    const int result = fstatat(AT_FDCWD, path, status, 0);
    const int error = errno;
    if (EndsWith(path, kConfigurationFile)) {
        LooksOfTheProcess& looks = AllLooks();
        const std::lock_guard<std::mutex> guard(looks.mutex);
        if (gettid() == getpid()) {
            looks.byMainThread.emplace_back(path);
        } else {
            ++looks.byOthers[path];
            looks.changed.notify_all();
        }
    }
    errno = error;
    return result;
}

namespace NS_TEST {

bool StatWatch::WaitForLooks(const std::string& path, int times) {
    LooksOfTheProcess& looks = AllLooks();
    std::unique_lock<std::mutex> guard(looks.mutex);
    const int wanted = looks.byOthers[path] + times;
    return looks.changed.wait_for(guard, std::chrono::seconds(60),
                                  [&] { return looks.byOthers[path] >= wanted; });
}

int StatWatch::Looks(const std::string& path) {
    const std::lock_guard<std::mutex> guard(AllLooks().mutex);
    return AllLooks().byOthers[path];
}

std::vector<std::string> StatWatch::ConfigurationFiles() {
    const std::lock_guard<std::mutex> guard(AllLooks().mutex);
    return AllLooks().byMainThread;
}

void StatWatch::Forget() {
    const std::lock_guard<std::mutex> guard(AllLooks().mutex);
    AllLooks().byMainThread.clear();
    AllLooks().byOthers.clear();
}

}  // namespace NS_TEST
