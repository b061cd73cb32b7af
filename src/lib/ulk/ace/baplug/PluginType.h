#pragma once

namespace ulk::ace::baplug {

// The built-in plug-ins, in the order in which the factory registers and matches them.
enum PluginType : int {
    PluginType_AUDIO_INPUT = 0,
    PluginType_AUDIO_OUTPUT,
    PluginType_TAPE,
    PluginType_BYPASS,
    PluginType_DRYWET,

    PluginType_NBR_ELT
};

} // namespace ulk::ace::baplug
