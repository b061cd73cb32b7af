#pragma once

namespace ulk::host {

// What a host offers to the plug-ins that it runs.
class HostInterface {
public:
    virtual ~HostInterface() = default;

    // A command from a plug-in; the result is a return code, -1 for a command not offered. May be
    // called inside PROCESS.
    int execute(int cmd, void* data) { return do_execute(cmd, data); } // real-time

protected:
    virtual int do_execute(int cmd, void* data) = 0;
};

} // namespace ulk::host
