// A disk that is soon full.
#include "support/smallfilesystem.h"

#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace NS_TEST {
namespace {

// Where the root directory is no mount, in a chroot, there is none to make private.
bool HaveOwnMounts() {
    return unshare(CLONE_NEWNS) == 0 &&
           (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 || errno == EINVAL);
}

}  // namespace

SmallFileSystem::SmallFileSystem(const std::string& directory, size_t bytes, size_t inodes)
    : directory_(directory) {
    std::filesystem::create_directories(directory);
    const std::string options =
        "size=" + std::to_string(bytes) + ",nr_inodes=" + std::to_string(inodes);
    mounted_ =
        HaveOwnMounts() && mount("tmpfs", directory.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

SmallFileSystem::~SmallFileSystem() {
    if (mounted_) {
        umount2(directory_.c_str(), MNT_DETACH);
    }
}

void SmallFileSystem::Fill(const std::string& name) const {
    std::ofstream file(directory_ + "/" + name, std::ios::binary | std::ios::app);
    const std::string block(4096, 'x');
    while (file.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
    }
}

}  // namespace NS_TEST
