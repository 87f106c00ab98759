// Opens log files in their directories, which may be missing.
#pragma once

#include <string>
#include <system_error>

#include "channel/filestream.h"

namespace NS_LOG_SERVICE1 {

// Both open the file `name` in `directory`, and create the directory and its two nearest ancestors
// when they are missing. Directories that they create get mode 0750, files 0640. When the file
// cannot be opened, both return the error and leave `stream` closed.

// Creates the file, or empties it. Changes the process's creation mask meanwhile.
std::error_code CreateInDirectory(FileStream& stream, const std::string& directory,
                                  const std::string& name);

// Creates the file, or goes on at its end. Does not touch the creation mask, which children that
// are forked meanwhile would keep, and for which other categories would wait.
std::error_code ContinueInDirectory(FileStream& stream, const std::string& directory,
                                    const std::string& name);

// Returns `path` without symbolic links, "." and "..", as far as it exists.
std::string CanonicalPath(const std::string& path);

}  // namespace NS_LOG_SERVICE1
