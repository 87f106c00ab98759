// A bundle that asks for a logger whenever it is told to, and logs a record with it.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "bundlemgr/platformapi.h"
#include "common/serviceobjectfactory.h"
#include "common/workingserviceobject.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logservice.h"

namespace {

using NS_LOG_SERVICE1::LogSvcInterface;
using NS_REFERENCE_HOST::EventDescriptor;

// Reads names of loggers, each with a zero byte behind it, from a pipe.
class LaterLoggers : public NS_REFERENCE_HOST::Work {
  public:
    // Takes over the descriptor.
    LaterLoggers(LogSvcInterface& service, int pipe) : service_(service), pipe_(pipe) {}
    ~LaterLoggers() override { close(pipe_); }

    bool Run(const EventDescriptor& stop) override {
        pollfd entries[] = {{stop.Descriptor(), POLLIN, 0}, {pipe_, POLLIN, 0}};
        while (poll(entries, 2, -1) >= 0 && entries[0].revents == 0) {
            char next = 0;
            if (read(pipe_, &next, 1) != 1) {
                return false;
            }
            if (next != '\0') {
                name_ += next;
            } else {
                Log();
            }
        }
        return true;
    }

  private:
    void Log() {
        service_.GetLogger("later", name_, "corbaoper")
            ->Log("laterloggers.cpp", "Log", 1, NS_LOG_SERVICE1::LOG_LEVEL_1, "from " + name_);
        name_.clear();
    }

    LogSvcInterface& service_;
    const int pipe_;
    std::string name_;
};

// Thread safety: the manager's thread only.
class LaterLoggersServiceObject : public NS_REFERENCE_HOST::WorkingServiceObject {
  public:
    LaterLoggersServiceObject() : WorkingServiceObject("laterloggers") {}

  protected:
    // The path of the pipe may hold blanks, so it is no argument.
    std::unique_ptr<NS_REFERENCE_HOST::Work> PrepareWork(int, char*[]) override {
        LogSvcInterface* const service = NS_LOG_SERVICE1::FindLogService();
        const char* const path = std::getenv("QV_TEST_NAMES");
        // For writing as well, so that it does not end when nobody writes.
        const int pipe = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
        if (service == nullptr || pipe < 0) {
            return nullptr;
        }
        return std::make_unique<LaterLoggers>(*service, pipe);
    }
};

}  // namespace

extern "C" QV_PLATFORM_API ACE_Service_Object* _make_laterloggers(
    ACE_Service_Object_Exterminator* gobbler) {
    return NS_REFERENCE_HOST::MakeServiceObject<LaterLoggersServiceObject>(gobbler);
}
