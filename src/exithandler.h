// What the service does when the process exits and nobody has ended the service.
#pragma once

namespace NS_LOG_SERVICE1 {

// From now on, when somebody calls exit(3), or unloads the library, while the service runs, what is
// queued is written. Nothing else is done: the files stay open, and other threads may go on
// logging, directly and no longer into the queue. A channel that somebody uses is waited for, but
// not for ever: exit may have been called by a signal handler that interrupted the very thread.
//
// Does nothing when it was called before. Thread safety: any thread.
void HandleExit();

}  // namespace NS_LOG_SERVICE1
