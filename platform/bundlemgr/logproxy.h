// The platform's own diagnostic channel, for bundles that cannot or must not use the logging
// service.
#pragma once

#include <string>

#include "bundlemgr/platformapi.h"

namespace NS_BUNDLEMGR1 {

// Virtual slots: 0 and 1 destructor, then as declared. Only the platform knows what the operations
// ReservedN mean; N is the slot. They keep the slots after them in their places. Bundles do not
// call them.
//
// Thread safety: any thread may call any operation. The position of SetPosition belongs to the next
// Print of the same thread.
class LogProxy {
  public:
    virtual ~LogProxy() = default;

    // The platform's own.
    virtual void Reserved2() = 0;
    virtual void Reserved3() = 0;

    // Slot 4. Writes one diagnostic in printf style. `level`: 1 for failures at start-up and in
    // checks, 2 for a refused operation; smaller is graver.
    virtual void Print(int level, const char* format, ...)
        __attribute__((format(printf, 3, 4))) = 0;

    // The platform's own.
    virtual void Reserved5() = 0;
    virtual int Reserved6() = 0;
    virtual int Reserved7() = 0;
    virtual int Reserved8() = 0;
    virtual int Reserved9() = 0;
    virtual int Reserved10() = 0;
    virtual void Reserved11() = 0;
    virtual int Reserved12() = 0;

    // Slot 13. Sets the source position of the calling thread's next diagnostic: a file name
    // without directories and a line. REQUIRES: `file` lives until the next Print.
    virtual void SetPosition(const char* file, int line) = 0;

    // Slots 14 and 15. Set the names of the caller, before its first diagnostic. They may be set
    // again: each part of a bundle that looks up the proxy sets them. The text is copied.
    virtual void SetBundleName(const char* name) = 0;
    virtual void SetServiceName(const char* name) = 0;

    // Slot 16. Returns the name of this kind of proxy.
    virtual std::string GetProxyName() const = 0;
};

// Gives out proxies. Virtual slot 0 is GetLogProxy, so the class has no virtual destructor and is
// never deleted through this type.
class LogProxyProvider {
  public:
    // Returns the proxy for `name`, which is a bundle name and a service name joined without a
    // separator; null when the provider has none. The provider owns the proxy, which lives as long
    // as the process.
    virtual LogProxy* GetLogProxy(const std::string& name) = 0;

  protected:
    ~LogProxyProvider() = default;
};

}  // namespace NS_BUNDLEMGR1
