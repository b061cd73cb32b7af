#pragma once

#include "ulk/kryn/PluginDsp.h"

namespace kryn {

// Checks of the traffic, for hosts and validating tools; the plug-ins do not call them. Free of
// side effects, callable from any thread. All but check_plug_id_str return 1 or 0.
class Chk {
public:
    // Both ports can take a configuration: capacity of 0 or more, an array.
    static int check_audio_conf_to_be_filled(PluginDsp::AudioConf const& conf);
    // Both ports hold a configuration: 0 or more pins, each of at least one channel.
    static int check_audio_conf_to_be_set(PluginDsp::AudioConf const& conf);
    // Both of the above. Stricter than the plug-ins, which take negative counts as a question.
    static int check_audio_conf_nego_before(PluginDsp::AudioConf const& conf);
    // check_audio_conf_to_be_set, and no more pins than capacity.
    static int check_audio_conf_nego_after(PluginDsp::AudioConf const& conf);

    // The low 21 bits of c, as a code point, are no control character (above 31).
    static int check_plug_id_char(long c);
    // Looks over an identifier that ends with term: 0, or -14488 (fewer than 6 characters),
    // -14490 (forbidden character; found before the length is judged), -14489 (the reserved
    // identifier).
    static int check_plug_id_str(char const* str, char term);

private:
    static char const _forbidden_plug_id[];
};

} // namespace kryn
