#include "ulk/kryn/Component.h"

namespace kryn {

const CodeTxt Component::cmd_txt_list[5 + 1] = {
    {Cmd::REPORT_ERROR, "REPORT_ERROR"},
    {Cmd::DESCRIBE, "DESCRIBE"},
    {Cmd::GET_VENDOR_SPECIFIC_DATA, "GET_VENDOR_SPECIFIC_DATA"},
    {Cmd::GET_CALL_CONTEXT, "GET_CALL_CONTEXT"},
    {Cmd::DESTROY, "DESTROY"},
    {0, nullptr}};

} // namespace kryn
