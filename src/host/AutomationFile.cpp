#include "host/AutomationFile.h"

#include "host/Error.h"
#include "ulk/sys/NumText.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <utility>

namespace ulk::host {

namespace {

std::string trim(std::string const& txt) {
    auto const beg = txt.find_first_not_of(" \t\r");
    return beg == std::string::npos ? "" : txt.substr(beg, txt.find_last_not_of(" \t\r") - beg + 1);
}

std::vector<std::string> split(std::string const& line, std::string const& origin) {
    std::vector<std::string> field_arr(1);
    bool quote_flag = false;
    for (std::size_t pos = 0; pos < line.size(); ++pos) {
        char const c = line[pos];
        if (c == '"' && quote_flag && pos + 1 < line.size() && line[pos + 1] == '"') {
            field_arr.back() += c;
            ++pos;
        } else if (c == '"') {
            quote_flag = !quote_flag;
        } else if (c == ',' && !quote_flag) {
            field_arr.emplace_back();
        } else {
            field_arr.back() += c;
        }
    }
    if (quote_flag) {
        throw Error(Error::Kind_MATERIAL, origin + ": a quote without its end");
    }
    std::transform(field_arr.begin(), field_arr.end(), field_arr.begin(), &trim);
    return field_arr;
}

ParamChange read_line(std::vector<std::string> const& field_arr, std::string const& origin) {
    if (field_arr.size() < 3 || field_arr.size() > 4) {
        throw Error(Error::Kind_MATERIAL, origin + ": " + std::to_string(field_arr.size()) +
                                              " fields; wanted are time,parameter,value,ramp");
    }
    std::string const ramp = field_arr.size() == 4 ? field_arr[3] : "";
    try {
        return {origin, AutomationFile::read_time(field_arr[0], origin, "time"), field_arr[1],
                field_arr[2], ramp.empty() ? 0 : AutomationFile::read_time(ramp, origin, "ramp")};
    } catch (Error const& e) {
        throw Error(Error::Kind_MATERIAL, e.what());
    }
}

} // namespace

std::vector<ParamChange> AutomationFile::read(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open() || std::filesystem::is_directory(path)) {
        throw Error(Error::Kind_MATERIAL, path + ": cannot be read");
    }
    std::vector<ParamChange> change_arr;
    bool title_flag = true; // a line of titles may still come
    long number = 0;
    for (std::string line; std::getline(file, line);) {
        if (++number == 1 && line.starts_with("\xEF\xBB\xBF")) {
            line.erase(0, 3);
        }
        std::string const origin = path + ":" + std::to_string(number);
        if (trim(line).empty() || trim(line).front() == '#') {
            continue;
        }
        auto const field_arr = split(line, origin);
        if (!std::exchange(title_flag, false) || field_arr[0] != "time") {
            change_arr.push_back(read_line(field_arr, origin));
        }
    }
    if (file.bad()) {
        throw Error(Error::Kind_IO, path + ": reading failed");
    }
    return change_arr;
}

double AutomationFile::read_time(std::string const& txt, std::string const& origin,
                                 char const* what) {
    constexpr double max_time = 1e9; // seconds; keeps frames well inside 64 bits
    double time = 0;
    char const* const end = sys::NumText::conv_str_to_dbl(txt.c_str(), time);
    if (end == txt.c_str() || *end != '\0' || !(time >= 0 && time <= max_time)) {
        throw Error(Error::Kind_USE, origin + ": \"" + txt + "\" is no " + what + " in seconds");
    }
    return time;
}

} // namespace ulk::host
