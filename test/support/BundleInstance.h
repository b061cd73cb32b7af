#pragma once

#include "ulk/archi/types.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/kryn/PluginFactory.h"
#include "ulk/pibase/BidirComPoint.h"
#include "ulk/sys/SharedLibrary.h"

#include <gtest/gtest.h>

namespace test {

// A communication point of which the test is the host: commands from the plug-in go nowhere.
class Point {
public:
    ~Point() { destroy(); }

    int send(int cmd, void* data = nullptr) { return com.plugin_execute(&com, cmd, data); }
    // Sends DESTROY once, if anybody listens.
    int destroy() {
        int ret = 0;
        if (com.plugin_execute != nullptr && com.plugin_data != nullptr) {
            ret = send(kryn::Component::Cmd::DESTROY);
            com.plugin_execute = nullptr;
        }
        return ret;
    }

    ulk::pibase::BidirComPoint com = {&refuse, nullptr, nullptr, nullptr};

private:
    static int refuse(ulk::pibase::BidirComPoint*, int, void*) { return -1; }
};

// The built bundle as a host sees it: the library, its entry point and a factory.
class BundleInstance {
public:
    using EntryPoint = ulk::archi::Int32(ulk::archi::Int32 cmd, void* data);

    BundleInstance() {
        ulk::pibase::BidirComPoint* com = &factory.com;
        EXPECT_EQ(0, entry_point(1, &com));
    }

    int instantiate(char const* id, Point& point) {
        kryn::PluginFactory::CmdFact::Instantiate rec = {id, &point.com};
        return factory.send(kryn::PluginFactory::CmdFact::INSTANTIATE, &rec);
    }

    ulk::sys::SharedLibrary library{BUILD_DIR "/baplug.so"};
    EntryPoint* entry_point = library.find<EntryPoint>("ulk_entry_point");
    Point factory;
};

} // namespace test
