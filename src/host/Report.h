#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace ulk::host {

// What a reporter of a bug is asked for.
class Report {
public:
    // Sections of named values: texts, numbers, flags and lists of texts; null for what isn't
    // known. A bundle that doesn't load is told, not thrown. Makes no folder and no file.
    static nlohmann::ordered_json make(std::string const& bundle_path);

    // For people: a line a value, "unknown" for null.
    static std::string print(nlohmann::ordered_json const& report);
};

} // namespace ulk::host
