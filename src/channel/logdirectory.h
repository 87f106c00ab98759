// Creating log files where their directory may not exist yet.
#pragma once

#include <string>

#include "channel/filestream.h"

namespace NS_LOG_SERVICE1 {

// Creates the file `name` in `directory`, and the directory and its two nearest ancestors where
// they are missing; directories get mode 0750, files 0640. Returns false when the file cannot be
// created; `stream` is closed then.
bool CreateInDirectory(FileStream& stream, const std::string& directory, const std::string& name);

// `path` without links and relative steps, as far as it exists.
std::string CanonicalPath(const std::string& path);

}  // namespace NS_LOG_SERVICE1
