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

#include <algorithm>

namespace ulk::prout {

namespace {

using kryn::Component;
using kryn::Plugin;
using kryn::PluginDsp;
using kryn::PluginFactory;
using Txt = DescXmlTxt;

int write_prop_list(XmlTagAccess& xml, DescProperties const& part) {
    xml.add_child_node_and_go_to(Component::xml_property_list);
    for (auto const& [key, val] : part.use_prop_map()) {
        if (key.empty()) {
            ULK_LOG(ERROR, "DescXml::write(): Property name is empty.");
            return ace::Err_INVALID_FORMAT;
        }
        DescProperties::serialize_prop(xml, key, val);
    }
    return ace::Err_OK;
}

int write_unique_id(XmlTagAccess& xml, DescUniqueId const& part) {
    xml.add_child_node_and_go_to(Plugin::xml_unique_id);
    xml.set_val(Plugin::xml_unique_id_val, part.get_id());
    return ace::Err_OK;
}

void write_param(XmlTagAccess& xml, DescParam const& param, int index) {
    auto const add = [&](char const* key, std::string const& val) {
        DescProperties::serialize_prop(xml, key, val);
    };
    auto const add_enum = [&](char const* key, int val, kryn::CodeTxt const* table) {
        add(key, Txt::conv_enum_to_txt(val, table));
    };
    auto const add_flags = [&](char const* key, int val, kryn::CodeTxt const* table) {
        add(key, Txt::conv_flags_to_txt(val, table));
    };
    using D = PluginDsp;
    xml.add_child_node_and_go_to(D::xml_param);
    xml.set_val(D::xml_param_id, static_cast<long long>(index));
    add(D::xml_param_prop_name, param.get_name());
    add(D::xml_param_prop_unit, param.get_unit());
    add_flags(D::xml_param_prop_flags, param.get_flags(), D::param_flag_txt_list);
    add_enum(D::xml_param_prop_dir, param.get_dir(), D::param_dir_txt_list);
    add_flags(D::xml_param_prop_validity, param.get_validity(), D::param_validity_flag_txt_list);
    add_enum(D::xml_param_prop_dom_val, param.get_domain_val(), D::param_domain_txt_list);
    add_enum(D::xml_param_prop_dom_time, param.get_domain_time(), D::param_domain_txt_list);
    add_enum(D::xml_param_prop_pub_range, param.get_public_range(), D::param_public_range_txt_list);
    add_enum(D::xml_param_prop_type_data, param.get_type_data(), D::param_type_data_txt_list);
    add_enum(D::xml_param_prop_type_use, param.get_type_use(), D::param_type_use_txt_list);
    xml.add_child_node_and_go_to(D::xml_param_range);
    xml.set_val(D::xml_param_range_min, Txt::conv_double_to_txt(param.get_range_min()));
    xml.set_val(D::xml_param_range_max, Txt::conv_double_to_txt(param.get_range_max()));
    xml.go_to("../..", false);
}

int write_param_list(XmlTagAccess& xml, DescParamList const& part) {
    xml.add_child_node_and_go_to(PluginDsp::xml_param_list);
    for (int pos = 0; pos < kryn::ParamScope_NBR_ELT; ++pos) {
        auto const scope = static_cast<kryn::ParamScope>(pos);
        int const nbr_param = part.get_nbr_param(scope);
        xml.add_child_node_and_go_to(PluginDsp::xml_param_scope);
        xml.set_val(PluginDsp::xml_param_scope_name, std::string(Txt::get_scope_name(scope)));
        xml.set_val(PluginDsp::xml_param_scope_count, static_cast<long long>(nbr_param));
        for (int index = 0; index < nbr_param; ++index) {
            write_param(xml, part.use_param(scope, index), index);
        }
        xml.go_to("..", false);
    }
    return ace::Err_OK;
}

int write_chn_list(XmlTagAccess& xml, char const* attrib, std::vector<int> const& list) {
    for (int nbr_chn : list) {
        if (nbr_chn < 1 || nbr_chn > DescPinConf::max_nbr_chn) {
            ULK_LOG(ERROR, "DescXml::write(): Number of channels out of range (%1%).", nbr_chn);
            return ace::Err_OUT_OF_RANGE;
        }
    }
    xml.set_val(attrib, DescPinConf::conv_chn_list_to_str(list));
    return ace::Err_OK;
}

int write_conf(XmlTagAccess& xml, DescPinConf const& conf, int index) {
    using D = PluginDsp;
    xml.add_child_node_and_go_to(D::xml_conf);
    xml.set_val(D::xml_conf_id, static_cast<long long>(index));
    if (conf.has_name()) {
        conf.serialize_prop(xml, D::xml_conf_prop_name, conf.get_name());
    }
    xml.add_child_node_and_go_to(D::xml_conf_audio_pins);
    int const ret_in =
        write_chn_list(xml, D::xml_conf_audio_pins_in, conf.use_audio_pin_list(kryn::PinDir_IN));
    int const ret_out =
        write_chn_list(xml, D::xml_conf_audio_pins_out, conf.use_audio_pin_list(kryn::PinDir_OUT));
    xml.go_to("..", false);
    xml.add_child_node_and_go_to(D::xml_conf_data_pins);
    auto const set_nbr = [&](char const* attrib, kryn::PinDir dir) {
        xml.set_val(attrib, static_cast<long long>(conf.get_nbr_pins_data(dir)));
    };
    set_nbr(D::xml_conf_data_pins_in, kryn::PinDir_IN);
    set_nbr(D::xml_conf_data_pins_out, kryn::PinDir_OUT);
    xml.go_to("../..", false);
    return ret_in != ace::Err_OK ? ret_in : ret_out;
}

int write_conf_list(XmlTagAccess& xml, DescPinConfList const& part) {
    xml.add_child_node_and_go_to(PluginDsp::xml_conf_list);
    xml.set_val(PluginDsp::xml_conf_list_def_id,
                static_cast<long long>(std::max(part.get_default_conf(), -1)));
    int ret = ace::Err_OK;
    for (int index = 0; index < part.get_nbr_conf() && ret == ace::Err_OK; ++index) {
        ret = write_conf(xml, part.use_conf(index), index);
    }
    return ret;
}

std::string conv_plug_type_to_txt(int type) {
    return type >= 0 && type < PluginFactory::PluginType_NBR_ELT
               ? PluginFactory::xml_plugin_type_content_arr[type]
               : Txt::conv_int_to_txt(type);
}

int write_plugin_list(XmlTagAccess& xml, DescPluginList const& part) {
    using F = PluginFactory;
    xml.add_child_node_and_go_to(F::xml_plugin_list);
    for (int index = 0; index < part.get_nbr_plugins(); ++index) {
        xml.add_child_node_and_go_to(F::xml_plugin_desc);
        xml.set_val(F::xml_plugin_id, part.get_plug_id(index));
        xml.set_val(F::xml_plugin_type, conv_plug_type_to_txt(part.get_plug_type(index)));
        for (int link = 0; link < part.get_nbr_links(index); ++link) {
            xml.add_child_node_and_go_to(F::xml_plugin_link);
            xml.set_val(F::xml_plugin_id, part.get_linked_id(index, link));
            xml.go_to("..", false);
        }
        xml.go_to("..", false);
    }
    return ace::Err_OK;
}

int write_part(XmlTagAccess& xml, DescInterface const& part) {
    if (auto const* prop_list = dynamic_cast<DescProperties const*>(&part)) {
        return write_prop_list(xml, *prop_list);
    }
    if (auto const* unique_id = dynamic_cast<DescUniqueId const*>(&part)) {
        return write_unique_id(xml, *unique_id);
    }
    if (auto const* param_list = dynamic_cast<DescParamList const*>(&part)) {
        return write_param_list(xml, *param_list);
    }
    if (auto const* conf_list = dynamic_cast<DescPinConfList const*>(&part)) {
        return write_conf_list(xml, *conf_list);
    }
    if (auto const* plugin_list = dynamic_cast<DescPluginList const*>(&part)) {
        return write_plugin_list(xml, *plugin_list);
    }
    return ace::Err_OK; // a part that has no XML form
}

int write_doc(std::string& xml, DescMain const& desc) {
    TiXmlDocument doc;
    doc.LinkEndChild(new TiXmlDeclaration("1.0", "UTF-8", ""));
    doc.LinkEndChild(new TiXmlElement(Component::xml_component));
    TiXmlElement* const root = doc.RootElement();
    for (DescInterface const* part : desc.use_part_list()) {
        XmlTagAccess access(*root);
        if (int const ret = write_part(access, *part); ret != ace::Err_OK) {
            return ret;
        }
    }
    if (int const ret = XmlMarkup::check_texts(*root); ret != ace::Err_OK) {
        return ret;
    }
    TiXmlPrinter printer;
    doc.Accept(&printer);
    xml = printer.Str();
    return ace::Err_OK;
}

} // namespace

int DescXml::write(std::string& xml, DescMain const& desc) {
    try {
        return write_doc(xml, desc);
    } catch (...) {
        ULK_LOG(ERROR, "DescXml::write(): Exception.");
        return ace::Err_EXCEPTION;
    }
}

} // namespace ulk::prout
