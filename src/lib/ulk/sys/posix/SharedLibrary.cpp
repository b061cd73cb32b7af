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

void* SharedLibrary::find_address(char const* name) const {
    return ::dlsym(_handle, name);
}

} // namespace ulk::sys
