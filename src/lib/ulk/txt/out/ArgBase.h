#pragma once

#include "ulk/txt/out/DevInterface.h"
#include "ulk/txt/out/FmtInfo.h"

namespace ulk::txt::out {

// One argument that is being rendered. It refers to the device and the options, and lives on the
// stack of the print.
class ArgBase {
public:
    ArgBase(DevInterface& dev, FmtInfo const& fmt)
        : _dev(dev)
        , _fmt(fmt) {}
    ArgBase(ArgBase const& other) = delete;
    ArgBase& operator=(ArgBase const& other) = delete;
    virtual ~ArgBase() = default;

protected:
    // What stands for an argument that does not fit: "#" over the whole field, or just one where
    // the field has no fixed width.
    void print_not_displayable();

    DevInterface& _dev;
    FmtInfo const& _fmt;
    bool _displayable_flag = true;
};

} // namespace ulk::txt::out
