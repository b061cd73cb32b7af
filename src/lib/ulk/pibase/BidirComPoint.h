#pragma once

namespace ulk::pibase {

// The four words through which a host and one protocol object (factory or plug-in instance) talk.
// The host allocates the point and keeps it alive until the object is destroyed.
struct BidirComPoint {
    using ExecuteFnc = int (*)(BidirComPoint* com, int cmd, void* data);

    ExecuteFnc host_execute;   // set by the host: commands from the object to the host
    ExecuteFnc plugin_execute; // set by the object: commands from the host to the object
    void* host_data;           // the host's own word, never touched by the object
    void* plugin_data;         // set by the object: its own address
};

static_assert(sizeof(BidirComPoint) == 4 * sizeof(void*));

} // namespace ulk::pibase
