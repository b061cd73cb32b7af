#include "ulk/kryn/Plugin.h"

namespace kryn {

const CodeTxt Plugin::cmd_txt_list[7 + 1] = {
    {CmdPlug::INIT, "INIT "}, // the blank belongs to the text
    {CmdPlug::RESTORE, "RESTORE"},
    {CmdPlug::SAVE_STATE, "SAVE_STATE"},
    {CmdPlug::LOAD_STATE, "LOAD_STATE"},
    {CmdHost::SIGNAL_STATE_CHANGE, "SIGNAL_STATE_CHANGE"},
    {CmdHost::SIGNAL_PIN_CONF_CHANGE, "SIGNAL_PIN_CONF_CHANGE"},
    {CmdHost::GET_TRANSPORT_POSITION, "GET_TRANSPORT_POSITION"},
    {0, nullptr}};

} // namespace kryn
