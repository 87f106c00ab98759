// What the service does when the process exits and nobody has ended the service.
#pragma once

namespace NS_LOG_SERVICE1 {

// From now on, a call of exit(3) and the unloading of the library write out the queues, if the
// service still runs. Nothing else is done: the files stay open, and other threads may go on
// logging, directly and no longer into the queue. The wait for a channel that is in use is limited:
// a signal handler may have called exit on the thread that uses the channel.
//
// This does not make it safe to unload the library while the service runs: the monitor's thread and
// whoever has found the interface would go on in code that is gone. StopService and fini come
// first.
//
// Does nothing when it was called before. Thread safety: any thread.
void HandleExit();

}  // namespace NS_LOG_SERVICE1
