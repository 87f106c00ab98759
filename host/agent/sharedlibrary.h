// A shared library that is loaded for as long as the object lives, or longer.
#pragma once

#include <string>

namespace NS_REFERENCE_HOST {

// Thread safety: one thread at a time.
class SharedLibrary {
  public:
    // Loads the library and resolves all its symbols; `path` as dlopen(3) takes it. Throws
    // std::runtime_error with the loader's message.
    explicit SharedLibrary(const std::string& path);
    ~SharedLibrary();

    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    // Returns the address of an exported symbol, or null when there is none.
    void* Find(const std::string& symbol) const;

    // The library stays when the object goes.
    void KeepLoaded() { isKept_ = true; }

  private:
    void* const handle_;
    bool isKept_ = false;
};

// Returns the path of the library of the bundle `name`: libNAME.so in the bundle directory of the
// program's installation. A build has it in the directory ../lib of the program. If there is none,
// returns the bare file name, for which the loader searches its own path.
std::string FindBundleLibrary(const std::string& name);

}  // namespace NS_REFERENCE_HOST
