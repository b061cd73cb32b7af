#pragma once

#include <string>

namespace ulk::sys {

// A shared library loaded at run time, with all its symbols bound at once and none given to other
// libraries; unloaded on destruction.
class SharedLibrary {
public:
    // Throws std::runtime_error with the loader's words.
    explicit SharedLibrary(std::string const& path);
    ~SharedLibrary();

    SharedLibrary(SharedLibrary const&) = delete;
    SharedLibrary& operator=(SharedLibrary const&) = delete;

    // Whether this process has the library, by this path, whoever loaded it.
    static bool is_loaded(std::string const& path);

    // Address of a function of type Fnc, null when the library exports no such name.
    template <class Fnc>
    Fnc* find(char const* name) const {
        return reinterpret_cast<Fnc*>(find_address(name));
    }

private:
    void* find_address(char const* name) const;

    void* _handle;
};

} // namespace ulk::sys
