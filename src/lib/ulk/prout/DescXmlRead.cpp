#include "ulk/ace/Err.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/kryn/PluginFactory.h"
#include "ulk/prout/DescMain.h"
#include "ulk/prout/DescParamList.h"
#include "ulk/prout/DescPinConfList.h"
#include "ulk/prout/DescPluginList.h"
#include "ulk/prout/DescProperties.h"
#include "ulk/prout/DescUniqueId.h"
#include "ulk/prout/DescXml.h"
#include "ulk/prout/DescXmlTxt.h"
#include "ulk/prout/XmlMarkup.h"
#include "ulk/prout/XmlTagAccess.h"
#include "ulk/udbg/log.h"

#include <tinyxml.h>

#include <map>

namespace ulk::prout {

namespace {

using kryn::Component;
using kryn::Plugin;
using kryn::PluginDsp;
using kryn::PluginFactory;
using PropMap = std::map<std::string, std::string>;
using Txt = DescXmlTxt;

int fail_field(char const* field, TiXmlNode const& node) {
    ULK_LOG(ERROR, "DescXml::read(): Missing or invalid %1% in %2% tag.", field, node.Value());
    return ace::Err_INVALID_FORMAT;
}

// Calls read_elt (XmlTagAccess&, int index) on each child element of that name, with the current
// node there. The index that an element may tell is to be its place.
template <class Fnc>
int read_list(XmlTagAccess& xml, char const* elt, char const* id_attrib, Fnc read_elt) {
    std::vector<TiXmlNode*> list;
    xml.list_elt(list, elt);
    int index = 0;
    for (TiXmlNode* node : list) {
        XmlTagAccess sub(*node);
        std::string id;
        if (sub.get_val(id_attrib, id) && id != Txt::conv_int_to_txt(index)) {
            return fail_field(id_attrib, *node);
        }
        if (int const ret = read_elt(sub, index); ret != ace::Err_OK) {
            return ret;
        }
        ++index;
    }
    return ace::Err_OK;
}

int read_prop_list(XmlTagAccess& xml, DescProperties& part) {
    part.clear();
    return DescProperties::collect_prop(part.use_prop_map(), xml);
}

int read_unique_id(XmlTagAccess& xml, DescUniqueId& part) {
    std::string id;
    if (!xml.get_val(Plugin::xml_unique_id_val, id)) {
        return fail_field(Plugin::xml_unique_id_val, xml.use_node());
    }
    part.set_id(id.c_str());
    return ace::Err_OK;
}

// A property of a parameter that is a number in the document: where it goes and how it is read.
struct ParamField {
    char const* key;
    void (DescParam::*set)(int);
    bool (*conv)(int& val, std::string const& txt, kryn::CodeTxt const* table);
    kryn::CodeTxt const* table;
};

int read_param_fields(DescParam& param, PropMap const& prop_map, TiXmlNode const& node) {
    using D = PluginDsp;
    static ParamField const field_list[] = {
        {D::xml_param_prop_flags, &DescParam::set_flags, &Txt::conv_txt_to_flags,
         D::param_flag_txt_list},
        {D::xml_param_prop_dir, &DescParam::set_dir, &Txt::conv_txt_to_enum, D::param_dir_txt_list},
        {D::xml_param_prop_validity, &DescParam::set_validity, &Txt::conv_txt_to_flags,
         D::param_validity_flag_txt_list},
        {D::xml_param_prop_dom_val, &DescParam::set_domain_val, &Txt::conv_txt_to_enum,
         D::param_domain_txt_list},
        {D::xml_param_prop_dom_time, &DescParam::set_domain_time, &Txt::conv_txt_to_enum,
         D::param_domain_txt_list},
        {D::xml_param_prop_pub_range, &DescParam::set_public_range, &Txt::conv_txt_to_enum,
         D::param_public_range_txt_list},
        {D::xml_param_prop_type_data, &DescParam::set_type_data, &Txt::conv_txt_to_enum,
         D::param_type_data_txt_list},
        {D::xml_param_prop_type_use, &DescParam::set_type_use, &Txt::conv_txt_to_enum,
         D::param_type_use_txt_list}};
    for (ParamField const& field : field_list) {
        auto const pos = prop_map.find(field.key);
        int val = 0;
        if (pos == prop_map.end()) {
            continue;
        }
        if (!field.conv(val, pos->second, field.table)) {
            return fail_field(field.key, node);
        }
        (param.*field.set)(val);
    }
    return ace::Err_OK;
}

int read_range(XmlTagAccess const& xml, DescParam& param) {
    double val_arr[2] = {param.get_range_min(), param.get_range_max()};
    static char const* const attrib_arr[2] = {PluginDsp::xml_param_range_min,
                                              PluginDsp::xml_param_range_max};
    for (int pos = 0; pos < 2; ++pos) {
        std::string txt;
        if (xml.get_val(std::string(PluginDsp::xml_param_range) + "/" + attrib_arr[pos], txt) &&
            !Txt::conv_txt_to_double(val_arr[pos], txt)) {
            return fail_field(PluginDsp::xml_param_range, xml.use_node());
        }
    }
    param.set_range(val_arr[0], val_arr[1]);
    return ace::Err_OK;
}

int read_param(XmlTagAccess& xml, DescParam& param) {
    param.fill_default();
    PropMap prop_map;
    if (int const ret = DescProperties::collect_prop(prop_map, xml); ret != ace::Err_OK) {
        return ret;
    }
    param.set_name(prop_map[PluginDsp::xml_param_prop_name]);
    param.set_unit(prop_map[PluginDsp::xml_param_prop_unit]);
    int const ret = read_param_fields(param, prop_map, xml.use_node());
    return ret == ace::Err_OK ? read_range(xml, param) : ret;
}

int read_scope(XmlTagAccess& xml, DescParamList& part) {
    std::string name;
    auto scope = kryn::ParamScope_GLOBAL;
    if (!xml.get_val(PluginDsp::xml_param_scope_name, name) ||
        !Txt::conv_txt_to_scope(scope, name)) {
        return fail_field(PluginDsp::xml_param_scope_name, xml.use_node());
    }
    // The count is told for the reader's eye: what is there counts, and must agree.
    part.set_nbr_param(scope, 0);
    int const ret = read_list(xml, PluginDsp::xml_param, PluginDsp::xml_param_id,
                              [&](XmlTagAccess& sub, int index) {
                                  part.set_nbr_param(scope, index + 1);
                                  return read_param(sub, part.use_param(scope, index));
                              });
    std::string count;
    if (ret == ace::Err_OK && xml.get_val(PluginDsp::xml_param_scope_count, count) &&
        count != Txt::conv_int_to_txt(part.get_nbr_param(scope))) {
        return fail_field(PluginDsp::xml_param_scope_count, xml.use_node());
    }
    return ret;
}

int read_param_list(XmlTagAccess& xml, DescParamList& part) {
    part.clear();
    std::vector<TiXmlNode*> list;
    xml.list_elt(list, PluginDsp::xml_param_scope);
    for (TiXmlNode* node : list) {
        XmlTagAccess sub(*node);
        if (int const ret = read_scope(sub, part); ret != ace::Err_OK) {
            return ret;
        }
    }
    return ace::Err_OK;
}

int read_pins(XmlTagAccess const& xml, DescPinConf& conf, kryn::PinDir dir, char const* audio,
              char const* data) {
    std::string txt;
    if (!xml.get_val(std::string(PluginDsp::xml_conf_audio_pins) + "/" + audio, txt)) {
        return fail_field(PluginDsp::xml_conf_audio_pins, xml.use_node());
    }
    int const ret = DescPinConf::conv_str_to_chn_list(conf.use_audio_pin_list(dir), txt.c_str());
    int nbr_pins = 0;
    if (ret == ace::Err_OK &&
        (!xml.get_val(std::string(PluginDsp::xml_conf_data_pins) + "/" + data, txt) ||
         !Txt::conv_txt_to_int(nbr_pins, txt))) {
        return fail_field(PluginDsp::xml_conf_data_pins, xml.use_node());
    }
    conf.set_nbr_pins_data(dir, nbr_pins);
    return ret;
}

int read_conf(XmlTagAccess& xml, DescPinConf& conf) {
    using D = PluginDsp;
    PropMap prop_map;
    int ret = DescProperties::collect_prop(prop_map, xml);
    if (auto const pos = prop_map.find(D::xml_conf_prop_name); pos != prop_map.end()) {
        conf.set_name(pos->second);
    }
    if (ret == ace::Err_OK) {
        ret = read_pins(xml, conf, kryn::PinDir_IN, D::xml_conf_audio_pins_in,
                        D::xml_conf_data_pins_in);
    }
    return ret != ace::Err_OK ? ret
                              : read_pins(xml, conf, kryn::PinDir_OUT, D::xml_conf_audio_pins_out,
                                          D::xml_conf_data_pins_out);
}

int read_conf_list(XmlTagAccess& xml, DescPinConfList& part) {
    part.clear();
    std::string txt;
    int def_conf = -1;
    if (xml.get_val(PluginDsp::xml_conf_list_def_id, txt) && !Txt::conv_txt_to_int(def_conf, txt)) {
        return fail_field(PluginDsp::xml_conf_list_def_id, xml.use_node());
    }
    part.set_default_conf(def_conf);
    return read_list(xml, PluginDsp::xml_conf, PluginDsp::xml_conf_id,
                     [&](XmlTagAccess& sub, int index) {
                         part.create_conf(index);
                         return read_conf(sub, part.use_conf(index));
                     });
}

int read_plugin(XmlTagAccess& xml, DescPluginList::PlugInfo& info) {
    using F = PluginFactory;
    if (!xml.get_val(F::xml_plugin_id, info._unique_id)) {
        return fail_field(F::xml_plugin_id, xml.use_node());
    }
    std::string type;
    xml.get_val(F::xml_plugin_type, type);
    info._type = DescPluginList::find_plug_type(type.c_str());
    if (info._type < 0 && !Txt::conv_txt_to_int(info._type, type)) {
        return fail_field(F::xml_plugin_type, xml.use_node());
    }
    std::vector<TiXmlNode*> list;
    xml.list_elt(list, F::xml_plugin_link);
    for (TiXmlNode* node : list) {
        std::string id;
        if (!XmlTagAccess(*node).get_val(F::xml_plugin_id, id)) {
            return fail_field(F::xml_plugin_id, *node);
        }
        info._ref_id_list.push_back(id);
    }
    return ace::Err_OK;
}

int read_plugin_list(XmlTagAccess& xml, DescPluginList& part) {
    part.clear();
    std::vector<TiXmlNode*> list;
    xml.list_elt(list, PluginFactory::xml_plugin_desc);
    for (TiXmlNode* node : list) {
        XmlTagAccess sub(*node);
        DescPluginList::PlugInfo info;
        if (int const ret = read_plugin(sub, info); ret != ace::Err_OK) {
            return ret;
        }
        part.use_plug_info_list().push_back(info);
    }
    return ace::Err_OK;
}

template <class Part, int (*read)(XmlTagAccess&, Part&)>
int read_as(XmlTagAccess& xml, DescInterface& part) {
    Part* const ptr = dynamic_cast<Part*>(&part);
    return ptr == nullptr ? ace::Err_OK : read(xml, *ptr);
}

struct PartReader {
    char const* elt;
    unsigned int atom;
    int (*read)(XmlTagAccess& xml, DescInterface& part);
};

PartReader const* find_reader(std::string const& elt) {
    static PartReader const reader_list[] = {
        {Component::xml_property_list, Component::atom_properties,
         &read_as<DescProperties, &read_prop_list>},
        {Plugin::xml_unique_id, Plugin::atom_unique_id, &read_as<DescUniqueId, &read_unique_id>},
        {PluginDsp::xml_param_list, PluginDsp::atom_param_list,
         &read_as<DescParamList, &read_param_list>},
        {PluginDsp::xml_conf_list, PluginDsp::atom_pin_conf_list,
         &read_as<DescPinConfList, &read_conf_list>},
        {PluginFactory::xml_plugin_list, PluginFactory::atom_plugin_list,
         &read_as<DescPluginList, &read_plugin_list>}};
    for (PartReader const& reader : reader_list) {
        if (elt == reader.elt) {
            return &reader;
        }
    }
    return nullptr;
}

int read_component(DescMain& desc, TiXmlElement& root, std::vector<unsigned int>* atom_list_ptr) {
    std::vector<TiXmlNode*> list;
    XmlTagAccess(root).list_elt(list, "");
    for (TiXmlNode* node : list) {
        PartReader const* const reader = find_reader(node->ValueStr());
        if (reader == nullptr) {
            continue;
        }
        if (atom_list_ptr != nullptr) {
            atom_list_ptr->push_back(reader->atom);
        }
        XmlTagAccess xml(*node);
        DescInterface* const part = desc.find(reader->atom);
        int const ret = part == nullptr ? ace::Err_OK : reader->read(xml, *part);
        if (ret != ace::Err_OK) {
            return ret;
        }
    }
    return ace::Err_OK;
}

int read_doc(DescMain& desc, std::string const& xml, std::vector<unsigned int>* atom_list_ptr) {
    std::size_t beg = 0;
    std::string reason;
    int const ret = XmlMarkup::check(beg, reason, xml);
    TiXmlDocument doc;
    if (ret == ace::Err_OK) {
        doc.SetTabSize(0); // no row and column, which cost a second look at each character
        doc.Parse(xml.c_str() + beg, nullptr, TIXML_ENCODING_UTF8);
        if (doc.Error()) {
            reason = doc.ErrorDesc();
        }
    }
    if (!reason.empty()) {
        ULK_LOG(ERROR, "DescXml::read(): Cannot parse: %1%.", reason.c_str());
        return ret != ace::Err_OK ? ret : ace::Err_INVALID_FORMAT;
    }
    TiXmlElement* const root = doc.RootElement();
    if (root == nullptr || root->ValueStr() != Component::xml_component) {
        ULK_LOG(ERROR, "DescXml::read(): Missing %1% tag.", Component::xml_component);
        return ace::Err_INVALID_FORMAT;
    }
    // Character references can bring in what the text itself could not.
    int const txt_ret = XmlMarkup::check_texts(*root);
    return txt_ret != ace::Err_OK ? txt_ret : read_component(desc, *root, atom_list_ptr);
}

} // namespace

int DescXml::read(DescMain& desc, std::string const& xml,
                  std::vector<unsigned int>* atom_list_ptr) {
    try {
        return read_doc(desc, xml, atom_list_ptr);
    } catch (...) {
        ULK_LOG(ERROR, "DescXml::read(): Exception.");
        return ace::Err_EXCEPTION;
    }
}

} // namespace ulk::prout
