#include "host/Description.h"

#include "ulk/prout/DescXmlTxt.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace ulk::host {

namespace {

using Json = nlohmann::ordered_json;
using Row = std::vector<std::string>;

// A document may hold any bytes: nothing of it is to steer the terminal. Control characters, the
// two-byte ones from U+0080 to U+009F too, become question marks, and bytes that are no UTF-8
// U+FFFD.
std::string clean(std::string const& txt) {
    Json const valid = Json::parse(Json(txt).dump(-1, ' ', false, Json::error_handler_t::replace));
    std::string shown;
    for (char const byte : valid.get<std::string>()) {
        auto const c = static_cast<unsigned char>(byte);
        if (shown.ends_with('\xC2') && c < 0xA0) {
            shown.back() = '?';
        } else {
            shown.push_back(c < 0x20 || c == 0x7F ? '?' : byte);
        }
    }
    return shown;
}

std::string join(Json const& list, char const* separator = ", ") {
    std::string txt;
    for (auto const& item : list) {
        txt.append(txt.empty() ? "" : separator).append(item.get<std::string>());
    }
    return txt;
}

std::size_t count_chars(std::string const& txt) {
    return static_cast<std::size_t>(
        std::count_if(txt.begin(), txt.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// Columns as wide as their longest text, two blanks between them.
std::string make_table(std::vector<Row> row_list) {
    std::vector<std::size_t> width_arr(row_list.front().size(), 0);
    for (Row& row : row_list) {
        for (std::size_t col = 0; col < row.size(); ++col) {
            row[col] = clean(row[col]);
            width_arr[col] = std::max(width_arr[col], count_chars(row[col]));
        }
    }
    std::string txt;
    for (Row const& row : row_list) {
        std::string line = " ";
        for (std::size_t col = 0; col < row.size(); ++col) {
            line.append(" ").append(row[col]);
            line.append(width_arr[col] - count_chars(row[col]) + 1, ' ');
        }
        txt += line.erase(line.find_last_not_of(' ') + 1) + "\n";
    }
    return txt;
}

std::string get_number(double val) {
    if (!std::isfinite(val)) {
        return std::isnan(val) ? "not a number" : val < 0 ? "-infinity" : "infinity";
    }
    return prout::DescXmlTxt::conv_double_to_txt(val + 0.0); // a zero has no sign
}

std::string print_params(std::string const& scope, Json const& list) {
    std::vector<Row> row_list = {{"#", "Name", "Unit", "Range", "Default", "Values", "Events",
                                  "Direction", "Use", "Quantity", "Settable", "Flags"}};
    for (Json const& param : list) {
        auto const& names = param["names"];
        row_list.push_back({std::to_string(param["index"].get<int>()),
                            names.empty() ? "" : names.back().get<std::string>(), param["unit"],
                            get_number(param["min"]) + " to " + get_number(param["max"]),
                            param.value("default_txt", ""), param["domain_val"],
                            param["public_range"], param["dir"], param["type_use"],
                            param["type_data"],
                            param["validity"].empty() ? "any time" : join(param["validity"]),
                            join(param["flags"])});
    }
    return "\nParameters, scope " + scope + "\n" + make_table(row_list);
}

std::string get_layout_name(int nbr_chn) {
    switch (nbr_chn) {
    case 1:
        return "mono";
    case 2:
        return "stereo";
    case 4:
        return "quad";
    case 6:
        return "5.1";
    case 8:
        return "7.1";
    default:
        return std::to_string(nbr_chn) + " channels";
    }
}

// "2 x stereo, mono": neighbours of one layout together.
std::string list_layouts(Json const& pin_list, Json const& nbr_data) {
    std::string txt;
    auto const add = [&txt](long count, std::string const& what) {
        txt.append(txt.empty() ? "" : ", ");
        txt.append(count == 1 ? "" : std::to_string(count) + " x ").append(what);
    };
    for (auto pin = pin_list.begin(); pin != pin_list.end();) {
        auto const next =
            std::find_if(pin, pin_list.end(), [pin](Json const& other) { return other != *pin; });
        add(next - pin, get_layout_name(pin->get<int>()));
        pin = next;
    }
    if (nbr_data != 0) {
        add(nbr_data.get<int>(), "data");
    }
    return txt.empty() ? "none" : txt;
}

std::string print_confs(Json const& list) {
    std::vector<Row> row_list = {{"#", "Name", "Input pins", "Output pins", ""}};
    for (Json const& conf : list) {
        row_list.push_back({std::to_string(conf["index"].get<int>()), conf.value("name", ""),
                            list_layouts(conf["audio_in"], conf["data_in"]),
                            list_layouts(conf["audio_out"], conf["data_out"]),
                            conf["default"] ? "default" : ""});
    }
    return "\nPin configurations\n" + make_table(row_list);
}

std::string print_plugins(Json const& list) {
    std::vector<Row> row_list = {{"Type", "Identifier", "Links"}};
    for (Json const& plugin : list) {
        row_list.push_back({plugin["type"], plugin["id"], join(plugin["links"])});
    }
    return "\nPlug-ins\n" + make_table(row_list);
}

} // namespace

std::string Description::print(Json const& json) {
    std::string txt = clean(json.value("unique_id", "Factory")) + "\n";
    Json const none = Json::object();
    Json const properties = json.value("properties", none);
    Json const parameters = json.value("parameters", none);
    std::vector<Row> prop_list;
    for (auto const& [key, val] : properties.items()) {
        prop_list.push_back({key, val});
    }
    if (!prop_list.empty()) {
        txt += "\nProperties\n" + make_table(prop_list);
    }
    for (auto const& [scope, list] : parameters.items()) {
        txt += print_params(scope, list);
    }
    if (Json const list = json.value("pin_confs", none); !list.empty()) {
        txt += print_confs(list);
    }
    if (Json const list = json.value("plugins", none); !list.empty()) {
        txt += print_plugins(list);
    }
    return txt;
}

} // namespace ulk::host
