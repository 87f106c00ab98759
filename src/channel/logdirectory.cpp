#include "channel/logdirectory.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "bundlemgr/logsupport.h"
#include "channel/creationmask.h"

namespace NS_LOG_SERVICE1 {
namespace {

// No permissions for others.
constexpr mode_t kDirectoryMask = 007;
// The group may read; no permissions for others.
constexpr mode_t kFileMask = 037;
constexpr mode_t kDirectoryMode = 0755;

// Outermost first. Results are ignored: a directory may exist, and any other failure shows when the
// file is created.
void MakeDirectories(const std::string& directory) {
    const std::string parent = NS_BUNDLEMGR1::GetParentPath(directory);
    const std::string grandparent = NS_BUNDLEMGR1::GetParentPath(parent);
    for (const std::string* path : {&grandparent, &parent, &directory}) {
        ::mkdir(path->c_str(), kDirectoryMode);
    }
}

}  // namespace

std::string CanonicalPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

std::error_code CreateInDirectory(FileStream& stream, const std::string& directory,
                                  const std::string& name) {
    ScopedCreationMask mask(kDirectoryMask);
    MakeDirectories(CanonicalPath(directory));
    mask.Change(kFileMask);
    // Resolve it again: directories that were missing exist now.
    return stream.Create(CanonicalPath(directory) + "/" + name);
}

}  // namespace NS_LOG_SERVICE1
