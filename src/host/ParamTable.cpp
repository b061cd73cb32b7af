#include "host/ParamTable.h"

#include "host/Description.h"
#include "host/Error.h"
#include "host/Plugin.h"
#include "host/PluginError.h"
#include "ulk/ace/Err.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace ulk::host {

namespace {

kryn::ParamLocation locate(int index) {
    return {kryn::ParamScope_GLOBAL, 0, index};
}

std::vector<std::string> split_names(std::string const& txt) {
    std::vector<std::string> name_arr;
    std::istringstream stream(txt);
    for (std::string name; std::getline(stream, name);) {
        name_arr.push_back(name);
    }
    return name_arr;
}

// ASCII letters in any case.
bool is_same_name(std::string const& a, std::string const& b) {
    auto const lower = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [lower](char c, char d) { return lower(c) == lower(d); });
}

} // namespace

ParamTable::ParamTable(Plugin& plugin)
    : _plugin(plugin) {
    auto const doc = plugin.describe();
    if (doc.empty()) {
        return;
    }
    Description const desc(std::string(doc.begin(), doc.end()), plugin.get_id());
    auto const& list = desc.use_param_list();
    for (int index = 0; index < list.get_nbr_param(kryn::ParamScope_GLOBAL); ++index) {
        _name_arr.push_back(split_names(list.use_param(kryn::ParamScope_GLOBAL, index).get_name()));
    }
}

int ParamTable::find(std::string const& name) const {
    int index = -1;
    auto const [end, ec] = std::from_chars(name.data(), name.data() + name.size(), index);
    if (ec == std::errc() && end == name.data() + name.size()) {
        if (index < 0 || index >= get_nbr_params()) {
            refuse(name, "no such parameter");
        }
        return index;
    }
    int found = -1;
    for (index = 0; index < get_nbr_params(); ++index) {
        auto const& forms = _name_arr[static_cast<std::size_t>(index)];
        if (std::any_of(forms.begin(), forms.end(),
                        [&name](std::string const& form) { return is_same_name(form, name); })) {
            if (found >= 0) {
                refuse(name, "several parameters have this name, take the index");
            }
            found = index;
        }
    }
    if (found < 0) {
        refuse(name, "no such parameter");
    }
    return found;
}

void ParamTable::refuse(std::string const& name, char const* what) const {
    std::string text = "\"" + name + "\": " + what + "; " + _plugin.get_id() + " has ";
    for (int index = 0; index < get_nbr_params(); ++index) {
        text +=
            (index > 0 ? ", " : "") + std::to_string(index) + " \"" + use_full_name(index) + "\"";
    }
    throw Error(Error::Kind_USE, text + (get_nbr_params() == 0 ? "none" : ""));
}

std::string const& ParamTable::use_full_name(int index) const {
    static std::string const none;
    auto const& forms = _name_arr[static_cast<std::size_t>(index)];
    return forms.empty() ? none : forms.back();
}

double ParamTable::read_val(int index, std::string const& txt) const {
    try {
        return _plugin.conv_param_from_str(locate(index), txt);
    } catch (PluginError const& e) {
        throw Error(Error::Kind_USE, use_full_name(index) + ": \"" + txt +
                                         "\": " + ace::Err_get_text_nn(e.get_code()));
    }
}

double ParamTable::get_val(int index) const {
    return _plugin.get_param_val(locate(index));
}

} // namespace ulk::host
