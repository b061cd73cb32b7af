#pragma once

#include <string>
#include <vector>

namespace ulk::host {

class Plugin;

// The global parameters of an instance, by the names that its description gives them. Control side.
class ParamTable {
public:
    // Asks the plug-in, which outlives the object; a plug-in without a description has none.
    explicit ParamTable(Plugin& plugin);

    int get_nbr_params() const { return static_cast<int>(_name_arr.size()); }
    // The index of a parameter: by one of its names, in any case, or as a number. Throws an Error
    // that lists the names.
    int find(std::string const& name) const;
    // A value as the user types it, in the parameter's public range. Throws an Error with the
    // plug-in's reason.
    double read_val(int index, std::string const& txt) const;
    // The value that the plug-in has now.
    double get_val(int index) const;

private:
    std::string const& use_full_name(int index) const;
    [[noreturn]] void refuse(std::string const& name, char const* what) const;

    Plugin& _plugin;
    std::vector<std::vector<std::string>> _name_arr; // all forms, from short to long, by index
};

} // namespace ulk::host
