// A bundle that notes what its manager does with it, and fails where it is told to.
//
// Each event goes as a line "NAME EVENT" into the file that the variable QV_TEST_EVENTS names. The
// variable QV_TEST_FACTORY makes the factory fail: throw, throw-number, null. The arguments of
// `init` choose what else fails or happens:
//
//     refuse, throw, throw-number                        init
//     fail-stop                                          StopService; a thread goes on
//     read-items                                         StopService has the configuration read
//     fail-fini, throw-number-fini                       fini
//     throw-number-gobbler                               the gobbler
//     throw-number-interface                             GetInterface
//     fail-work, throw-number-work                       work that has ended at once
//     throw-number-descriptor                            the same, asked for its descriptor
//     fail-stopped-work                                  work that goes on until it is stopped
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "bundlemgr/platformapi.h"
#include "bundlemgr/serviceobjectbase.h"
#include "qv_host/workingbundle.h"

// QV_TEST_NAME and QV_TEST_FACTORY_SYMBOL come from the build: one library for each name.

namespace {

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

void Note(const std::string& event) {
    const std::string line = std::string(QV_TEST_NAME) + " " + event + "\n";
    const int file = open(Variable("QV_TEST_EVENTS").c_str(), O_WRONLY | O_APPEND | O_CREAT, 0600);
    if (file >= 0) {
        static_cast<void>(!write(file, line.data(), line.size()));
        close(file);
    }
}

// Goes with the library.
struct Library {
    ~Library() { Note("unload"); }
} library;

// The arguments of `init`. One object in a process: one library, one bundle.
std::vector<std::string> arguments;

bool IsTold(const char* word) {
    return std::count(arguments.begin(), arguments.end(), word) > 0;
}

// Work that has ended, or ends when it is told to.
class EndedWork : public NS_REFERENCE_HOST::WorkingBundle {
  public:
    EndedWork() : done_(eventfd(IsTold("fail-stopped-work") ? 0 : 1, EFD_CLOEXEC)) {}
    ~EndedWork() override { close(done_); }

    EndedWork(const EndedWork&) = delete;
    EndedWork& operator=(const EndedWork&) = delete;

    std::string GetIFName() const override { return QV_TEST_NAME; }
    bool IsValid() const override { return true; }
    int DoneDescriptor() const override {
        if (IsTold("throw-number-descriptor")) {
            throw 1;
        }
        return done_;
    }
    bool HasSucceeded() const override {
        if (IsTold("throw-number-work")) {
            throw 1;
        }
        return !IsTold("fail-work") && !IsTold("fail-stopped-work");
    }

    void End() const { eventfd_write(done_, 1); }

  private:
    const int done_;
};

// Thread safety: the manager's thread only.
class Recorder : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    Recorder() : ServiceObjectBase(QV_TEST_NAME, QV_TEST_NAME) {}
    ~Recorder() override { Note("destructor"); }

    int init(int argc, ACE_TCHAR* argv[]) override {
        arguments.assign(argv, argv + argc);
        std::string event = "init";
        for (const std::string& argument : arguments) {
            event += " " + argument;
        }
        Note(event);
        if (IsTold("throw")) {
            throw std::runtime_error("out of patience");
        }
        if (IsTold("throw-number")) {
            throw 1;
        }
        if (IsTold("fail-stop")) {
            std::thread([this] { RunForEver(); }).detach();
        }
        const bool hasWork = std::any_of(arguments.begin(), arguments.end(), [](const auto& word) {
            return word.find("work") != std::string::npos || word == "throw-number-descriptor";
        });
        if (hasWork) {
            interface_ = new EndedWork;
        }
        return IsTold("refuse") ? -1 : 0;
    }

    NS_BUNDLEMGR1::ServiceInterface* GetInterface() override {
        if (IsTold("throw-number-interface")) {
            throw 1;
        }
        return interface_;
    }

    int StopService() override {
        Note("StopService");
        if (IsTold("read-items")) {
            std::vector<NS_BUNDLEMGR1::NameValueStru> items;
            NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetCorbaConfigItems(items);
        }
        if (interface_ != nullptr) {
            static_cast<const EndedWork*>(interface_)->End();
        }
        return IsTold("fail-stop") ? -1 : 0;
    }

    int fini() override {
        Note("fini");
        RemoveInterface();
        if (IsTold("throw-number-fini")) {
            throw 1;
        }
        return IsTold("fail-fini") ? -1 : 0;
    }

  private:
    // Code and data of the library and of the object, without a pause.
    [[noreturn]] void RunForEver() {
        for (;;) {
            ++rounds_;
        }
    }

    std::atomic<unsigned int> rounds_{0};
};

void Gobble(void* object) {
    Note("gobbler");
    delete static_cast<ACE_Service_Object*>(object);
    if (IsTold("throw-number-gobbler")) {
        throw 1;
    }
}

}  // namespace

extern "C" QV_PLATFORM_API ACE_Service_Object* QV_TEST_FACTORY_SYMBOL(
    ACE_Service_Object_Exterminator* gobbler) {
    Note("factory");
    const std::string wanted = Variable("QV_TEST_FACTORY");
    if (wanted == "throw") {
        throw std::runtime_error("no room");
    }
    if (wanted == "throw-number") {
        throw 1;
    }
    *gobbler = &Gobble;
    return wanted == "null" ? nullptr : new Recorder;
}
