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
// What the masks leave of it is 0750.
constexpr mode_t kMaskedDirectoryMode = 0755;
// The same without a mask.
constexpr mode_t kDirectoryMode = 0750;
constexpr mode_t kFileMode = 0640;

void MakeMasked(const std::string& path) {
    ::mkdir(path.c_str(), kMaskedDirectoryMode);
}

// A directory that exists keeps its mode.
void MakeWithMode(const std::string& path) {
    if (::mkdir(path.c_str(), kDirectoryMode) == 0) {
        ::chmod(path.c_str(), kDirectoryMode);
    }
}

// Outermost first. Results are ignored: a directory may exist, and any other failure shows when the
// file is created.
template <class Make>
void MakeDirectories(const std::string& directory, Make make) {
    const std::string parent = NS_BUNDLEMGR1::GetParentPath(directory);
    const std::string grandparent = NS_BUNDLEMGR1::GetParentPath(parent);
    for (const std::string* path : {&grandparent, &parent, &directory}) {
        make(*path);
    }
}

// Resolved when it exists.
std::string PathIn(const std::string& directory, const std::string& name) {
    return CanonicalPath(directory) + "/" + name;
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
    MakeDirectories(CanonicalPath(directory), &MakeMasked);
    mask.Change(kFileMask);
    return stream.Create(PathIn(directory, name));
}

std::error_code ContinueInDirectory(FileStream& stream, const std::string& directory,
                                    const std::string& name) {
    MakeDirectories(CanonicalPath(directory), &MakeWithMode);
    return stream.Continue(PathIn(directory, name), kFileMode);
}

}  // namespace NS_LOG_SERVICE1
