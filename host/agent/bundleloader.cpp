// The bundles of the process.
#include "agent/bundleloader.h"

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
    StopAll([] {});
}

void BundleLoader::Load(const BundleEntry& entry) {
    // Once it is loaded nothing but its end may take it away.
    bundles_.reserve(bundles_.size() + 1);
    bundles_.push_back(std::make_unique<Bundle>(entry));
    bundles_.back()->Init();
}

bool BundleLoader::StopAll(const std::function<void()>& beforeEach) {
    bool success = true;
    for (auto bundle = bundles_.rbegin(); bundle != bundles_.rend(); ++bundle) {
        success = (*bundle)->StopService() && success;
    }
    for (auto bundle = bundles_.rbegin(); bundle != bundles_.rend(); ++bundle) {
        success = CallBeforeEnd((*bundle)->Name(), beforeEach) && success;
        success = (*bundle)->FiniAndFree() && success;
    }
    while (!bundles_.empty()) {
        bundles_.pop_back();
    }
    return success;
}

}  // namespace NS_REFERENCE_HOST
