#pragma once

#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutputBase.h"

namespace ulk::prout {

// A part of a description document. Plain data: no lock, serialises on the calling thread.
class DescInterface {
public:
    virtual ~DescInterface() = default;

    unsigned int atom() const { return do_atom(); }
    // Appends the atom and the payload. 0.
    int write(util::BinaryStreamOutputBase& out) const {
        out.write(atom());
        return do_write(out);
    }
    // Replaces the content by the payload at the read position, behind the atom. 0 or a code of
    // ulk::ace, with a log line for each field that failed; what was read before it stays.
    int read(util::BinaryStreamInput& in) { return do_read(in); }

protected:
    virtual unsigned int do_atom() const = 0;
    virtual int do_write(util::BinaryStreamOutputBase& out) const = 0;
    virtual int do_read(util::BinaryStreamInput& in) = 0;
};

} // namespace ulk::prout
