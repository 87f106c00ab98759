// Who looks at which file. Counts this process's calls of stat(2): a test can wait until a
// background thread has looked at a file, and need not guess how long that takes.
#pragma once

#include <string>
#include <vector>

namespace NS_TEST {

// Watching replaces the C library's function in this program; it works as before.
//
// Thread safety: any thread.
class StatWatch {
  public:
    // Waits until a thread other than the main one has looked at `path` for `times` more times;
    // false when that does not happen.
    static bool WaitForLooks(const std::string& path, int times);

    // How often such a thread has looked at `path`.
    static int Looks(const std::string& path);

    // The configuration files that the main thread has looked at, in order.
    static std::vector<std::string> ConfigurationFiles();

    static void Forget();
};

}  // namespace NS_TEST
