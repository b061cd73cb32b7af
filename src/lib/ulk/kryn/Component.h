#pragma once

#include "ulk/kryn/CodeTxt.h"

namespace kryn {

// What every component (factory or plug-in) has.
class Component {
public:
    class Cmd {
    public:
        enum : int {
            REPORT_ERROR = 0x0001, // to the host
            DESCRIBE = 0x0002,     // Describe
            GET_VENDOR_SPECIFIC_DATA = 0x0003,
            GET_CALL_CONTEXT = 0x0004,
            DESTROY = 0x0101 // no record
        };

        // DESCRIBE. data: where the document goes. len: capacity in bytes on entry, length of the
        // document on success. When it does not fit, neither data nor len changes.
        struct Describe {
            unsigned char* data;
            int len;
        };
    };

    static const CodeTxt cmd_txt_list[5 + 1];
};

} // namespace kryn
