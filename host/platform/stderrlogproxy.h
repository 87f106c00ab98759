// A log proxy that writes diagnostics to standard error.
#pragma once

#include <cstdarg>
#include <string>

#include "bundlemgr/logproxy.h"
#include "platform/mutex.h"

namespace NS_REFERENCE_HOST {

// Writes one line per diagnostic:
//
//     2024-03-05T14:07:09.000123+01:00 level 1 qv_base_bundle qv_base_log logimpl:210 text
//
// Newlines at both ends of the text are removed, and those inside it are written as \n. Each line
// is one write(2). A diagnostic that cannot be written is lost.
//
// Thread safety: any thread may call any operation.
class StderrLogProxy final : public NS_BUNDLEMGR1::LogProxy {
  public:
    // `name` is the bundle's name until SetBundleName sets it. The
    // names of all proxies are guarded by one lock, which outlives them.
    StderrLogProxy(const std::string& name, Mutex& lock);

    void Reserved2() override {}
    void Reserved3() override {}
    void Print(int level, const char* format, ...) override __attribute__((format(printf, 3, 4)));
    void Reserved5() override {}
    int Reserved6() override { return 0; }
    int Reserved7() override { return 0; }
    int Reserved8() override { return 0; }
    int Reserved9() override { return 0; }
    int Reserved10() override { return 0; }
    void Reserved11() override {}
    int Reserved12() override { return 0; }
    void SetPosition(const char* file, int line) override;
    void SetBundleName(const char* name) override EXCLUDES(lock_);
    void SetServiceName(const char* name) override EXCLUDES(lock_);
    std::string GetProxyName() const override;

  private:
    std::string TakeHeader(int level) EXCLUDES(lock_);

    Mutex& lock_;
    std::string bundleName_ GUARDED_BY(lock_);
    std::string serviceName_ GUARDED_BY(lock_);
};

// Guards the proxies and their names. It is held around a fork.
Mutex& StderrLogProxyLock();

}  // namespace NS_REFERENCE_HOST
