// The bundles of the process.
#include "agent/bundleloader.h"

#include <algorithm>
#include <cstdio>

#include "common/describeexception.h"

namespace NS_REFERENCE_HOST {

namespace {

// An exception must not leave bundles behind that are half ended: none bears its end twice.
bool CallBeforeEnd(const std::string& name, const std::function<void()>& beforeEach) {
    try {
        beforeEach();
        return true;
    } catch (...) {
        std::fprintf(stderr, "qv_agent: what comes before the end of bundle %s failed: %s\n",
                     name.c_str(), ExceptionText());
        return false;
    }
}

}  // namespace

BundleLoader::~BundleLoader() {
    StopServices();
    FinishAll([] {});
}

void BundleLoader::Load(const BundleEntry& entry) {
    // Once it is loaded nothing but its end may take it away.
    bundles_.reserve(bundles_.size() + 1);
    bundles_.push_back(std::make_unique<Bundle>(entry));
    notStopped_ = bundles_.size();
    bundles_.back()->Init();
}

void BundleLoader::StopServices() {
    while (notStopped_ > 0) {
        const size_t position = notStopped_--;
        if (!bundles_[position - 1]->StopService()) {
            inUse_ = std::max(inUse_, position);
        }
    }
}

bool BundleLoader::FinishAll(const std::function<void()>& beforeEach) {
    bool success = inUse_ == 0;
    for (size_t position = bundles_.size(); position > inUse_; --position) {
        Bundle& bundle = *bundles_[position - 1];
        success = CallBeforeEnd(bundle.Name(), beforeEach) && success;
        success = bundle.FiniAndFree() && success;
    }
    if (inUse_ > 0) {
        CallBeforeEnd(bundles_[inUse_ - 1]->Name(), beforeEach);
    }
    for (size_t position = inUse_; position > 0; --position) {
        bundles_[position - 1]->LeaveRunning();
    }
    while (!bundles_.empty()) {
        bundles_.pop_back();
    }
    inUse_ = 0;
    return success;
}

}  // namespace NS_REFERENCE_HOST
