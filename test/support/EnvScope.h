#pragma once

#include <optional>
#include <string>

#include <stdlib.h>

namespace test {

// A variable of the environment, for the scope; a null value unsets it.
class EnvScope {
public:
    EnvScope(char const* name, char const* val)
        : _name(name) {
        if (char const* const old = ::getenv(name)) {
            _old = old;
        }
        set(val);
    }
    EnvScope(EnvScope const&) = delete;
    EnvScope& operator=(EnvScope const&) = delete;
    ~EnvScope() { set(_old ? _old->c_str() : nullptr); }

private:
    void set(char const* val) const {
        val != nullptr ? ::setenv(_name, val, 1) : ::unsetenv(_name);
    }

    char const* _name;
    std::optional<std::string> _old;
};

} // namespace test
