#pragma once

#include "ulk/prout/DescMain.h"
#include "ulk/prout/DescParamList.h"
#include "ulk/prout/DescPinConfList.h"
#include "ulk/prout/DescPluginList.h"
#include "ulk/prout/DescProperties.h"
#include "ulk/prout/DescUniqueId.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace ulk::host {

// A description document as it was read, with the parts that it has, in their order.
class Description {
public:
    // data: a document of either form; name: where it comes from, for errors. Throws an Error.
    Description(std::string_view data, std::string const& name);

    Description(Description const&) = delete;
    Description& operator=(Description const&) = delete;

    prout::DescPluginList const& use_plugin_list() const { return _plugin_list; }
    prout::DescUniqueId const& use_unique_id() const { return _unique_id; }
    prout::DescParamList const& use_param_list() const { return _param_list; }
    prout::DescPinConfList const& use_pin_conf_list() const { return _pin_conf_list; }

    // The document in each form; they throw an Error.
    std::string conv_to_bin() const;
    std::string conv_to_xml() const;
    // All values by name, those of enumerations as their texts.
    nlohmann::ordered_json conv_to_json() const;
    // What conv_to_json made, with anything that was added to it, for people.
    static std::string print(nlohmann::ordered_json const& json);

private:
    void check(int ret, char const* what) const;

    std::string _name;
    prout::DescMain _doc; // the parts below that were read
    prout::DescProperties _properties;
    prout::DescUniqueId _unique_id;
    prout::DescParamList _param_list;
    prout::DescPinConfList _pin_conf_list;
    prout::DescPluginList _plugin_list;
};

} // namespace ulk::host
