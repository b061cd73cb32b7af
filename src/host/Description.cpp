#include "host/Description.h"

#include "host/PluginError.h"
#include "ulk/ace/Err.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/kryn/PluginFactory.h"
#include "ulk/prout/DescXml.h"
#include "ulk/prout/DescXmlTxt.h"

#include <nlohmann/json.hpp>

namespace ulk::host {

namespace {

using Json = nlohmann::ordered_json;
using Dsp = kryn::PluginDsp;
using Txt = prout::DescXmlTxt;

// An XML document begins with "<", a binary one with the high byte of its size.
bool is_xml(std::string_view data) {
    if (data.starts_with("\xEF\xBB\xBF")) {
        data.remove_prefix(3);
    }
    auto const pos = data.find_first_not_of(" \t\r\n");
    return pos != std::string_view::npos && data[pos] == '<';
}

Json split(std::string const& txt, char separator) {
    Json list = Json::array();
    for (std::size_t beg = 0; beg < txt.size();) {
        auto const end = std::min(txt.find(separator, beg), txt.size());
        list.push_back(txt.substr(beg, end - beg));
        beg = end + 1;
    }
    return list;
}

Json make_param(prout::DescParam const& param, int index) {
    auto const flags = [](int val, kryn::CodeTxt const* table) {
        return split(Txt::conv_flags_to_txt(val, table), ' ');
    };
    return {
        {"index", index},
        {"names", split(param.get_name(), '\n')},
        {"unit", param.get_unit()},
        {"min", param.get_range_min()},
        {"max", param.get_range_max()},
        {"public_range",
         Txt::conv_enum_to_txt(param.get_public_range(), Dsp::param_public_range_txt_list)},
        {"domain_val", Txt::conv_enum_to_txt(param.get_domain_val(), Dsp::param_domain_txt_list)},
        {"domain_time", Txt::conv_enum_to_txt(param.get_domain_time(), Dsp::param_domain_txt_list)},
        {"dir", Txt::conv_enum_to_txt(param.get_dir(), Dsp::param_dir_txt_list)},
        {"type_use", Txt::conv_enum_to_txt(param.get_type_use(), Dsp::param_type_use_txt_list)},
        {"type_data", Txt::conv_enum_to_txt(param.get_type_data(), Dsp::param_type_data_txt_list)},
        {"validity", flags(param.get_validity(), Dsp::param_validity_flag_txt_list)},
        {"flags", flags(param.get_flags(), Dsp::param_flag_txt_list)}};
}

Json make_param_list(prout::DescParamList const& part) {
    Json json = Json::object();
    for (int pos = 0; pos < kryn::ParamScope_NBR_ELT; ++pos) {
        auto const scope = static_cast<kryn::ParamScope>(pos);
        for (int index = 0; index < part.get_nbr_param(scope); ++index) {
            json[Txt::get_scope_name(scope)].push_back(
                make_param(part.use_param(scope, index), index));
        }
    }
    return json;
}

Json make_conf_list(prout::DescPinConfList const& part) {
    Json list = Json::array();
    for (int index = 0; index < part.get_nbr_conf(); ++index) {
        auto const& conf = part.use_conf(index);
        Json json = {{"index", index}};
        if (conf.has_name()) {
            json["name"] = conf.get_name();
        }
        json["audio_in"] = conf.use_audio_pin_list(kryn::PinDir_IN);
        json["audio_out"] = conf.use_audio_pin_list(kryn::PinDir_OUT);
        json["data_in"] = conf.get_nbr_pins_data(kryn::PinDir_IN);
        json["data_out"] = conf.get_nbr_pins_data(kryn::PinDir_OUT);
        json["default"] = index == part.get_default_conf();
        list.push_back(json);
    }
    return list;
}

Json make_plugin_list(prout::DescPluginList const& part) {
    using F = kryn::PluginFactory;
    Json list = Json::array();
    for (int index = 0; index < part.get_nbr_plugins(); ++index) {
        int const type = part.get_plug_type(index);
        Json json = {{"id", part.get_plug_id(index)},
                     {"type", type >= 0 && type < F::PluginType_NBR_ELT
                                  ? F::xml_plugin_type_content_arr[type]
                                  : Txt::conv_int_to_txt(type)},
                     {"links", Json::array()}};
        for (int link = 0; link < part.get_nbr_links(index); ++link) {
            json["links"].push_back(part.get_linked_id(index, link));
        }
        list.push_back(json);
    }
    return list;
}

} // namespace

Description::Description(std::string_view data, std::string const& name)
    : _name(name) {
    prout::DescInterface* const part_arr[] = {&_properties, &_unique_id, &_param_list,
                                              &_pin_conf_list, &_plugin_list};
    prout::DescMain all;
    for (prout::DescInterface* part : part_arr) {
        all.add_desc_part(*part);
    }
    std::vector<unsigned int> atom_list;
    int const ret =
        is_xml(data)
            ? prout::DescXml::read(all, std::string(data), &atom_list)
            : all.conv_from_bin(std::vector<unsigned char>(data.begin(), data.end()), &atom_list);
    check(ret, "reading the description");
    for (unsigned int atom : atom_list) {
        if (prout::DescInterface* const part = all.find(atom); part != nullptr) {
            _doc.add_desc_part(*part);
        }
    }
}

std::string Description::conv_to_bin() const {
    std::vector<unsigned char> data;
    check(_doc.conv_to_bin(data), "writing the description");
    return {data.begin(), data.end()};
}

std::string Description::conv_to_xml() const {
    std::string xml;
    check(prout::DescXml::write(xml, _doc), "writing the description as XML");
    return xml;
}

Json Description::conv_to_json() const {
    Json json = Json::object();
    for (prout::DescInterface const* part : _doc.use_part_list()) {
        if (part == &_properties) {
            json["properties"] = _properties.use_prop_map();
        } else if (part == &_unique_id) {
            json["unique_id"] = _unique_id.get_id();
        } else if (part == &_param_list) {
            json["parameters"] = make_param_list(_param_list);
        } else if (part == &_pin_conf_list) {
            json["pin_confs"] = make_conf_list(_pin_conf_list);
        } else {
            json["plugins"] = make_plugin_list(_plugin_list);
        }
    }
    return json;
}

void Description::check(int ret, char const* what) const {
    if (ret != ace::Err_OK) {
        throw PluginError(_name, what, ret);
    }
}

} // namespace ulk::host
