#pragma once

#include "ulk/kryn/PluginFactory.h"
#include "ulk/pibase/BidirComPoint.h"
#include "ulk/prout/DescMain.h"
#include "ulk/prout/DescPluginList.h"
#include "ulk/prout/DescProperties.h"

namespace ulk::ace::baplug {

// Describes the plug-ins of the bundle and creates instances of them. Control side. Lives from its
// construction on a communication point to DESTROY on that point; keeps no list of its instances,
// which may outlive it.
class Factory {
public:
    explicit Factory(pibase::BidirComPoint& com);
    virtual ~Factory() = default;

    Factory(Factory const&) = delete;
    Factory& operator=(Factory const&) = delete;

    static int execute_command_static(pibase::BidirComPoint* com, int cmd, void* data);
    int execute_command(int cmd, void* data);

private:
    using Instantiate = kryn::PluginFactory::CmdFact::Instantiate;

    int destroy();
    int instantiate(Instantiate& cmd);

    pibase::BidirComPoint& _com;
    prout::DescMain _desc;
    prout::DescPluginList _desc_plugin_list;
    prout::DescProperties _desc_properties; // none is set
};

} // namespace ulk::ace::baplug
