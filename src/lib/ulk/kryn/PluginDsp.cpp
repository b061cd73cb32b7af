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

int PluginDsp::EventList::check_events() const {
    if (evt_arr == nullptr) {
        return nbr_evt == 0;
    }
    return nbr_evt <= 0 ||
           std::all_of(evt_arr, evt_arr + nbr_evt, [](Event const* e) { return e != nullptr; });
}

} // namespace kryn
