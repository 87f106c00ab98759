// Replaces the platform's log proxy when the bundle manager has none.
#pragma once

#include "bundlemgr/logproxy.h"

namespace NS_BUNDLEMGR1 {

// Prints the format text of each diagnostic on standard output, without filling in the values. All
// other operations do nothing.
//
// Thread safety: stateless.
class DefaultLogProxy : public LogProxy {
  public:
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
    void SetPosition(const char* /*file*/, int /*line*/) override {}
    void SetBundleName(const char* /*name*/) override {}
    void SetServiceName(const char* /*name*/) override {}
    std::string GetProxyName() const override { return "DefaultLogProxy"; }
};

}  // namespace NS_BUNDLEMGR1
