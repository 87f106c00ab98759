// The bundle manager that stands for the closed one.
#include "bundlemgr/bundlemgr.h"

#include <atomic>

#include "hostcontrol.h"
#include "nodestructor.h"
#include "serviceobjectlist.h"

namespace NS_REFERENCE_HOST {

namespace {

// Thread safety: any thread may call any operation.
class ReferenceBundleMgr final : public NS_BUNDLEMGR1::BundleMgr {
  public:
    ReferenceBundleMgr() : provider_(StderrLogProxyProvider()) {}

    void Reserved2() override {}
    void Reserved3() override {}
    void Reserved4() override {}
    void Reserved5() override {}
    void Reserved6() override {}
    void Reserved7() override {}
    void Reserved8() override {}
    void Reserved9() override {}
    void Reserved10() override {}
    void Reserved11() override {}

    NS_BUNDLEMGR1::LogProxyProvider* GetLogProxyProvider() override {
        return provider_.load(std::memory_order_acquire);
    }

    void SetLogProxyProvider(NS_BUNDLEMGR1::LogProxyProvider* provider) {
        provider_.store(provider, std::memory_order_release);
    }

  private:
    std::atomic<NS_BUNDLEMGR1::LogProxyProvider*> provider_;
};

ReferenceBundleMgr& Manager() {
    static NoDestructor<ReferenceBundleMgr> manager;
    return *manager;
}

}  // namespace

void SetLogProxyProvider(NS_BUNDLEMGR1::LogProxyProvider* provider) {
    Manager().SetLogProxyProvider(provider);
}

}  // namespace NS_REFERENCE_HOST

namespace NS_BUNDLEMGR1 {

ACE_Thread_Mutex _g_actualmutex;

BundleMgr* BundleMgr::Instance() {
    return &NS_REFERENCE_HOST::Manager();
}

ACE_Recursive_Thread_Mutex& BundleMgr::GetLock() {
    return NS_REFERENCE_HOST::ServiceObjectList::Instance().Lock();
}

// Not analysed: the caller holds the lock, which the bundles' header can only say in words.
const std::vector<ServiceObjectBase*>& BundleMgr::GetServiceObjects() const
    NO_THREAD_SAFETY_ANALYSIS {
    return NS_REFERENCE_HOST::ServiceObjectList::Instance().Objects();
}

}  // namespace NS_BUNDLEMGR1
