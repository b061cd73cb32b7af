#pragma once

#include "ulk/prout/DescMain.h"
#include "ulk/prout/DescParamList.h"
#include "ulk/prout/DescPinConfList.h"
#include "ulk/prout/DescPluginList.h"
#include "ulk/prout/DescProperties.h"
#include "ulk/prout/DescUniqueId.h"
#include "ulk/udbg/LogMgr.h"

#include <vector>

// A document with every part; logging goes nowhere.
struct DescFuzzDoc {
    DescFuzzDoc() {
        ulk::udbg::LogMgr::create_as_plugin("fuzz", [](int, void*) { return 0; });
        main.add_desc_part(prop);
        main.add_desc_part(unique_id);
        main.add_desc_part(param_list);
        main.add_desc_part(conf_list);
        main.add_desc_part(plugin_list);
    }
    std::vector<unsigned char> to_bin() const {
        std::vector<unsigned char> data;
        main.conv_to_bin(data);
        return data;
    }

    ulk::prout::DescProperties prop;
    ulk::prout::DescUniqueId unique_id;
    ulk::prout::DescParamList param_list;
    ulk::prout::DescPinConfList conf_list;
    ulk::prout::DescPluginList plugin_list;
    ulk::prout::DescMain main;
};
