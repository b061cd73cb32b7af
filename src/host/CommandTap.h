#pragma once

#include "ulk/pibase/BidirComPoint.h"

namespace ulk::host {

// Stands between a host and the objects of a bundle: every command that the host sends, to the
// factory or to an instance, passes here.
class CommandTap {
public:
    virtual ~CommandTap() = default;

    // Hands the command on to com.plugin_execute, and its result back. real-time for PROCESS.
    int execute(pibase::BidirComPoint& com, int cmd, void* data) {
        return do_execute(com, cmd, data);
    }

    // Through the tap, if there is one.
    static int execute(CommandTap* tap, pibase::BidirComPoint& com, int cmd, void* data) {
        return tap != nullptr ? tap->execute(com, cmd, data) : com.plugin_execute(&com, cmd, data);
    }

protected:
    virtual int do_execute(pibase::BidirComPoint& com, int cmd, void* data) = 0;
};

} // namespace ulk::host
