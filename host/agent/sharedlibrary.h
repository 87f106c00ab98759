// A shared library that is loaded for as long as the object lives.
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

    // The address of an exported symbol, null when there is none.
    void* Find(const std::string& symbol) const;

  private:
    void* const handle_;
};

// Where the library of the bundle `name` lies: libNAME.so in ../lib as seen from the program, and
// if there is none, the bare file name, which the loader looks for where it looks for libraries.
std::string FindBundleLibrary(const std::string& name);

}  // namespace NS_REFERENCE_HOST
