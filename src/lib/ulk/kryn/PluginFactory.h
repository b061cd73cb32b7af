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
};

} // namespace kryn
