#include "diagnostic/defaultlogproxy.h"

#include <ace/OS_NS_stdio.h>

namespace NS_BUNDLEMGR1 {

void DefaultLogProxy::Print(int /*level*/, const char* format, ...) {
    ACE_OS::printf("%s", format);
}

}  // namespace NS_BUNDLEMGR1
