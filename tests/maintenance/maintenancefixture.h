// A service with its maintenance interface, as the bundle manager starts it.
#pragma once

#include <string>
#include <vector>

#include "qv_base_log/logmaintenance.h"
#include "schedule/periodictasks.h"
#include "support/otherservices.h"
#include "support/servicefixture.h"

namespace NS_TEST {

// Takes tasks and runs them when the test says so. For one thread.
class ManualScheduleService : public RecordingScheduleService,
                              public NS_SCHEDULE_SERVICE1::PeriodicTasks {
  public:
    int64_t CreatePeriodicTask(uint32_t intervalSeconds,
                               NS_SCHEDULE_SERVICE1::ScheduledTask& created) override {
        interval = intervalSeconds;
        task = &created;
        return nextHandle;
    }

    int64_t nextHandle = 41;
    uint32_t interval = 0;
    NS_SCHEDULE_SERVICE1::ScheduledTask* task = nullptr;
};

// The service is started by Start and ended by Stop, which the destructor calls otherwise.
class MaintenanceTest : public ServiceTest {
  protected:
    MaintenanceTest() { store_.Set("logswitch", "1,1,0,0"); }
    ~MaintenanceTest() override { Stop(); }

    // `result`: what the start of the service answers.
    void Start(int result = 0) {
        service_ = _make_qv_base_log(&free_);
        ASSERT_EQ(service_->init(0, nullptr), result);
    }

    void Stop() {
        if (service_ != nullptr) {
            static_cast<NS_LOG_SERVICE1::qv_base_log*>(service_)->StopService();
            service_->fini();
            free_(service_);
            service_ = nullptr;
        }
    }

    // Null while the interface is not offered.
    static NS_LOG_SERVICE1::LogMaintenanceInterface* Found() {
        return NS_LOG_SERVICE1::FindLogMaintenance();
    }
    static NS_LOG_SERVICE1::LogMaintenanceInterface& Maintenance() { return *Found(); }

    static NS_LOG_SERVICE1::Logger& OperLogger() {
        return *Manager().GetLogger("bundle", "service", "corbaoper");
    }
    static void Log(int level, const std::string& text) {
        OperLogger().Log("file.cpp", "Function", 7, level, text);
    }

    static NS_LOG_SERVICE1::ChannelStatus Channel(const std::string& category) {
        std::vector<NS_LOG_SERVICE1::ChannelStatus> channels;
        Maintenance().GetChannels(channels);
        for (const NS_LOG_SERVICE1::ChannelStatus& channel : channels) {
            if (channel.category == category) {
                return channel;
            }
        }
        ADD_FAILURE() << "no channel " << category;
        return NS_LOG_SERVICE1::ChannelStatus();
    }

  private:
    ACE_Service_Object* service_ = nullptr;
    ACE_Service_Object_Exterminator free_ = nullptr;
};

}  // namespace NS_TEST
