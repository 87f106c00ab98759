#include "channel/creationmask.h"

#include <sys/stat.h>

#include "base/nodestructor.h"

namespace NS_LOG_SERVICE1 {
namespace {

Mutex& MaskMutex() {
    static NoDestructor<Mutex> mutex;
    return *mutex;
}

}  // namespace

ScopedCreationMask::ScopedCreationMask(mode_t mask)
    : guard_(MaskMutex()), previous_(::umask(mask)) {}

ScopedCreationMask::~ScopedCreationMask() {
    ::umask(previous_);
}

void ScopedCreationMask::BeforeFork() {
    MaskMutex().BeforeFork();
}

void ScopedCreationMask::AfterForkInParent() {
    MaskMutex().AfterForkInParent();
}

void ScopedCreationMask::AfterForkInChild() {
    MaskMutex().AfterForkInChild();
}

void ScopedCreationMask::Change(mode_t mask) {
    ::umask(mask);
}

}  // namespace NS_LOG_SERVICE1
