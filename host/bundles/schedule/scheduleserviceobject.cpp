// The service object of the schedule bundle.
#include "schedule/scheduleserviceobject.h"

#include "bundlemgr/ifbuf.h"
#include "common/arguments.h"
#include "schedule/scheduleservice.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kServiceName[] = "qv_schedule";
constexpr char kInterfaceName[] = "ScheduleSvcInterface";

}  // namespace

ScheduleServiceObject::ScheduleServiceObject() : ServiceObjectBase(kServiceName, kServiceName) {}

ScheduleServiceObject::~ScheduleServiceObject() {
    ScheduleServiceObject::fini();
}

int ScheduleServiceObject::init(int argc, ACE_TCHAR* argv[]) {
    if (!ReadArguments(kServiceName, argc, argv)) {
        return -1;
    }
    CreateInterface();
    service_->Start();
    NS_BUNDLEMGR1::SetIFBuf(kInterfaceName, interface_);
    return 0;
}

int ScheduleServiceObject::StopService() {
    if (service_ != nullptr) {
        service_->Stop();
    }
    return 0;
}

int ScheduleServiceObject::fini() {
    StopService();
    service_ = nullptr;
    RemoveInterface();
    return 0;
}

NS_BUNDLEMGR1::ServiceInterface* ScheduleServiceObject::CreateInterface() {
    if (interface_ == nullptr) {
        // A plain pointer because the base deletes it, in RemoveInterface.
        service_ = new ScheduleService;
        interface_ = service_;
    }
    return interface_;
}

}  // namespace NS_REFERENCE_HOST
