// The interface object of a bundle that works.
#include "common/workinterface.h"

namespace NS_REFERENCE_HOST {

WorkInterface::WorkInterface(const std::string& name) : name_(name) {}

std::string WorkInterface::GetIFName() const {
    return name_;
}

bool WorkInterface::IsValid() const {
    return true;
}

int WorkInterface::DoneDescriptor() const {
    return done_.Descriptor();
}

bool WorkInterface::HasSucceeded() const {
    return success_.load();
}

void WorkInterface::Finish(bool success) {
    success_.store(success);
    done_.Signal();
}

}  // namespace NS_REFERENCE_HOST
