#include "ulk/sys/SharedLibrary.h"

#include <dlfcn.h>

#include <stdexcept>

namespace ulk::sys {

SharedLibrary::SharedLibrary(std::string const& path)
    : _handle(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (_handle == nullptr) {
        throw std::runtime_error(::dlerror());
    }
}

SharedLibrary::~SharedLibrary() {
    ::dlclose(_handle);
}

bool SharedLibrary::is_loaded(std::string const& path) {
    void* const handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (handle != nullptr) {
        ::dlclose(handle); // the question counted as a use
    }
    return handle != nullptr;
}

void* SharedLibrary::find_address(char const* name) const {
    return ::dlsym(_handle, name);
}

} // namespace ulk::sys
