#pragma once

#include "ulk/kryn/CodeTxt.h"

namespace kryn {

class Plugin {
public:
    class CmdPlug {
    public:
        enum : int { INIT = 0x2101, RESTORE = 0x2102, SAVE_STATE = 0x2103, LOAD_STATE = 0x2104 };
    };

    class CmdHost {
    public:
        enum : int {
            SIGNAL_STATE_CHANGE = 0x2201,
            SIGNAL_PIN_CONF_CHANGE = 0x2202,
            GET_TRANSPORT_POSITION = 0x2203
        };
    };

    static const CodeTxt cmd_txt_list[7 + 1];

    // Description document: atom of the binary form, names of the XML form.
    static constexpr unsigned int atom_unique_id = 0x756E6964; // "unid"
    static constexpr char xml_unique_id[] = "unique_id";
    static constexpr char xml_unique_id_val[] = "val";
};

} // namespace kryn
