// A moment between two looks at what another thread changes.
#pragma once

namespace NS_LOG_SERVICE1 {

// Tells the processor that this thread only waits. Any thread.
inline void Pause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

}  // namespace NS_LOG_SERVICE1
