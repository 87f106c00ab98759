// The address of a Unix-domain socket, however long its path is.
#include "control/socketaddress.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>

namespace NS_REFERENCE_HOST {

SocketAddress::SocketAddress(const std::string& path) {
    std::string used = path;
    if (used.size() >= sizeof(address_.sun_path)) {
        const std::string::size_type separator = path.find_last_of('/');
        const std::string directory = path.substr(0, separator + 1);
        directory_ = FileDescriptor(
            open(directory.empty() ? "." : directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!directory_.IsOpen()) {
            throw std::system_error(errno, std::generic_category(), directory);
        }
        used =
            "/proc/self/fd/" + std::to_string(directory_.Get()) + "/" + path.substr(separator + 1);
    }
    if (used.size() >= sizeof(address_.sun_path)) {
        throw std::system_error(ENAMETOOLONG, std::generic_category(), path);
    }
    address_.sun_family = AF_UNIX;
    used.copy(address_.sun_path, used.size());
}

}  // namespace NS_REFERENCE_HOST
