// What was thrown, in words.
#pragma once

#include <exception>
#include <string>

namespace NS_REFERENCE_HOST {

// Describes the exception that is being handled. Bundles may throw anything: CORBA's exceptions,
// for one, are no std::exception. The text lives as long as the exception. Asks for no memory: the
// lack of it may be what was thrown. REQUIRES: called in a catch block.
inline const char* ExceptionText() noexcept {
    try {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "something that is no exception";
    }
}

// The same as a string of its own.
inline std::string DescribeException() {
    return ExceptionText();
}

}  // namespace NS_REFERENCE_HOST
