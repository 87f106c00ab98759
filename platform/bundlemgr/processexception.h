// The platform's exceptions.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "bundlemgr/platformapi.h"

namespace NS_BUNDLEMGR1 {

// A failure with a numeric code and three texts: the file and the function that throws it, and a
// description.
class QV_PLATFORM_API ProcessException : public std::exception {
  public:
    // Copies the texts.
    ProcessException(uint32_t code, const std::string& file, const std::string& function,
                     const std::string& description);
    ~ProcessException() noexcept override;

    // The description.
    const char* what() const noexcept override;

    // What the constructor was given. The references live as long as the exception.
    uint32_t GetCode() const { return code_; }
    const std::string& GetFile() const { return file_; }
    const std::string& GetFunction() const { return function_; }
    const std::string& GetDescription() const { return description_; }

  private:
    uint32_t code_;
    std::string file_;
    std::string function_;
    std::string description_;
};

// No interface is registered under the name, and no service object offers it. Also thrown when the
// configuration store is out of reach.
class QV_PLATFORM_API InterfaceNotExistException : public ProcessException {
  public:
    using ProcessException::ProcessException;
    ~InterfaceNotExistException() noexcept override;
};

}  // namespace NS_BUNDLEMGR1
