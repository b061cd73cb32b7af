#include "ulk/prout/DescUniqueId.h"

#include "ulk/ace/Err.h"
#include "ulk/kryn/Plugin.h"

namespace ulk::prout {

unsigned int DescUniqueId::do_atom() const {
    return kryn::Plugin::atom_unique_id;
}

int DescUniqueId::do_write(util::BinaryStreamOutputBase& out) const {
    out.write(_unique_id);
    return ace::Err_OK;
}

int DescUniqueId::do_read(util::BinaryStreamInput& in) {
    _unique_id.clear();
    return in.read(_unique_id, "DescUniqueId: Error while reading _unique_id") == 0
               ? ace::Err_OK
               : ace::Err_DATA_CORRUPTED;
}

} // namespace ulk::prout
