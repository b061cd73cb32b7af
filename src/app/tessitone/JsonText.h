#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace tessitone {

// A report for programs, on several lines. Names of files are bytes: what is no UTF-8 in them is
// replaced.
template <class Json>
std::string print_json(Json const& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace tessitone
