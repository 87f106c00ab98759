// The bundles of the process.
#include "agent/bundleloader.h"

namespace NS_REFERENCE_HOST {

BundleLoader::~BundleLoader() {
    StopAll([] {});
}

void BundleLoader::Load(const BundleEntry& entry) {
    bundles_.push_back(std::make_unique<Bundle>(entry));
    bundles_.back()->Init();
}

bool BundleLoader::StopAll(const std::function<void()>& beforeEach) {
    bool success = true;
    for (auto bundle = bundles_.rbegin(); bundle != bundles_.rend(); ++bundle) {
        success = (*bundle)->StopService() && success;
    }
    for (auto bundle = bundles_.rbegin(); bundle != bundles_.rend(); ++bundle) {
        beforeEach();
        success = (*bundle)->FiniAndFree() && success;
    }
    while (!bundles_.empty()) {
        bundles_.pop_back();
    }
    return success;
}

}  // namespace NS_REFERENCE_HOST
