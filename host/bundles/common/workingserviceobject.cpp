// The service object of a bundle that works.
#include "common/workingserviceobject.h"

#include <string>

#include "common/describeexception.h"
#include "common/report.h"
#include "common/workinterface.h"

namespace NS_REFERENCE_HOST {

WorkingServiceObject::WorkingServiceObject(const char* name)
    : ServiceObjectBase(name, name), name_(name) {}

WorkingServiceObject::~WorkingServiceObject() {
    WorkingServiceObject::StopService();
}

int WorkingServiceObject::init(int argc, ACE_TCHAR* argv[]) {
    work_ = PrepareWork(argc, argv);
    if (work_ == nullptr) {
        return -1;
    }
    CreateInterface();
    thread_ = std::thread([this] { RunWork(); });
    return 0;
}

void WorkingServiceObject::RunWork() noexcept {
    bool success = false;
    try {
        success = work_->Run(stop_);
    } catch (...) {
        ReportIfPossible(name_, [] { return "the work broke off: " + DescribeException(); });
    }
    working_->Finish(success);
}

int WorkingServiceObject::StopService() {
    stop_.Signal();
    if (thread_.joinable()) {
        thread_.join();
    }
    return 0;
}

int WorkingServiceObject::fini() {
    StopService();
    working_ = nullptr;
    RemoveInterface();
    return 0;
}

NS_BUNDLEMGR1::ServiceInterface* WorkingServiceObject::CreateInterface() {
    if (interface_ == nullptr) {
        // A plain pointer because the base deletes it, in RemoveInterface.
        working_ = new WorkInterface(name_);
        interface_ = working_;
    }
    return interface_;
}

}  // namespace NS_REFERENCE_HOST
