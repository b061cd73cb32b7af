#include "ulk/kryn/PluginFactory.h"

namespace kryn {

const CodeTxt PluginFactory::cmd_txt_list[3 + 1] = {
    {CmdFact::REFRESH, "REFRESH"},
    {CmdFact::INSTANTIATE, "INSTANTIATE"},
    {CmdFact::FIND_CLOSEST_UNIQUE_ID, "FIND_CLOSEST_UNIQUE_ID"},
    {0, nullptr}};

} // namespace kryn
