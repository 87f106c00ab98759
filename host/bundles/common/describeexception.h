// What was thrown, in words.
#pragma once

#include <exception>
#include <string>

namespace NS_REFERENCE_HOST {

// Describes the exception that is being handled. Bundles may throw anything: CORBA's exceptions,
// for one, are no std::exception. REQUIRES: called in a catch block.
inline std::string DescribeException() {
    try {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "something that is no exception";
    }
}

}  // namespace NS_REFERENCE_HOST
