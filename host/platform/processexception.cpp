// The platform's exceptions. The destructors stand here so that there is one type in the process.
#include "bundlemgr/processexception.h"

namespace NS_BUNDLEMGR1 {

ProcessException::ProcessException(uint32_t code, const std::string& file,
                                   const std::string& function, const std::string& description)
    : code_(code), file_(file), function_(function), description_(description) {}

ProcessException::~ProcessException() noexcept = default;

const char* ProcessException::what() const noexcept {
    return description_.c_str();
}

InterfaceNotExistException::~InterfaceNotExistException() noexcept = default;

}  // namespace NS_BUNDLEMGR1
