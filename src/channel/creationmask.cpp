#include "channel/creationmask.h"

#include <sys/stat.h>

namespace NS_LOG_SERVICE1 {
namespace {

ACE_Thread_Mutex& MaskMutex() {
    // Never destroyed: a thread may open a log file while the process exits.
    static ACE_Thread_Mutex* const mutex = new ACE_Thread_Mutex;
    return *mutex;
}

}  // namespace

ScopedCreationMask::ScopedCreationMask(mode_t mask)
    : guard_(MaskMutex()), previous_(::umask(mask)) {}

ScopedCreationMask::~ScopedCreationMask() {
    ::umask(previous_);
}

void ScopedCreationMask::Change(mode_t mask) {
    ::umask(mask);
}

}  // namespace NS_LOG_SERVICE1
