#pragma once

#include <string>
#include <unordered_set>

namespace ulk::host::session {

// Names of files in one folder, none twice, also where capitals and small letters are the same.
class UniqueNames {
public:
    // The name itself, or if it is taken the first one with a number that is not: "kick 2.wav".
    std::string add(std::string const& name);

private:
    bool try_add(std::string const& name);

    std::unordered_set<std::string> _taken; // in small letters
};

} // namespace ulk::host::session
