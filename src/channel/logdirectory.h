// Creates log files and their directories.
#pragma once

#include <string>
#include <system_error>

#include "channel/filestream.h"

namespace NS_LOG_SERVICE1 {

// Creates the file `name` in `directory`, and the directory and its two nearest ancestors when they
// are missing. Directories get mode 0750, files 0640. When the file cannot be created, returns the
// error and leaves `stream` closed.
std::error_code CreateInDirectory(FileStream& stream, const std::string& directory,
                                  const std::string& name);

// Returns `path` without symbolic links, "." and "..", as far as it exists.
std::string CanonicalPath(const std::string& path);

}  // namespace NS_LOG_SERVICE1
