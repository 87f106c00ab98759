// Standard input, output and error that are closed.
#include "process/standarddescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace NS_REFERENCE_HOST {

void FillStandardDescriptors(const char* outputDevice) {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            const char* const device = descriptor == STDOUT_FILENO ? outputDevice : "/dev/null";
            // open returns the lowest free number.
            static_cast<void>(!open(device, descriptor == STDIN_FILENO ? O_RDONLY : O_WRONLY));
        }
    }
}

}  // namespace NS_REFERENCE_HOST
