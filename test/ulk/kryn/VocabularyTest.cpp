#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/kryn/PluginFactory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using kryn::CodeTxt;
using kryn::Component;
using kryn::Plugin;
using kryn::PluginDsp;
using kryn::PluginFactory;

namespace {

// The rows of a table as one text: "0:off 1:on".
std::string rows(CodeTxt const* table) {
    std::string all;
    for (; table->txt != nullptr; ++table) {
        all.append(all.empty() ? "" : " ").append(std::to_string(table->code));
        all.append(":").append(table->txt);
    }
    EXPECT_EQ(0, table->code);
    return all;
}

// The four letters of an atom, as they stand in the stream.
std::string letters(unsigned int atom) {
    std::string txt;
    for (int shift = 24; shift >= 0; shift -= 8) {
        txt += static_cast<char>(atom >> shift);
    }
    return txt;
}

std::string join(std::vector<std::string> const& list) {
    std::string all;
    for (auto const& item : list) {
        all += (all.empty() ? "" : " ") + item;
    }
    return all;
}

} // namespace

TEST(VocabularyTest, ParameterTables) {
    EXPECT_EQ("0:undefined 1:note_index 2:base_pitch 3:transpose 4:velocity 5:volume 6:pressure "
              "7:muting",
              rows(PluginDsp::param_type_use_txt_list));
    EXPECT_EQ("0:undefined 1:time_absolute 2:time_musical 3:frequency 4:pitch 5:gain 6:lin_volume "
              "7:phase 8:pan_lin_pos",
              rows(PluginDsp::param_type_data_txt_list));
    EXPECT_EQ("0:normalised 1:natural", rows(PluginDsp::param_public_range_txt_list));
    EXPECT_EQ("0:continuous 1:discrete", rows(PluginDsp::param_domain_txt_list));
    EXPECT_EQ("0:stateful 1:in 2:out", rows(PluginDsp::param_dir_txt_list));
    EXPECT_EQ("1:note_on 2:note_off 4:note_end", rows(PluginDsp::param_validity_flag_txt_list));
    EXPECT_EQ("1:hidden 2:unused", rows(PluginDsp::param_flag_txt_list));
}

TEST(VocabularyTest, Atoms) {
    EXPECT_EQ("desc", letters(Component::atom_desc));
    EXPECT_EQ("prop", letters(Component::atom_properties));
    EXPECT_EQ("unid", letters(Plugin::atom_unique_id));
    EXPECT_EQ("pals", letters(PluginDsp::atom_param_list));
    EXPECT_EQ("pcls", letters(PluginDsp::atom_pin_conf_list));
    EXPECT_EQ("pils", letters(PluginFactory::atom_plugin_list));
    EXPECT_EQ("fcrc", letters(PluginFactory::atom_fact_crc));
}

TEST(VocabularyTest, XmlNames) {
    using C = Component;
    EXPECT_EQ("component properties property name val",
              join({C::xml_component, C::xml_property_list, C::xml_property, C::xml_property_name,
                    C::xml_property_val}));
    EXPECT_EQ("unique_id val", join({Plugin::xml_unique_id, Plugin::xml_unique_id_val}));
    using F = PluginFactory;
    EXPECT_EQ("crc val plugins plugin id type dsp viewctrl link",
              join({F::xml_fact_crc, F::xml_fact_crc_val, F::xml_plugin_list, F::xml_plugin_desc,
                    F::xml_plugin_id, F::xml_plugin_type, F::xml_plugin_type_content_arr[0],
                    F::xml_plugin_type_content_arr[1], F::xml_plugin_link}));
    using D = PluginDsp;
    EXPECT_EQ("scope name count parameters parameter id range min max",
              join({D::xml_param_scope, D::xml_param_scope_name, D::xml_param_scope_count,
                    D::xml_param_list, D::xml_param, D::xml_param_id, D::xml_param_range,
                    D::xml_param_range_min, D::xml_param_range_max}));
    EXPECT_EQ("name unit flags dir validity domain_val domain_time public_range type_data type_use",
              join({D::xml_param_prop_name, D::xml_param_prop_unit, D::xml_param_prop_flags,
                    D::xml_param_prop_dir, D::xml_param_prop_validity, D::xml_param_prop_dom_val,
                    D::xml_param_prop_dom_time, D::xml_param_prop_pub_range,
                    D::xml_param_prop_type_data, D::xml_param_prop_type_use}));
    EXPECT_EQ("pin_confs default_id pin_conf id name pins_audio in out pins_data in out",
              join({D::xml_conf_list, D::xml_conf_list_def_id, D::xml_conf, D::xml_conf_id,
                    D::xml_conf_prop_name, D::xml_conf_audio_pins, D::xml_conf_audio_pins_in,
                    D::xml_conf_audio_pins_out, D::xml_conf_data_pins, D::xml_conf_data_pins_in,
                    D::xml_conf_data_pins_out}));
}

TEST(VocabularyTest, PropertyKeys) {
    using C = Component;
    EXPECT_EQ(
        "product_name product_version product_description product_credit_list vendor_name "
        "legal_string web_url is_wrapper wrapper_name wrapper_version wrapper_description "
        "wrapper_credit_list wrapper_vendor_name wrapper_legal_string wrapper_web_url "
        "categ_tag_list",
        join({C::prop_prod_name, C::prop_prod_ver, C::prop_prod_desc, C::prop_prod_cred,
              C::prop_prod_vendor, C::prop_prod_legal, C::prop_prod_url, C::prop_is_wrapper,
              C::prop_wrap_name, C::prop_wrap_vers, C::prop_wrap_desc, C::prop_wrap_cred,
              C::prop_wrap_vendor, C::prop_wrap_legal, C::prop_wrap_url, C::prop_categ_tag_list}));
    using P = PluginDsp::CmdPlug;
    EXPECT_EQ(
        "can_set_audio_quality can_set_audio_quality_rt min_sample_freq max_sample_freq "
        "drum_score has_uniform_cpu_load accept_input_denormal_numbers "
        "kill_output_denormal_numbers kill_output_dc_offset ignore_transport_events",
        join({P::prop_can_set_audio_qual, P::prop_can_set_audio_qual_rt, P::prop_min_sample_freq,
              P::prop_max_sample_freq, P::prop_drum_score, P::prop_has_uniform_cpu_load,
              P::prop_accept_input_denorm, P::prop_kill_output_denorm, P::prop_kill_output_dc,
              P::prop_ignore_transp_evt}));
    using H = PluginDsp::CmdHost;
    EXPECT_EQ("can_send_event_time_sig can_send_event_tempo can_send_event_transport_jump "
              "can_send_event_playback_change can_send_event_pin_connect "
              "min_audio_buffer_alignment",
              join({H::prop_can_send_evt_time_sig, H::prop_can_send_evt_tempo,
                    H::prop_can_send_evt_transp_jmp, H::prop_can_send_evt_play_chg,
                    H::prop_can_send_evt_pin_connect, H::prop_min_audio_buf_align}));
}
