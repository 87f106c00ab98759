// A fresh directory for a test, removed with everything in it afterwards.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace NS_TEST {

// Makes a directory with a name of its own under the system's place for temporary files, mode
// 0700 whatever the umask. Its path is absolute and holds no symbolic links, so it compares equal
// to what realpath(3) makes of it.
class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string pattern =
            (std::filesystem::canonical(std::filesystem::temp_directory_path()) / "qvtest.XXXXXX")
                .string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), "mkdtemp " + pattern);
        }
        path_ = pattern;
    }

    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::current_path("/", ignored);
        Unlock(path_);
        std::filesystem::remove_all(path_, ignored);
    }

    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    // Without a separator at its end.
    const std::string& Path() const { return path_; }

    // The path of `name` inside the directory; nothing is created.
    std::string Path(const std::string& name) const { return path_ + "/" + name; }

  private:
    // A test may have taken rights away from its directories; removing needs them back.
    static void Unlock(const std::filesystem::path& directory) {
        std::error_code ignored;
        std::filesystem::permissions(directory, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        for (const auto& entry : std::filesystem::directory_iterator(directory, ignored)) {
            if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) {
                Unlock(entry.path());
            }
        }
    }

    std::string path_;
};

// The fixture for tests that need a directory: `class LogFile : public NS_TEST::DirectoryTest`.
class DirectoryTest : public ::testing::Test {
  protected:
    const std::string& Path() const { return directory_.Path(); }
    std::string Path(const std::string& name) const { return directory_.Path(name); }

  private:
    TemporaryDirectory directory_;
};

}  // namespace NS_TEST
