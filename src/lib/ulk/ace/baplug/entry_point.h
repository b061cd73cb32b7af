#pragma once

#include "ulk/archi/types.h"

// The one exported function of the bundle. Control side.
//     cmd 1: creates the factory. data: address of a word that holds the address of a
//            BidirComPoint. 0, or -2 on failure.
//     cmd 2: installs the host's log function. data: an int (*)(int, void*). 0, or -2.
//     other: -1, with a warning.
extern "C" ulk::archi::Int32 ulk_entry_point(ulk::archi::Int32 cmd, void* data);

namespace ulk::ace::baplug {

extern "C" archi::Int32 ulk_entry_point(archi::Int32 cmd, void* data); // the same

// Serves command 1. Nothing is thrown out; on failure the point's plugin_execute is null.
int create_factory(void* data);

} // namespace ulk::ace::baplug
