#include "ulk/kryn/PluginDsp.h"

#include <algorithm>

namespace kryn {

const CodeTxt PluginDsp::cmd_txt_list[25 + 1] = {
    {CmdPlug::ACTIVATE, "ACTIVATE"},
    {CmdPlug::DEACTIVATE, "DEACTIVATE"},
    {CmdPlug::GET_AUDIO_PIN_NAME, "GET_AUDIO_PIN_NAME"},
    {CmdPlug::SET_PROCESS_BLOCK_LEN, "SET_PROCESS_BLOCK_LEN"},
    {CmdPlug::SET_SAMPLE_FREQ, "SET_SAMPLE_FREQ"},
    {CmdPlug::GET_PROCESS_LATENCY, "GET_PROCESS_LATENCY"},
    {CmdPlug::SET_AUDIO_OUTPUT_LATENCY, "SET_AUDIO_OUTPUT_LATENCY"},
    {CmdPlug::GET_TAIL_SIZE, "GET_TAIL_SIZE"},
    {CmdPlug::SET_PROCESS_MODE, "SET_PROCESS_MODE"},
    {CmdPlug::ADJUST_OUT_EVENT_BUFFER, "ADJUST_OUT_EVENT_BUFFER"},
    {CmdPlug::GET_PIN_CONF, "GET_PIN_CONF"},
    {CmdPlug::NEGOTIATE_PIN_CONF, "NEGOTIATE_PIN_CONF"},
    {CmdPlug::SET_PIN_CONF, "SET_PIN_CONF"},
    {CmdPlug::CONNECT_AUDIO_PIN_ASYNC, "CONNECT_AUDIO_PIN_ASYNC"},
    {CmdPlug::SET_AUDIO_QUALITY, "SET_AUDIO_QUALITY"},
    {CmdPlug::PROCESS, "PROCESS"},
    {CmdPlug::CLEAR_BUFFERS, "CLEAR_BUFFERS"},
    {CmdPlug::CONV_PARAM_NAT_TO_NORM, "CONV_PARAM_NAT_TO_NORM"},
    {CmdPlug::CONV_PARAM_NORM_TO_NAT, "CONV_PARAM_NORM_TO_NAT"},
    {CmdPlug::CONV_PARAM_TO_STR, "CONV_PARAM_TO_STR"},
    {CmdPlug::CONV_PARAM_FROM_STR, "CONV_PARAM_FROM_STR"},
    {CmdHost::SEND_EVENTS_SYNC, "SEND_EVENTS_SYNC"},
    {CmdHost::GET_UNIQUE_NOTE_ID, "GET_UNIQUE_NOTE_ID"},
    {CmdHost::SIGNAL_DISPLAYED_DATA_CHANGE, "SIGNAL_DISPLAYED_DATA_CHANGE"},
    {CmdHost::SIGNAL_IO_CHANGE, "SIGNAL_IO_CHANGE"},
    {0, nullptr}};

const CodeTxt PluginDsp::param_type_use_txt_list[ParamPredef_NBR_ELT + 1] = {
    {ParamPredef_UNDEFINED, "undefined"},
    {ParamPredef_NOTE_INDEX, "note_index"},
    {ParamPredef_BASE_PITCH, "base_pitch"},
    {ParamPredef_TRANSPOSE, "transpose"},
    {ParamPredef_VELOCITY, "velocity"},
    {ParamPredef_VOLUME, "volume"},
    {ParamPredef_PRESSURE, "pressure"},
    {ParamPredef_MUTING, "muting"},
    {0, nullptr}};

const CodeTxt PluginDsp::param_type_data_txt_list[ParamType_NBR_ELT + 1] = {
    {ParamType_UNDEFINED, "undefined"},
    {ParamType_TIME_ABSOLUTE, "time_absolute"},
    {ParamType_TIME_MUSICAL, "time_musical"},
    {ParamType_FREQUENCY, "frequency"},
    {ParamType_PITCH, "pitch"},
    {ParamType_GAIN, "gain"},
    {ParamType_LIN_VOLUME, "lin_volume"},
    {ParamType_PHASE, "phase"},
    {ParamType_PAN_LIN_POS, "pan_lin_pos"},
    {0, nullptr}};

const CodeTxt PluginDsp::param_public_range_txt_list[ParamPublicVal_NBR_ELT + 1] = {
    {ParamPublicVal_NORMALISED, "normalised"}, {ParamPublicVal_NATURAL, "natural"}, {0, nullptr}};

const CodeTxt PluginDsp::param_domain_txt_list[ParamRange_NBR_ELT + 1] = {
    {ParamRange_CONTINUOUS, "continuous"}, {ParamRange_DISCRETE, "discrete"}, {0, nullptr}};

const CodeTxt PluginDsp::param_dir_txt_list[ParamDir_NBR_ELT + 1] = {
    {ParamDir_STATEFUL, "stateful"}, {ParamDir_IN, "in"}, {ParamDir_OUT, "out"}, {0, nullptr}};

const CodeTxt PluginDsp::param_validity_flag_txt_list[3 + 1] = {
    {ParamValidityFlag_NOTE_ON, "note_on"},
    {ParamValidityFlag_NOTE_OFF, "note_off"},
    {ParamValidityFlag_NOTE_END, "note_end"},
    {0, nullptr}};

const CodeTxt PluginDsp::param_flag_txt_list[2 + 1] = {
    {ParamFlag_HIDDEN, "hidden"}, {ParamFlag_UNUSED, "unused"}, {0, nullptr}};

int PluginDsp::EventList::check_events() const {
    if (evt_arr == nullptr) {
        return nbr_evt == 0;
    }
    return nbr_evt <= 0 ||
           std::all_of(evt_arr, evt_arr + nbr_evt, [](Event const* e) { return e != nullptr; });
}

} // namespace kryn
