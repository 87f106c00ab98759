// A shared library that is loaded for as long as the object lives, or longer.
#include "agent/sharedlibrary.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

namespace NS_REFERENCE_HOST {

namespace {

// A sanitizer's report at the end of the process names functions, so the library must still be
// loaded.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kKeepCode = RTLD_NODELETE;
#else
constexpr int kKeepCode = 0;
#endif

void* Open(const std::string& path) {
    // Not lazily: an unresolved symbol must fail the loading of the bundle, not end the process
    // later.
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | kKeepCode);
    if (handle == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return handle;
}

}  // namespace

SharedLibrary::SharedLibrary(const std::string& path) : handle_(Open(path)) {}

SharedLibrary::~SharedLibrary() {
    if (!isKept_) {
        dlclose(handle_);
    }
}

void* SharedLibrary::Find(const std::string& symbol) const {
    return dlsym(handle_, symbol.c_str());
}

std::string FindBundleLibrary(const std::string& name) {
    std::string file = "lib" + name + ".so";
    std::error_code error;
    const auto programs = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    // The bundle directory of an installation, and the libraries of a build.
    for (const char* directory : {QV_BUNDLE_DIRECTORY, "../lib"}) {
        const auto path = (programs / directory / file).lexically_normal();
        if (!programs.empty() && std::filesystem::exists(path, error)) {
            return path.string();
        }
    }
    return file;
}

}  // namespace NS_REFERENCE_HOST
