#pragma once

#include "ulk/kryn/CodeTxt.h"
#include "ulk/pibase/BidirComPoint.h"

namespace kryn {

class PluginFactory {
public:
    enum PluginType : int {
        PluginType_DSP = 0,
        PluginType_VIEWCTRL,

        PluginType_NBR_ELT
    };

    class CmdFact {
    public:
        enum : int {
            REFRESH = 0x1101,
            INSTANTIATE = 0x1102, // Instantiate
            FIND_CLOSEST_UNIQUE_ID = 0x1103
        };

        // INSTANTIATE. plug_id: NUL-terminated identifier; com_point: a fresh point, which the
        // host keeps alive as long as the instance.
        struct Instantiate {
            char const* plug_id;
            ulk::pibase::BidirComPoint* com_point;
        };
    };

    static const CodeTxt cmd_txt_list[3 + 1];

    // Atoms of the binary description document.
    static constexpr unsigned int atom_plugin_list = 0x70696C73; // "pils"
    static constexpr unsigned int atom_fact_crc = 0x66637263;    // "fcrc", reserved

    // Names of the XML description document.
    static constexpr char xml_fact_crc[] = "crc";
    static constexpr char xml_fact_crc_val[] = "val";
    static constexpr char xml_plugin_list[] = "plugins";
    static constexpr char xml_plugin_desc[] = "plugin";
    static constexpr char xml_plugin_id[] = "id";
    static constexpr char xml_plugin_type[] = "type";
    static constexpr char const* xml_plugin_type_content_arr[PluginType_NBR_ELT] = {"dsp",
                                                                                    "viewctrl"};
    static constexpr char xml_plugin_link[] = "link";
};

} // namespace kryn
