#pragma once

#include "ulk/ace/Err.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/prout/ParamDescList.h"

namespace ulk::ace::baplug {

// The four conversion commands of plug-ins with parameters. Reads constant data only: any thread,
// beside PROCESS.
class ParamConvTools {
public:
    // find_list: prout::ParamDescList const* (kryn::ParamLocation const&), null for a location that
    // the plug-in does not have. Returns -1 for another command.
    template <class FindList>
    static int execute(int cmd, void* data, FindList find_list);
};

template <class FindList>
int ParamConvTools::execute(int cmd, void* data, FindList find_list) {
    using CmdPlug = kryn::PluginDsp::CmdPlug;
    auto const convert = [&](kryn::ParamLocation const& loc, auto fnc) {
        prout::ParamDescList const* const list = find_list(loc);
        return list != nullptr ? fnc(*list, loc.index) : Err_INVALID_PARAM_LOCATION;
    };
    using List = prout::ParamDescList;
    switch (cmd) {
    case CmdPlug::CONV_PARAM_NAT_TO_NORM: {
        auto& rec = *static_cast<CmdPlug::ConvParamNorm*>(data);
        return convert(rec.location, [&rec](List const& list, int index) {
            return list.conv_param_nat_to_norm(index, rec.val_nat, rec.val_norm);
        });
    }
    case CmdPlug::CONV_PARAM_NORM_TO_NAT: {
        auto& rec = *static_cast<CmdPlug::ConvParamNorm*>(data);
        return convert(rec.location, [&rec](List const& list, int index) {
            return list.conv_param_norm_to_nat(index, rec.val_norm, rec.val_nat);
        });
    }
    case CmdPlug::CONV_PARAM_TO_STR: {
        auto const& rec = *static_cast<CmdPlug::ConvParamToStr*>(data);
        return convert(rec.location, [&rec](List const& list, int index) {
            return list.conv_param_to_str(index, rec.val, rec.txt, rec.max_len);
        });
    }
    case CmdPlug::CONV_PARAM_FROM_STR: {
        auto& rec = *static_cast<CmdPlug::ConvParamFromStr*>(data);
        return convert(rec.location, [&rec](List const& list, int index) {
            return list.conv_param_from_str(index, rec.txt, rec.val);
        });
    }
    default:
        return Err_NOT_IMPLEMENTED;
    }
}

} // namespace ulk::ace::baplug
