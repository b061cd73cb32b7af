#include "host/session/UniqueNames.h"

#include <filesystem>

namespace ulk::host::session {

std::string UniqueNames::add(std::string const& name) {
    if (try_add(name)) {
        return name;
    }
    std::filesystem::path const path(name);
    for (long number = 2;; ++number) {
        std::string numbered = path.stem().string();
        numbered.append(" ").append(std::to_string(number)).append(path.extension().string());
        if (try_add(numbered)) {
            return numbered;
        }
    }
}

bool UniqueNames::try_add(std::string const& name) {
    std::string folded = name;
    for (char& c : folded) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return _taken.insert(std::move(folded)).second;
}

} // namespace ulk::host::session
