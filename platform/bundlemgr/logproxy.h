// The platform's own diagnostic channel: what a bundle says about itself when it cannot, or must
// not, use the logging service.
#pragma once

#include <string>

#include "bundlemgr/platformapi.h"

namespace NS_BUNDLEMGR1 {

// Virtual slots: 0 and 1 destructor, then as declared. The meaning of the operations that are
// called ReservedN is the platform's own; N is the slot. They are declared so that the slots
// behind them keep their places, and bundles do not call them.
//
// Thread safety: every operation may be called by any thread. The position given by SetPosition
// belongs to the next Print of the same thread.
class LogProxy {
  public:
    virtual ~LogProxy() = default;

    virtual void Reserved2() = 0;
    virtual void Reserved3() = 0;

    // Slot 4. Writes one diagnostic, printf style. `level`: 1 for failures at start-up and in
    // checks, 2 for a refused operation; smaller is graver.
    virtual void Print(int level, const char* format, ...)
        __attribute__((format(printf, 3, 4))) = 0;

    virtual void Reserved5() = 0;
    virtual int Reserved6() = 0;
    virtual int Reserved7() = 0;
    virtual int Reserved8() = 0;
    virtual int Reserved9() = 0;
    virtual int Reserved10() = 0;
    virtual void Reserved11() = 0;
    virtual int Reserved12() = 0;

    // Slot 13. The source position of the calling thread's next diagnostic: a file name without
    // directories and a line. `file` must live until the next Print.
    virtual void SetPosition(const char* file, int line) = 0;

    // Slots 14 and 15. Told once, before the first diagnostic; the text is copied.
    virtual void SetBundleName(const char* name) = 0;
    virtual void SetServiceName(const char* name) = 0;

    // Slot 16. The name of the proxy's own kind.
    virtual std::string GetProxyName() const = 0;
};

// Gives out proxies. Virtual slot 0 is GetLogProxy, so the class has no virtual destructor and is
// never deleted through this type.
class LogProxyProvider {
  public:
    // The proxy for `name`, which is a bundle name and a service name joined without a separator;
    // null when the provider has none. The proxy stays with the provider and lives as long as the
    // process.
    virtual LogProxy* GetLogProxy(const std::string& name) = 0;

  protected:
    ~LogProxyProvider() = default;
};

}  // namespace NS_BUNDLEMGR1
