// One bundle: its library and its service object.
#include "agent/bundle.h"

#include <ace/Guard_T.h>

#include <cstdio>
#include <stdexcept>

#include "agent/agenterror.h"
#include "bundlemgr/bundlemgr.h"
#include "common/describeexception.h"

namespace NS_REFERENCE_HOST {

namespace {

using Factory = ACE_Service_Object* (*)(ACE_Service_Object_Exterminator*);

std::unique_ptr<SharedLibrary> LoadLibrary(const BundleEntry& entry) {
    try {
        return std::make_unique<SharedLibrary>(entry.path.empty() ? FindBundleLibrary(entry.name)
                                                                  : entry.path);
    } catch (const std::runtime_error& error) {
        throw AgentError(ExitCode::BundleNotLoaded,
                         "bundle " + entry.name + " cannot be loaded: " + error.what());
    }
}

std::vector<char*> PointersTo(std::vector<std::string>& arguments) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// Calls one step of a bundle's end. A failure must not keep the other bundles from ending.
template <typename Step>
bool RunStep(const std::string& name, const char* what, Step step) noexcept {
    try {
        if (step() == 0) {
            return true;
        }
        std::fprintf(stderr, "qv_agent: bundle %s: %s failed\n", name.c_str(), what);
    } catch (...) {
        std::fprintf(stderr, "qv_agent: bundle %s: %s failed: %s\n", name.c_str(), what,
                     ExceptionText());
    }
    return false;
}

}  // namespace

void Bundle::Gobbler::operator()(ACE_Service_Object* object) const {
    if (free != nullptr) {
        free(object);
    } else {
        delete object;
    }
}

Bundle::Bundle(const BundleEntry& entry)
    : entry_(entry),
      argumentVector_(PointersTo(entry_.arguments)),
      library_(LoadLibrary(entry)),
      object_(MakeServiceObject()) {}

Bundle::ServiceObject Bundle::MakeServiceObject() const {
    const std::string symbol = "_make_" + entry_.name;
    void* const address = library_->Find(symbol);
    if (address == nullptr) {
        throw AgentError(ExitCode::BundleNotLoaded,
                         "bundle " + entry_.name + ": its library has no factory " + symbol);
    }
    Gobbler gobbler{nullptr};
    try {
        ACE_Service_Object* const object = reinterpret_cast<Factory>(address)(&gobbler.free);
        if (object == nullptr) {
            throw std::runtime_error("no object");
        }
        return ServiceObject(object, gobbler);
    } catch (...) {
        throw AgentError(ExitCode::BundleRefused,
                         "bundle " + entry_.name + ": its factory failed: " + DescribeException());
    }
}

void Bundle::Init() {
    std::string reason;
    try {
        // Without the program's name, as the service configurator passes them.
        const int count = static_cast<int>(entry_.arguments.size());
        if (object_->init(count, argumentVector_.data()) == 0) {
            return;
        }
    } catch (...) {
        reason = ": " + DescribeException();
    }
    throw AgentError(ExitCode::BundleRefused,
                     "bundle " + entry_.name + " refused to start" + reason);
}

NS_BUNDLEMGR1::ServiceObjectBase* Bundle::Base() const {
    return dynamic_cast<NS_BUNDLEMGR1::ServiceObjectBase*>(object_.get());
}

bool Bundle::StopService() {
    NS_BUNDLEMGR1::ServiceObjectBase* const base = Base();
    return base == nullptr ||
           RunStep(entry_.name, "StopService", [base] { return base->StopService(); });
}

bool Bundle::FiniAndFree() {
    const bool isFinished = RunStep(entry_.name, "fini", [this] { return object_->fini(); });
    // Not by the pointer's destructor, through which no exception can leave.
    const bool isFreed = RunStep(entry_.name, "gobbler", [this] {
        const Gobbler gobbler = object_.get_deleter();
        gobbler(object_.release());
        return 0;
    });
    return isFinished && isFreed;
}

void Bundle::LeaveRunning() {
    static_cast<void>(object_.release());
    library_->KeepLoaded();
}

const WorkingBundle* Bundle::FindWork() const {
    NS_BUNDLEMGR1::ServiceObjectBase* const base = Base();
    if (base == nullptr) {
        return nullptr;
    }
    ACE_Guard<ACE_Recursive_Thread_Mutex> guard(NS_BUNDLEMGR1::BundleMgr::Instance()->GetLock());
    return dynamic_cast<const WorkingBundle*>(base->GetInterface());
}

}  // namespace NS_REFERENCE_HOST
