// Creating log files where their directory may not exist yet.
#pragma once

#include <string>
#include <system_error>

#include "channel/filestream.h"

namespace NS_LOG_SERVICE1 {

// Creates the file `name` in `directory`, and the directory and its two nearest ancestors where
// they are missing; directories get mode 0750, files 0640. When the file cannot be created, the
// error is returned and `stream` is closed.
std::error_code CreateInDirectory(FileStream& stream, const std::string& directory,
                                  const std::string& name);

// `path` without links and relative steps, as far as it exists.
std::string CanonicalPath(const std::string& path);

}  // namespace NS_LOG_SERVICE1
