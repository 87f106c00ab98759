// Reports the errors of the agent's bundles.
#include "common/report.h"

#include <cstdio>

#include "bundlemgr/bundlemgr.h"

namespace NS_REFERENCE_HOST {

void Report(const char* bundle, const std::string& text) {
    using NS_BUNDLEMGR1::BundleMgr;
    NS_BUNDLEMGR1::LogProxyProvider* const provider = BundleMgr::Instance()->GetLogProxyProvider();
    NS_BUNDLEMGR1::LogProxy* const proxy =
        provider == nullptr ? nullptr : provider->GetLogProxy(std::string(bundle) + bundle);
    if (proxy == nullptr) {
        std::fprintf(stderr, "%s: %s\n", bundle, text.c_str());
        return;
    }
    proxy->SetBundleName(bundle);
    proxy->SetServiceName(bundle);
    proxy->SetPosition("report", __LINE__);
    proxy->Print(1, "%s", text.c_str());
}

}  // namespace NS_REFERENCE_HOST
