// How the agent program ends.
#pragma once

namespace NS_REFERENCE_HOST {

// The numbers are part of the program's interface: scripts test them.
enum class ExitCode {
    Done = 0,            // the work is done, or a signal asked for the end
    WorkFailed = 1,      // a bundle could not do all of its work, records were lost, or the system
                         // lacked what the agent needs
    BadCommandLine = 2,  // an unknown option or a value that does not fit
    BadConfiguration = 3,
    BundleNotLoaded = 4,  // no such library, no factory in it, an unresolved symbol
    BundleRefused = 5,    // the factory or `init` failed
    BadStop = 6,          // a bundle could not be stopped or finished
    AlreadyServed = 7     // another agent serves the directory
};

}  // namespace NS_REFERENCE_HOST
